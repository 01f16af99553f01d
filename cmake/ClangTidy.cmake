# With NEMBRA_TIDY (preset mingw-tidy), the build runs clang-tidy on each source that it compiles.
option(NEMBRA_TIDY "Run clang-tidy on each source" OFF)
if(NEMBRA_TIDY)
    # Older versions do not understand the library's <source_location>.
    find_program(CLANG_TIDY NAMES clang-tidy-19 REQUIRED)
    # A changed command makes the build check every source again, so the command names the state of the configuration.
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/.clang-tidy")
    file(SHA256 "${CMAKE_SOURCE_DIR}/.clang-tidy" checks)
    set(CMAKE_C_CLANG_TIDY "${CLANG_TIDY}" --quiet
        --extra-arg=--target=x86_64-w64-windows-gnu "--extra-arg=-DNEMBRA_CHECKS_${checks}")
    # The toolchain's headers declare this for GCC alone. Without it, null converts to their pointers in several ways.
    set(CMAKE_CXX_CLANG_TIDY ${CMAKE_C_CLANG_TIDY} --extra-arg=-D_NATIVE_NULLPTR_SUPPORTED)
    # Where both thread flavours of the toolchain are installed, clang could choose the other one's library.
    foreach(folder IN LISTS CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES)
        if(folder MATCHES "/c\\+\\+")
            list(APPEND CMAKE_CXX_CLANG_TIDY "--extra-arg=-isystem${folder}")
        endif()
    endforeach()
endif()
