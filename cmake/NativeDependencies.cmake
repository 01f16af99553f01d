find_package(jsoncpp CONFIG REQUIRED)
if(BUILD_TESTING)
    find_package(GTest REQUIRED)
endif()
