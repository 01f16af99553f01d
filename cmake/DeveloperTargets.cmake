# `format` brings the sources into the project's style; `format-check` only checks them.
# `tidy` runs clang-tidy over the product.
find_program(CLANG_FORMAT NAMES clang-format-14 clang-format)
if(CLANG_FORMAT)
    add_custom_target(format
        COMMAND "${CMAKE_SOURCE_DIR}/scripts/format" --clang-format "${CLANG_FORMAT}"
        WORKING_DIRECTORY "${CMAKE_SOURCE_DIR}" VERBATIM)
    add_custom_target(format-check
        COMMAND "${CMAKE_SOURCE_DIR}/scripts/format" --check --clang-format "${CLANG_FORMAT}"
        WORKING_DIRECTORY "${CMAKE_SOURCE_DIR}" VERBATIM)
endif()
if(MINGW)
    add_custom_target(tidy COMMAND "${CMAKE_SOURCE_DIR}/scripts/tidy"
        WORKING_DIRECTORY "${CMAKE_SOURCE_DIR}" VERBATIM)
endif()
