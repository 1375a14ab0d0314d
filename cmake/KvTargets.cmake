# Delivered code is optimised for size. These sources are optimised for speed, since programs run them often and they do
# little but compute: for size, building a hit takes a third more instructions, and the lines of the queue file a seventh.
# What waits for the system anyway is no quicker here.
set(KV_QUICK_SOURCES
    ga_client/QueueFileFormat.cpp
    ga_client/activities/AppViewActivity.cpp
    ga_client/activities/EventActivity.cpp
    ga_client/activities/ExceptionActivity.cpp
    ga_client/protocols/MeasurementUrlParams.cpp
    logging/LogFunction.cpp
    logging/LogModuleLines.cpp
    logging/TraceScope.cpp
    utils/base/Decimal.cpp
)
foreach(source IN LISTS KV_QUICK_SOURCES)
    if(NOT EXISTS ${PROJECT_SOURCE_DIR}/${source})
        message(FATAL_ERROR "KV_QUICK_SOURCES names ${source}, which does not exist")
    endif()
endforeach()

function(kv_optimise_for_speed source)
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE OUTPUT_VARIABLE name)
    cmake_path(RELATIVE_PATH name BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
    if(name IN_LIST KV_QUICK_SOURCES)
        set_source_files_properties(${source}
            PROPERTIES COMPILE_OPTIONS $<$<CONFIG:Release>:$<IF:$<CXX_COMPILER_ID:MSVC>,/O2,-O2>>)
    endif()
endfunction()

# kv_add_library(NAME SOURCES file... [APART file...] [HEADERS file...] [INTERNAL_HEADERS file...] [LINK library...])
#
# Defines the static library kv_NAME with the alias KV::NAME. Includes are written from the repository root. Each header
# is proven to compile alone: by its source, which includes it first (the test style_own_header_comes_first), or else by
# the target all_verify_interface_header_sets. The test package_headers compiles the installed headers alone.
#
# HEADERS are installed: the headers that other programs may include, and the headers that these include. A library with
# HEADERS is part of the package of KvPackage.cmake, under the same name KV::NAME. INTERNAL_HEADERS are for this tree
# only. APART names sources that cannot be compiled as one with others.
function(kv_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;APART;HEADERS;INTERNAL_HEADERS;LINK")
    set(target kv_${name})
    kv_unify_sources(sources ${name} SOURCES ${arg_SOURCES} APART ${arg_APART})
    if(NOT KV_CHECKED)
        # Delivered libraries are compiled file by file, so that a program links only what it uses.
        set(sources ${arg_SOURCES})
    endif()
    foreach(source IN LISTS arg_SOURCES)
        kv_optimise_for_speed(${source})
    endforeach()
    add_library(${target} STATIC ${sources})
    add_library(KV::${name} ALIAS ${target})
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_link_libraries(${target} PUBLIC ${arg_LINK} PRIVATE kv_build_options kv_debug_symbols kv_small_code)
    # CMake passes the PRIVATE dependencies of a static library on as LINK_ONLY. The build options must not reach the
    # programs that link the library.
    set_target_properties(${target} PROPERTIES INTERFACE_LINK_LIBRARIES "${arg_LINK}")
    set_target_properties(${target} PROPERTIES CXX_CLANG_TIDY "${KV_CLANG_TIDY_COMMAND}")
    set(sourceless ${arg_HEADERS} ${arg_INTERNAL_HEADERS})
    list(TRANSFORM arg_SOURCES REPLACE "\\.cpp$" ".h" OUTPUT_VARIABLE sourced)
    list(REMOVE_ITEM sourceless ${sourced})
    if(arg_HEADERS)
        target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${arg_HEADERS})
        set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
        list(TRANSFORM arg_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
        set_property(GLOBAL APPEND PROPERTY KV_PUBLIC_HEADERS ${arg_HEADERS})
        set_property(GLOBAL APPEND PROPERTY KV_DELIVERED_LIBRARIES ${target})
        install(TARGETS ${target} EXPORT KVAnalyticsTargets
            ARCHIVE DESTINATION lib COMPONENT development
            FILE_SET HEADERS DESTINATION include COMPONENT development)
        if(NOT MSVC)
            # The objects use libssp: stack protector, checked copies. In this tree kv_build_options links it.
            target_link_options(${target} INTERFACE $<INSTALL_INTERFACE:-fstack-protector-strong>)
            kv_install_pkg_config(${target} ${arg_LINK})
        endif()
    else()
        target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
    endif()
    # A separate target, because all file sets of an exported library must be installed.
    if(sourceless)
        add_library(${target}_sourceless INTERFACE)
        target_sources(${target}_sourceless
            INTERFACE FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${sourceless})
        target_link_libraries(${target}_sourceless INTERFACE ${target})
        set_target_properties(${target}_sourceless PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
    endif()
endfunction()

# kv_add_delivered_program(NAME GRAPHICAL|CONSOLE SOURCE DESCRIPTION LIBRARY): a program of the archive, with its version
# resource and its manifest.
function(kv_add_delivered_program name subsystem source KV_FILE_DESCRIPTION library)
    set(KV_PROGRAM_FILE_NAME ${name}.exe)
    configure_file(${PROJECT_SOURCE_DIR}/packaging/VersionResource.rc.in VersionResource.rc @ONLY)
    configure_file(${PROJECT_SOURCE_DIR}/packaging/Manifest.rc.in Manifest.rc @ONLY)
    set_source_files_properties(${CMAKE_CURRENT_BINARY_DIR}/Manifest.rc PROPERTIES
        OBJECT_DEPENDS ${PROJECT_SOURCE_DIR}/packaging/KVAnalyticsProxy.manifest)
    add_executable(${name} ${source}
        ${CMAKE_CURRENT_BINARY_DIR}/Manifest.rc
        ${CMAKE_CURRENT_BINARY_DIR}/VersionResource.rc)
    target_link_libraries(${name} PRIVATE ${library} kv_build_options kv_debug_symbols kv_small_code)
    kv_separate_symbols(${name})
    kv_list_program(${name})
    set_target_properties(${name} PROPERTIES CXX_CLANG_TIDY "${KV_CLANG_TIDY_COMMAND}")
    set(subsystemOption CONSOLE)
    if(subsystem STREQUAL GRAPHICAL)
        set_target_properties(${name} PROPERTIES WIN32_EXECUTABLE ON)
        set(subsystemOption WINDOWS)
    endif()
    # Windows 7 is the oldest system that it runs on. Aware of terminal servers: it keeps nothing where sessions share it.
    if(MSVC)
        target_link_options(${name} PRIVATE
            /SUBSYSTEM:${subsystemOption},6.01 # the system's version too
            /TSAWARE
            /MANIFEST:NO) # the resource has it
    else()
        target_link_options(${name} PRIVATE $<$<BOOL:${MINGW}>:-municode> -Wl,--tsaware
            -Wl,--major-os-version=6,--minor-os-version=1
            -Wl,--major-subsystem-version=6,--minor-subsystem-version=1)
    endif()
endfunction()

# kv_install_pkg_config(TARGET [library...]): the description of the library for pkg-config, with the libraries that it
# links, for programs that are not built by CMake.
function(kv_install_pkg_config KV_PC_NAME)
    set(required ${ARGN})
    list(FILTER required INCLUDE REGEX "^KV::")
    list(TRANSFORM required REPLACE "^KV::" "kv_" OUTPUT_VARIABLE required)
    list(JOIN required ", " KV_PC_REQUIRES)
    set(libraries ${ARGN})
    list(FILTER libraries EXCLUDE REGEX "^KV::")
    list(TRANSFORM libraries PREPEND " -l")
    list(JOIN libraries "" KV_PC_LIBS)
    set(definitions $<TARGET_PROPERTY:${KV_PC_NAME},INTERFACE_COMPILE_DEFINITIONS>)
    set(KV_PC_CFLAGS "$<$<BOOL:${definitions}>: -D$<JOIN:${definitions}, -D>>")
    configure_file(${PROJECT_SOURCE_DIR}/cmake/library.pc.in ${KV_PC_NAME}.pc.in @ONLY)
    file(GENERATE OUTPUT ${KV_PC_NAME}.pc INPUT ${CMAKE_CURRENT_BINARY_DIR}/${KV_PC_NAME}.pc.in)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${KV_PC_NAME}.pc DESTINATION lib/pkgconfig COMPONENT development)
endfunction()
