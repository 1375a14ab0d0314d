# kv_build_options: how every target of the project is compiled and linked; linked PRIVATE.

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

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")

if(MSVC)
    target_compile_options(kv_build_options INTERFACE
        /W4 /WX /permissive- /utf-8
        /EHa # structured exceptions reach the translator, and destructors run on their way
        /wd4996 # "deprecated": system functions that the facade wraps, runtime functions that tests provoke
        /guard:cf
        /Brepro
    )
    target_link_options(kv_build_options INTERFACE /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT /guard:cf /Brepro)
else()
    target_compile_options(kv_build_options INTERFACE
        $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast
        -Wcast-qual -Woverloaded-virtual -Wformat=2 -Wundef -Werror>
        # No path of the build machine in the image, and the same image from every checkout.
        $<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}=. -ffile-prefix-map=${CMAKE_BINARY_DIR}=.>
        $<$<COMPILE_LANGUAGE:CXX>:-fstack-protector-strong -ffunction-sections -fdata-sections>
    )
    target_compile_definitions(kv_build_options INTERFACE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
    target_link_options(kv_build_options INTERFACE
        -static
        -fstack-protector-strong # brings in the library behind it
        -Wl,--dynamicbase,--high-entropy-va,--nxcompat
        -Wl,--no-insert-timestamp
        -Wl,--gc-sections
        $<$<CONFIG:Release>:-s>
    )
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

set(KV_CLANG_TIDY_COMMAND "")
if(KV_CLANG_TIDY)
    find_program(KV_CLANG_TIDY_PROGRAM clang-tidy REQUIRED)
    # clang does not know where the cross compiler keeps its standard library.
    execute_process(
        COMMAND ${CMAKE_CXX_COMPILER} -E -x c++ -v /dev/null
        OUTPUT_QUIET ERROR_VARIABLE compilerOutput COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "\n /[^\n]+" includeFolders "${compilerOutput}")
    set(KV_CLANG_TIDY_COMMAND ${KV_CLANG_TIDY_PROGRAM} --quiet --warnings-as-errors=*
        --extra-arg=--target=x86_64-w64-mingw32 --extra-arg=-Wno-unknown-warning-option)
    foreach(folder IN LISTS includeFolders)
        string(STRIP "${folder}" folder)
        # The compiler's own headers hold its intrinsics, which clang replaces by its own.
        if(IS_DIRECTORY "${folder}" AND NOT folder MATCHES "/lib/gcc/[^/]+/[^/]+/include(-fixed)?$")
            list(APPEND KV_CLANG_TIDY_COMMAND --extra-arg=-isystem${folder})
        endif()
    endforeach()
endif()
