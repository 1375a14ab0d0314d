# kv_build_options: how every target of the project is compiled and linked. Targets link it PRIVATE.

add_library(kv_build_options INTERFACE)

target_compile_features(kv_build_options INTERFACE cxx_std_20)
target_compile_definitions(kv_build_options INTERFACE
    UNICODE
    _UNICODE
    NOMINMAX
    WIN32_LEAN_AND_MEAN
    WINVER=0x0601
    _WIN32_WINNT=0x0601
    PSAPI_VERSION=1 # otherwise psapi.h renames four operations of the facade
)
# <windows.h> includes the headers of the processor's vector functions, which are larger than the rest of it and which
# nothing here uses. Defining their include guards skips them.
target_compile_definitions(kv_build_options INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:_X86INTRIN_H_INCLUDED>
    $<$<CXX_COMPILER_ID:Clang>:__X86INTRIN_H>
)

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")

if(MSVC)
    # The whole list is limited to its language: without that, the resource compiler would get it too.
    set(options
        /W4 /WX /permissive- /utf-8
        /EHa # structured exceptions reach the translator, and destructors run during the unwinding
        /wd4996 # "deprecated": system functions that the facade wraps, runtime functions that tests provoke
        /guard:cf
        /Brepro
    )
    target_compile_options(kv_build_options INTERFACE "$<$<COMPILE_LANGUAGE:CXX>:${options}>")
    target_link_options(kv_build_options INTERFACE /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT /guard:cf /Brepro)
else()
    target_compile_options(kv_build_options INTERFACE
        $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast
        -Wcast-qual -Woverloaded-virtual -Wformat=2 -Wundef -Werror>
        # The image contains no path of the build machine and is the same from every checkout.
        $<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}=. -ffile-prefix-map=${CMAKE_BINARY_DIR}=.>
        $<$<COMPILE_LANGUAGE:CXX>:-fstack-protector-strong -ffunction-sections -fdata-sections>
    )
    target_compile_definitions(kv_build_options INTERFACE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
    target_link_options(kv_build_options INTERFACE
        -static
        -fstack-protector-strong # links libssp
        -Wl,--dynamicbase,--high-entropy-va,--nxcompat
        -Wl,--no-insert-timestamp
        -Wl,--gc-sections
        $<$<AND:$<CONFIG:Release>,$<NOT:$<BOOL:$<TARGET_PROPERTY:KV_SEPARATE_SYMBOLS>>>>:-s>
    )
    # winapi/base/StackGuard.cpp, for programs only: a library leaves this choice to the program that links it.
    target_sources(kv_build_options INTERFACE
        $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:$<TARGET_OBJECTS:kv_stack_guard>>)
endif()

# kv_debug_symbols: debug information in the configuration Release. Delivered targets link it PRIVATE. Libraries lose it
# when they are installed, the program by kv_separate_symbols.
add_library(kv_debug_symbols INTERFACE)
if(MSVC)
    target_compile_options(kv_debug_symbols INTERFACE $<$<AND:$<CONFIG:Release>,$<COMPILE_LANGUAGE:CXX>>:/Z7>)
else()
    target_compile_options(kv_debug_symbols INTERFACE $<$<AND:$<CONFIG:Release>,$<COMPILE_LANGUAGE:CXX>>:-g>)
endif()

# kv_small_code: optimisation for size in the configuration Release. Delivered targets link it PRIVATE.
add_library(kv_small_code INTERFACE)
if(MSVC)
    target_compile_options(kv_small_code INTERFACE $<$<CONFIG:Release>:/O1>)
else()
    # GNU's linker for this target keeps every function of an object that it links, because the unwind data refers to it.
    # A section for each function would only add padding.
    set(options -Os -fno-function-sections -fno-ident)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # These three optimisations make a copy of the same functions of std::wstring in each object: fitted to its calls,
        # or common to both forms of a constructor. The linker cannot merge such copies as it merges the functions.
        list(APPEND options -fno-ipa-sra -fno-ipa-cp -fno-declone-ctor-dtor)
    endif()
    target_compile_options(kv_small_code INTERFACE "$<$<AND:$<CONFIG:Release>,$<COMPILE_LANGUAGE:CXX>>:${options}>")
endif()

if(KV_CHECKED)
    target_compile_definitions(kv_build_options INTERFACE _GLIBCXX_DEBUG _GLIBCXX_ASSERTIONS)
    # The vptr check has no trapping form.
    target_compile_options(kv_build_options INTERFACE
        $<$<COMPILE_LANGUAGE:CXX>:-fsanitize=undefined -fno-sanitize=vptr -fsanitize-undefined-trap-on-error>)
endif()

if(KV_COVERAGE)
    target_compile_options(kv_build_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:--coverage>)
    target_link_options(kv_build_options INTERFACE --coverage)
endif()

# kv_separate_symbols(TARGET)
#
# Makes TARGET a delivered program: KvPackage.cmake installs, signs and packs each of them. In the configuration Release,
# moves its symbols into a file beside it: TARGET.exe.debug, which the program names together with its check sum, or
# TARGET.pdb.
function(kv_separate_symbols target)
    set_property(GLOBAL APPEND PROPERTY KV_DELIVERED_PROGRAMS ${target})
    if(MSVC)
        # /DEBUG alone would keep unused code. /PDBALTPATH makes the program name the file without its folder.
        target_link_options(${target} PRIVATE
            $<$<CONFIG:Release>:/DEBUG /OPT:REF /OPT:ICF /INCREMENTAL:NO /PDBALTPATH:%_PDB%>)
        return()
    endif()
    set(symbols $<TARGET_FILE_NAME:${target}>.debug)
    set_target_properties(${target} PROPERTIES KV_SEPARATE_SYMBOLS ON)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Names each library that is linked in, from which packaging/runtimes.py finds the notices that must go with it.
        target_link_options(${target} PRIVATE -Wl,-Map=$<TARGET_FILE:${target}>.map)
        set_target_properties(${target} PROPERTIES ADDITIONAL_CLEAN_FILES $<TARGET_FILE:${target}>.map)
    endif()
    # --preserve-dates keeps the image's zero time stamp. Without it objcopy writes the current time, and no two builds
    # are equal. In other configurations the commands are empty, and CMake leaves them out.
    set(keep ${CMAKE_OBJCOPY} --preserve-dates --only-keep-debug $<TARGET_FILE_NAME:${target}> ${symbols})
    set(strip ${CMAKE_OBJCOPY} --preserve-dates --strip-all --add-gnu-debuglink=${symbols}
        $<TARGET_FILE_NAME:${target}>)
    get_property(hasSeveralConfigurations GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
    set(folder $<$<BOOL:${hasSeveralConfigurations}>:$<CONFIG>/>)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND "$<$<CONFIG:Release>:${keep}>"
        COMMAND "$<$<CONFIG:Release>:${strip}>"
        WORKING_DIRECTORY $<TARGET_FILE_DIR:${target}>
        BYPRODUCTS "$<$<CONFIG:Release>:${folder}${target}.exe.debug>"
        COMMAND_EXPAND_LISTS
        VERBATIM)
endfunction()

set(KV_CLANG_TIDY_COMMAND "")
if(KV_CLANG_TIDY)
    find_program(KV_CLANG_TIDY_PROGRAM clang-tidy REQUIRED)
    # clang does not know the include folders of the cross compiler.
    execute_process(
        COMMAND ${CMAKE_CXX_COMPILER} -E -x c++ -v /dev/null
        OUTPUT_QUIET ERROR_VARIABLE compilerOutput COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "\n /[^\n]+" includeFolders "${compilerOutput}")
    set(KV_CLANG_TIDY_COMMAND ${KV_CLANG_TIDY_PROGRAM} --quiet --warnings-as-errors=*
        --extra-arg=--target=x86_64-w64-mingw32 --extra-arg=-Wno-unknown-warning-option --extra-arg=-D__X86INTRIN_H)
    foreach(folder IN LISTS includeFolders)
        string(STRIP "${folder}" folder)
        # Without the folders of g++'s intrinsics, for which clang has headers of its own.
        if(IS_DIRECTORY "${folder}" AND NOT folder MATCHES "/lib/gcc/[^/]+/[^/]+/include(-fixed)?$")
            list(APPEND KV_CLANG_TIDY_COMMAND --extra-arg=-isystem${folder})
        endif()
    endforeach()
endif()

# clang-tidy takes too long on the tests for ./check, so a preset of its own sets it.
set(KV_TEST_CLANG_TIDY_COMMAND "")
if(KV_CLANG_TIDY_TESTS)
    set(KV_TEST_CLANG_TIDY_COMMAND "${KV_CLANG_TIDY_COMMAND}")
endif()
