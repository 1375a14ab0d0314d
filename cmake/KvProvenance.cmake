# What an archive says of its content and where it comes from: signatures, the licence, the notices of third parties and
# the bill of materials (SBOM). Included by KvPackage.cmake behind the rules that install the files; the SBOM is last.

find_package(Python3 COMPONENTS Interpreter)
find_program(KV_DPKG_QUERY dpkg-query)

# The licence of the project is its owner's decision.
if(EXISTS ${PROJECT_SOURCE_DIR}/LICENSE)
    configure_file(LICENSE ${PROJECT_BINARY_DIR}/packaging/LICENSE.txt @ONLY NEWLINE_STYLE CRLF)
    install(FILES ${PROJECT_BINARY_DIR}/packaging/LICENSE.txt DESTINATION . COMPONENT program)
    install(FILES LICENSE DESTINATION ${KV_DOCUMENT_FOLDER} COMPONENT development)
else()
    message(STATUS "No file LICENSE: the archives say nothing about the licence of this project")
endif()

# Each is signed as it is installed, so the build tree keeps the unsigned one, which is the same in every build.
if(KV_SIGN_COMMAND)
    foreach(program IN LISTS KV_DELIVERED_PROGRAMS)
        install(CODE "
            set(command [==[${KV_SIGN_COMMAND}]==])
            execute_process(COMMAND \${command} \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/$<TARGET_FILE_NAME:${program}>\"
                COMMAND_ERROR_IS_FATAL ANY)"
            COMPONENT program)
    endforeach()
endif()

# Only g++ links libraries of third parties into the programs, and only Debian's packages are known to have the notices.
set(maps)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND Python3_FOUND AND KV_DPKG_QUERY)
    foreach(program IN LISTS KV_DELIVERED_PROGRAMS)
        list(APPEND maps $<TARGET_FILE:${program}>.map)
    endforeach()
    list(JOIN maps "\" \"" quotedMaps)
    set(notices ${PROJECT_BINARY_DIR}/packaging/THIRD-PARTY-NOTICES.txt)
    foreach(component program development)
        install(CODE "
            execute_process(COMMAND \"${Python3_EXECUTABLE}\" -B \"${PROJECT_SOURCE_DIR}/packaging/notices.py\"
                \"${notices}\" \"${quotedMaps}\" COMMAND_ERROR_IS_FATAL ANY)"
            COMPONENT ${component})
    endforeach()
    install(FILES ${notices} DESTINATION . COMPONENT program)
    install(FILES ${notices} DESTINATION ${KV_DOCUMENT_FOLDER} COMPONENT development)
else()
    message(STATUS "No THIRD-PARTY-NOTICES.txt: it takes g++, Python 3 and the packages of Debian")
endif()

# kv_install_sbom(COMPONENT NAME FILE INCLUDE|EXCLUDE FOLDERS): the SBOM of what has been installed of the component, whose
# files are those that match the regular expression, or those that do not.
function(kv_install_sbom component name file mode folders)
    set(list ${PROJECT_BINARY_DIR}/packaging/${component}-files.txt)
    install(CODE "
        set(root \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
        set(files)
        foreach(path IN LISTS CMAKE_INSTALL_MANIFEST_FILES)
            file(RELATIVE_PATH file \"\${CMAKE_INSTALL_PREFIX}\" \"\${path}\")
            list(APPEND files \"\${file}\")
        endforeach()
        list(FILTER files ${mode} REGEX \"^(${folders})/\")
        list(REMOVE_DUPLICATES files)
        list(JOIN files \"\\n\" files)
        file(WRITE \"${list}\" \"\${files}\\n\")
        execute_process(COMMAND \"${Python3_EXECUTABLE}\" -B \"${PROJECT_SOURCE_DIR}/packaging/sbom.py\"
            --name \"${name}\" --version \"${PROJECT_VERSION}\" --company \"${KV_COMPANY_NAME}\"
            --root \"\${root}\" --files \"${list}\" --output \"\${root}/${file}\" --maps \"${quotedMaps}\"
            COMMAND_ERROR_IS_FATAL ANY)
        list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${CMAKE_INSTALL_PREFIX}/${file}\")"
        COMPONENT ${component})
endfunction()

if(Python3_FOUND)
    kv_install_sbom(program "${KV_FILE_DESCRIPTION}" KVAnalyticsProxy.spdx.json EXCLUDE "include|lib|share|symbols")
    kv_install_sbom(development "${PROJECT_NAME}" ${KV_DOCUMENT_FOLDER}/KVAnalytics.spdx.json INCLUDE "include|lib|share")
else()
    message(STATUS "No SBOM: it takes Python 3")
endif()
