# GoogleTest, from its sources or from an installed package, and kv_add_tests.

if(NOT KV_GOOGLETEST_DIR)
    find_package(GTest CONFIG QUIET)
    if(NOT TARGET GTest::gmock)
        message(FATAL_ERROR "GoogleTest is missing: set KV_GOOGLETEST_DIR, or KV_BUILD_TESTS=OFF.")
    endif()
    if(KV_CHECKED)
        message(FATAL_ERROR "KV_CHECKED needs the sources of GoogleTest in KV_GOOGLETEST_DIR, not an installed package.")
    endif()
elseif(NOT EXISTS ${KV_GOOGLETEST_DIR}/CMakeLists.txt)
    message(FATAL_ERROR "No sources of GoogleTest in KV_GOOGLETEST_DIR (${KV_GOOGLETEST_DIR}).")
else()
    set(INSTALL_GTEST OFF)
    set(gtest_force_shared_crt OFF)
    add_subdirectory(${KV_GOOGLETEST_DIR} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    if(KV_CHECKED)
        # Changes the layout of the standard containers, so both sides of an interface need it.
        foreach(target gtest gtest_main gmock gmock_main)
            target_compile_definitions(${target} PRIVATE _GLIBCXX_DEBUG _GLIBCXX_ASSERTIONS)
        endforeach()
    endif()
    if(NOT MSVC)
        foreach(target gtest gtest_main gmock gmock_main)
            target_compile_options(${target} PRIVATE -O1) # as the tests below
        endforeach()
    endif()
endif()

# How the tests' own code is compiled, in every configuration. More optimisation would take most of a build and is useless
# here; less leaves each inline function in sections of its own, and the linker's time grows with the square of an object's
# sections. What is tested is compiled as it is delivered, and so are programs that tests start, and benchmarks.
add_library(kv_test_options INTERFACE)
if(MSVC)
    # An object of several test files has more sections than the ordinary format can number.
    target_compile_options(kv_test_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:/bigobj>)
    # "unreachable code", which the optimiser finds behind calls that a test makes throw, inside GoogleTest's macros.
    target_compile_options(kv_test_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:/wd4702>)
else()
    target_compile_options(kv_test_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-O1>)
    if(KV_CHECKED)
        # The traps are for the product.
        target_compile_options(kv_test_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-sanitize=undefined>)
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # False alarms after inlining at this level, mostly in the system's headers, which do not count as such when they are
        # precompiled. The product, and the other compiler, have these warnings.
        target_compile_options(kv_test_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-array-bounds
            -Wno-stringop-overread -Wno-stringop-overflow -Wno-mismatched-new-delete>)
        # Several files are compiled as one, so the anonymous namespace of each is in an included file.
        target_compile_options(kv_test_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-subobject-linkage>)
    endif()
endif()

include(GoogleTest)

# Runs tests that are written in Python, with the package that they share on its path.
set(KV_TEST_PYTHON ${PROJECT_SOURCE_DIR}/scripts/python)
if(CMAKE_HOST_WIN32 AND KV_DELIVERY_TESTS)
    find_package(Python3 3.9 COMPONENTS Interpreter)
    if(NOT Python3_FOUND)
        message(FATAL_ERROR "No Python 3.9 or later, which the tests of the delivered program need. \
Set KV_DELIVERY_TESTS=OFF to build without them.")
    endif()
    set(KV_TEST_PYTHON ${CMAKE_COMMAND} -E env PYTHONPATH=${PROJECT_SOURCE_DIR}/tests/support PYTHONDONTWRITEBYTECODE=1
        ${Python3_EXECUTABLE})
endif()

# Whether the delivered program is tested as a whole: under Wine, or natively on Windows, where tests skip what would change
# more than an account of their own. Without a host of either kind, only the unit tests run.
set(KV_TEST_DELIVERY OFF)
if(KV_DELIVERY_TESTS AND (CMAKE_CROSSCOMPILING OR CMAKE_HOST_WIN32))
    set(KV_TEST_DELIVERY ON)
endif()

# Seconds after which a test has failed. On an idle machine a test takes a fraction of a second.
set(KV_TEST_TIMEOUT 60)
# The program is terminated a little earlier, so that its output is shown.
set(KV_TEST_PROGRAM_TIMEOUT 50)

if(CMAKE_CROSSCOMPILING)
    # Every test needs the prefix of this build tree, and starts much faster while the prefix's server runs.
    add_test(NAME wine_server_start COMMAND ${PROJECT_SOURCE_DIR}/scripts/wine ${PROJECT_BINARY_DIR} start)
    add_test(NAME wine_server_stop COMMAND ${PROJECT_SOURCE_DIR}/scripts/wine ${PROJECT_BINARY_DIR} stop)
    set_tests_properties(wine_server_start PROPERTIES FIXTURES_SETUP wine_server TIMEOUT 120)
    set_tests_properties(wine_server_stop PROPERTIES FIXTURES_CLEANUP wine_server TIMEOUT 60)
    set(KV_TEST_FIXTURES wine_server)
    if(KV_CHECKED)
        # In a checked build the heap is checked too (tests/support/HeapCheck.h).
        add_test(NAME wine_heap_is_checked COMMAND ${PROJECT_SOURCE_DIR}/scripts/wine ${PROJECT_BINARY_DIR} check-heap)
        set_tests_properties(wine_heap_is_checked
            PROPERTIES FIXTURES_SETUP wine_server DEPENDS wine_server_start TIMEOUT 120)
    endif()
endif()

# kv_add_test_program(NAME SOURCES file... [LINK library...])
#
# A program that tests or scripts start, built like the product.
function(kv_add_test_program name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINK")
    add_executable(${name} ${arg_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${arg_LINK} kv_build_options)
    set_target_properties(${name} PROPERTIES CXX_CLANG_TIDY "${KV_TEST_CLANG_TIDY_COMMAND}")
    if(MINGW)
        target_link_options(${name} PRIVATE -municode)
    endif()
    kv_list_program(${name})
endfunction()

# kv_add_version_file(NAME)
#
# Defines the library kv_version_NAME.dll in the folder of the test programs. It contains only the version resource
# VersionResources/NAME.rc.
function(kv_add_version_file name)
    add_library(kv_version_${name} MODULE ${PROJECT_SOURCE_DIR}/tests/support/EmptyLibrary.cpp
        VersionResources/${name}.rc)
    target_link_libraries(kv_version_${name} PRIVATE kv_build_options)
    set_target_properties(kv_version_${name} PROPERTIES
        PREFIX ""
        LIBRARY_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}
        CXX_CLANG_TIDY "${KV_TEST_CLANG_TIDY_COMMAND}"
    )
endfunction()

# kv_add_tests(NAME SOURCES file... [LINK library...] [LABELS label...] [RESOURCE_LOCK resource])
#
# Defines the test program NAME and registers each of its tests with CTest. Every test runs in a process of its own,
# because the system under test keeps process-wide state. Tests with the same resource do not run at the same time.
function(kv_add_tests name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "RESOURCE_LOCK" "SOURCES;LINK;LABELS")
    kv_unify_sources(sources ${name} SOURCES ${arg_SOURCES})
    add_executable(${name} ${sources})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${arg_LINK} kv_test_main kv_test_support GTest::gmock kv_build_options
        kv_test_options)
    target_precompile_headers(${name} REUSE_FROM kv_test_support)
    set_target_properties(${name} PROPERTIES CXX_CLANG_TIDY "${KV_TEST_CLANG_TIDY_COMMAND}")
    # An empty value would vanish, and the name of the next property take its place.
    set(properties)
    if(arg_RESOURCE_LOCK)
        list(APPEND properties RESOURCE_LOCK ${arg_RESOURCE_LOCK})
    endif()
    if(KV_TEST_FIXTURES)
        list(APPEND properties FIXTURES_REQUIRED ${KV_TEST_FIXTURES})
    endif()
    if(arg_LABELS)
        list(APPEND properties LABELS ${arg_LABELS})
    endif()
    gtest_discover_tests(${name}
        NO_PRETTY_VALUES
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 120
        PROPERTIES
            ${properties}
            TIMEOUT ${KV_TEST_TIMEOUT}
            ENVIRONMENT KV_WINE_TIMEOUT=${KV_TEST_PROGRAM_TIMEOUT}
    )
endfunction()
