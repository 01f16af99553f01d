include(GoogleTest)

# add_test_suite(NAME SOURCES file... LIBRARIES target... [DESKTOP])
# One GoogleTest program; each case becomes a ctest process of its own. DESKTOP: the suite uses windows that are found
# by name across processes, so its cases never run at the same time as those of another such suite.
function(add_test_suite name)
    cmake_parse_arguments(ARG "DESKTOP" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE project_options ${ARG_LIBRARIES} GTest::gmock_main)
    set(properties TIMEOUT 180)
    if(ARG_DESKTOP)
        list(APPEND properties RESOURCE_LOCK desktop)
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120 PROPERTIES ${properties})
endfunction()
