# Installation and archives, in three components:
#
#   development  the package KVAnalytics for find_package: headers, static libraries, their guide and examples
#   program      the programs as they are unpacked into a product folder, with sample settings and documents
#   symbols      debug symbols of the programs
#
# cmake --install installs all, or one with --component. cpack makes a zip of each, an MSI of the program, and SHA256SUMS.

if(KV_CHECKED OR KV_COVERAGE)
    return() # see the top CMakeLists.txt: these are not installed
endif()

include(CMakePackageConfigHelpers)

set(KV_PACKAGE_FOLDER lib/cmake/KVAnalytics)
set(KV_DOCUMENT_FOLDER share/KVAnalytics)

if(MSVC)
    set(KV_PACKAGE_COMPILER msvc)
    set(KV_PACKAGE_COMPILER_TEST MSVC)
else()
    set(KV_PACKAGE_COMPILER mingw-w64)
    set(KV_PACKAGE_COMPILER_TEST MINGW)
endif()
configure_package_config_file(cmake/KVAnalyticsConfig.cmake.in KVAnalyticsConfig.cmake
    INSTALL_DESTINATION ${KV_PACKAGE_FOLDER}
    NO_SET_AND_CHECK_MACRO)
# A new major version may change or remove anything; any other version only adds.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KVAnalyticsConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(EXPORT KVAnalyticsTargets NAMESPACE KV:: DESTINATION ${KV_PACKAGE_FOLDER} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/KVAnalyticsConfig.cmake ${PROJECT_BINARY_DIR}/KVAnalyticsConfigVersion.cmake
    DESTINATION ${KV_PACKAGE_FOLDER} COMPONENT development)

if(NOT MSVC)
    # Debug information names paths of the build machine. Only the symbol file of the program keeps it.
    install(CODE "
        if(CMAKE_INSTALL_CONFIG_NAME STREQUAL \"Release\")
            file(GLOB libraries \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/lib/libkv_*.a\")
            execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-debug --preserve-dates \${libraries}
                COMMAND_ERROR_IS_FATAL ANY)
        endif()"
        COMPONENT development)
endif()

# The folders are side by side as in this tree, so that the guide's links to the examples work.
install(FILES
    docs/events.md
    docs/logging.md
    docs/measurement-protocol.md
    docs/printer-inventory.md
    docs/request-queue.md
    docs/using-the-libraries.md
    docs/viewer.md
    DESTINATION ${KV_DOCUMENT_FOLDER}/docs COMPONENT development)
install(FILES
    docs/libraries/analytics-reporting.md
    docs/libraries/device-manager.md
    docs/libraries/ga-client.md
    docs/libraries/logging.md
    docs/libraries/utils.md
    docs/libraries/winapi.md
    DESTINATION ${KV_DOCUMENT_FOLDER}/docs/libraries COMPONENT development)
install(FILES
    examples/CMakeLists.txt
    examples/client_alone.cpp
    examples/mingw-w64.cmake
    examples/track_everything.cpp
    examples/track_everything.rc
    DESTINATION ${KV_DOCUMENT_FOLDER}/examples COMPONENT development)

include(cmake/KvPages.cmake)

# Everything that is installed, and nothing else.
get_property(KV_DELIVERED_PROGRAMS GLOBAL PROPERTY KV_DELIVERED_PROGRAMS)
get_property(deliveredLibraries GLOBAL PROPERTY KV_DELIVERED_LIBRARIES)
get_property(deliveredExtras GLOBAL PROPERTY KV_DELIVERED_EXTRAS)
add_custom_target(kv_delivered DEPENDS ${KV_DELIVERED_PROGRAMS} ${deliveredLibraries} ${deliveredExtras})

# The program finds config.ini in the folder above its own.
install(TARGETS ${KV_DELIVERED_PROGRAMS} RUNTIME DESTINATION bin COMPONENT program)
foreach(program IN LISTS KV_DELIVERED_PROGRAMS)
    if(MSVC)
        install(FILES $<TARGET_PDB_FILE:${program}> DESTINATION symbols COMPONENT symbols OPTIONAL)
    else()
        install(FILES $<TARGET_FILE:${program}>.debug DESTINATION symbols CONFIGURATIONS Release COMPONENT symbols)
    endif()
endforeach()
# Texts that people open by a double click get the line ends of Windows.
function(kv_install_text file name folder)
    configure_file(packaging/${file} ${PROJECT_BINARY_DIR}/packaging/${name} @ONLY NEWLINE_STYLE CRLF)
    install(FILES ${PROJECT_BINARY_DIR}/packaging/${name} DESTINATION ${folder} COMPONENT program)
endfunction()
kv_install_text(readme.txt.in readme.txt .)
kv_install_text(config.sample.ini config.sample.ini .)
kv_install_text(start-by-hand.hta start-by-hand.hta docs)
foreach(switch on on-brief off)
    kv_install_text(logging-${switch}.reg logging-${switch}.reg docs)
endforeach()

include(cmake/KvProvenance.cmake)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VENDOR ${KV_COMPANY_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_COMPONENTS_ALL program development symbols)
set(CPACK_COMPONENTS_GROUPING IGNORE) # a zip for each component
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY OFF) # unpacked into the product folder or any prefix
set(CPACK_ARCHIVE_PROGRAM_FILE_NAME KVAnalyticsProxy-${PROJECT_VERSION}-x64)
set(CPACK_ARCHIVE_SYMBOLS_FILE_NAME KVAnalyticsProxy-${PROJECT_VERSION}-x64-symbols)
set(CPACK_ARCHIVE_DEVELOPMENT_FILE_NAME KVAnalytics-${PROJECT_VERSION}-x64-${KV_PACKAGE_COMPILER})
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-x64)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/KvFinishPackages.cmake)
# For that script, which knows only variables with this prefix.
set(CPACK_KV_SOURCE ${PROJECT_SOURCE_DIR})
set(CPACK_KV_PYTHON ${Python3_EXECUTABLE})
set(CPACK_KV_SIGN_COMMAND ${KV_SIGN_COMMAND})
set(CPACK_KV_PROGRAM_NAME ${KV_FILE_DESCRIPTION})
set(CPACK_KV_PRODUCT_FOLDER ${KV_PRODUCT_FOLDER})
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
