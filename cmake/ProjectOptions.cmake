# One interface target carries what every target of this project is compiled and linked with.
add_library(project_options INTERFACE)
target_compile_features(project_options INTERFACE cxx_std_20 c_std_11)
target_include_directories(project_options INTERFACE "${CMAKE_SOURCE_DIR}")
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(WIN32)
    target_compile_definitions(project_options INTERFACE
        UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN STRICT _WIN32_WINNT=0x0A00 WINVER=0x0A00)
endif()

if(MSVC)
    target_compile_options(project_options INTERFACE
        /W4 /WX /external:anglebrackets /external:W0 /permissive- /utf-8 /EHsc /sdl /guard:cf)
    target_link_options(project_options INTERFACE /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT /guard:cf)
    # The C runtime is linked in: the add-in brings no DLL of its own.
    set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
else()
    target_compile_options(project_options INTERFACE
        -Wall -Wextra -Werror -Wshadow -Wconversion -Wno-sign-conversion -fstack-protector-strong
        $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
        -ffunction-sections -fdata-sections
        # No path of the building machine stands in a binary.
        "-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=")
    target_link_options(project_options INTERFACE -Wl,--gc-sections)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # GCC 12 sees overlapping copies in std::string's operator+ where there are none, when it optimises.
        target_compile_options(project_options INTERFACE $<$<CONFIG:Release>:-Wno-restrict>)
    endif()
endif()

if(MINGW)
    # Everything of the toolchain is linked in; DLLs and programs need only what every Windows has.
    target_link_options(project_options INTERFACE
        -static -fstack-protector-strong -Wl,--dynamicbase,--high-entropy-va,--nxcompat)
endif()

# The release build carries no symbols.
if(NOT MSVC)
    target_link_options(project_options INTERFACE $<$<CONFIG:Release>:-s>)
endif()

# Code that the user's hand starts, a few times a minute: small rather than fast in the release.
add_library(small_code INTERFACE)
if(NOT MSVC) # which warns of a second optimisation level
    target_compile_options(small_code INTERFACE $<$<CONFIG:Release>:-Os>)
endif()

# link_mapped(TARGET): pages in the module's file as they are in memory. 16 KiB more, but Wine maps such a file where it
# reads and copies any other.
function(link_mapped target)
    if(MINGW)
        target_link_options(${target} PRIVATE -Wl,--file-alignment=4096)
    endif()
endfunction()
