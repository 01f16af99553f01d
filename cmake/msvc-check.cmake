# Compiles for the Microsoft ABI with clang, against headers that scripts/check-msvc puts together. Nothing is linked: there
# is no Microsoft library on this machine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_AR llvm-ar-19)
set(CMAKE_RC_COMPILER llvm-rc-19)
set(target x86_64-pc-windows-msvc19.44)
set(CMAKE_C_COMPILER_TARGET ${target})
set(CMAKE_CXX_COMPILER_TARGET ${target})

set(headers "${CMAKE_CURRENT_LIST_DIR}/../build/msvc-headers")
set(llvm /usr/lib/llvm-19)
set(common "-fms-compatibility -fms-extensions -nostdinc -D_MT -DWINE_UNICODE_NATIVE -D__LONG32=long")
# Findings in the collected headers are not ours.
set(common "${common} -Wno-language-extension-token -Wno-inconsistent-dllimport -pedantic -Wmicrosoft -Wgnu")
set(windows "-isystem ${llvm}/lib/clang/19/include -isystem ${headers}/extra -isystem ${headers}/msvcrt -isystem ${headers}/windows")
set(CMAKE_C_FLAGS_INIT "${common} ${windows}")
set(CMAKE_CXX_FLAGS_INIT
    "${common} -D_LIBCPP_NO_VCRUNTIME -D_LIBCPP_NO_AUTO_LINK -isystem ${llvm}/include/c++/v1 ${windows} -include ${CMAKE_CURRENT_LIST_DIR}/msvc-check-fill.h")

# The target's libraries are those of the other toolchain: only their headers are used.
set(CMAKE_FIND_ROOT_PATH "${CMAKE_CURRENT_LIST_DIR}/../build/deps")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ZLIB_LIBRARY "${headers}/zlib.lib") # never read
set(ZLIB_INCLUDE_DIR "${headers}/extra")
