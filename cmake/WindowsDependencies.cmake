# Found the same way on Linux (prefix made by scripts/setup) and on Windows (vcpkg.json).
find_package(jsoncpp CONFIG REQUIRED)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
if(BUILD_TESTING)
    find_package(GTest CONFIG REQUIRED)
endif()
