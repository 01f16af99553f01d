# The common options of all targets, as one interface target.
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
    # The C runtime is linked statically: the add-in needs no DLL beyond Windows.
    set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
else()
    target_compile_options(project_options INTERFACE
        -Wall -Wextra -Werror -Wshadow -Wconversion -Wno-sign-conversion -fstack-protector-strong
        $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
        -ffunction-sections -fdata-sections
        # Binaries contain no path of the building machine.
        "-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=")
    target_link_options(project_options INTERFACE -Wl,--gc-sections)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # GCC 12 sees overlapping copies in std::string's operator+ where there are none, when it optimises.
        target_compile_options(project_options INTERFACE $<$<CONFIG:Release>:-Wno-restrict>)
    endif()
endif()

if(MINGW)
    # The toolchain's libraries are linked statically: DLLs and programs need nothing beyond Windows.
    target_link_options(project_options INTERFACE
        -static -fstack-protector-strong -Wl,--dynamicbase,--high-entropy-va,--nxcompat
        # The same sources give the same bytes.
        -Wl,--no-insert-timestamp)
endif()

# The release build carries no symbols, or has them in a file of their own: see separate_symbols.
if(NOT MSVC)
    # The symbols name each source by its path in the repository. ccache makes the compiler's paths relative.
    file(RELATIVE_PATH up "${CMAKE_BINARY_DIR}" "${CMAKE_SOURCE_DIR}")
    target_compile_options(project_options INTERFACE
        "$<$<CONFIG:Release>:-g;-ffile-prefix-map=${up}=;-ffile-prefix-map=${CMAKE_BINARY_DIR}=.>")
    target_link_options(project_options INTERFACE
        $<$<AND:$<CONFIG:Release>,$<NOT:$<BOOL:$<TARGET_PROPERTY:SEPARATE_SYMBOLS>>>>:-s>)
endif()

# separate_symbols(TARGET): in the release, FILE.debug has the symbols of the target's FILE, and FILE.map lists what was
# linked into it. For files that are shipped.
function(separate_symbols target)
    if(MINGW AND CMAKE_BUILD_TYPE STREQUAL "Release")
        set_target_properties(${target} PROPERTIES SEPARATE_SYMBOLS ON)
        target_link_options(${target} PRIVATE "-Wl,-Map,$<TARGET_FILE:${target}>.map")
        add_custom_command(TARGET ${target} POST_BUILD
            COMMAND "${CMAKE_OBJCOPY}" --only-keep-debug "$<TARGET_FILE:${target}>" "$<TARGET_FILE:${target}>.debug"
            COMMAND "${CMAKE_OBJCOPY}" --strip-all "--add-gnu-debuglink=$<TARGET_FILE:${target}>.debug"
                    "$<TARGET_FILE:${target}>"
            VERBATIM)
    endif()
endfunction()

# For code that runs at a user's press, a few times a minute: small rather than fast in the release.
add_library(small_code INTERFACE)
if(NOT MSVC) # this compiler warns of a second optimisation level
    target_compile_options(small_code INTERFACE $<$<CONFIG:Release>:-Os>)
endif()

# link_mapped(TARGET): aligns pages in the module's file as in memory. The file grows by 16 KiB. Wine maps such a file and
# copies any other.
function(link_mapped target)
    if(MINGW)
        target_link_options(${target} PRIVATE -Wl,--file-alignment=4096)
    endif()
endfunction()
