# add_test_suite(NAME SOURCES file... LIBRARIES target... [DESKTOP])
# One GoogleTest program. Each suite in its sources becomes one ctest test, with the name `Suite.*`, in a process of its
# own: a process costs more than most cases. DESKTOP: the program uses windows that are found by name across processes,
# so its suites never run at the same time as those of another such program.
function(add_test_suite name)
    cmake_parse_arguments(ARG "DESKTOP" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE project_options ${ARG_LIBRARIES} GTest::gmock_main)

    set(suites)
    foreach(source ${ARG_SOURCES})
        get_filename_component(source "${source}" ABSOLUTE)
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${source}")
        file(STRINGS "${source}" lines REGEX "^(TYPED_)?TEST(_[A-Z]+)?\\(")
        foreach(line ${lines})
            if(NOT line MATCHES "^TEST(_F)?\\(([A-Za-z0-9_]+),")
                message(FATAL_ERROR "${source}: no suite can be read from this line: ${line}")
            endif()
            list(APPEND suites ${CMAKE_MATCH_2})
        endforeach()
    endforeach()
    list(REMOVE_DUPLICATES suites)
    foreach(suite ${suites})
        add_test(NAME ${suite}.* COMMAND ${name} --gtest_filter=${suite}.*)
        # A filter that matches nothing is a success to GoogleTest. The program under Wine ends before ctest's limit, so
        # that its output is kept.
        set_tests_properties(${suite}.* PROPERTIES
            TIMEOUT 330 ENVIRONMENT NEMBRA_RUN_SECONDS=300 FAIL_REGULAR_EXPRESSION "Running 0 tests")
        if(ARG_DESKTOP)
            set_tests_properties(${suite}.* PROPERTIES RESOURCE_LOCK desktop)
        endif()
    endforeach()
endfunction()
