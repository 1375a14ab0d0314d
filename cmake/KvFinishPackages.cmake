# Run by cpack when the archives are made: makes the MSI from the archive of the program, signs it, and writes the check
# sums of all.
cmake_minimum_required(VERSION 3.25)

set(folder "${CPACK_PACKAGE_DIRECTORY}")
# In the working folder of cpack, which copies them to their place later.
set(packages ${CPACK_PACKAGE_FILES})
set(program ${packages})
list(FILTER program INCLUDE REGEX "/${CPACK_ARCHIVE_PROGRAM_FILE_NAME}[.]zip$")

find_program(KV_WIXL wixl)
if(KV_WIXL AND CPACK_KV_PYTHON AND program)
    set(installer "${folder}/${CPACK_ARCHIVE_PROGRAM_FILE_NAME}.msi")
    set(content "${CPACK_TEMPORARY_DIRECTORY}/installer")
    file(REMOVE_RECURSE "${content}")
    file(ARCHIVE_EXTRACT INPUT "${program}" DESTINATION "${content}")
    execute_process(COMMAND "${CPACK_KV_PYTHON}" "${CPACK_KV_SOURCE}/packaging/installer.py" "${content}" "${installer}"
        --name "${CPACK_KV_PROGRAM_NAME}"
        --company "${CPACK_PACKAGE_VENDOR}"
        --version "${CPACK_PACKAGE_VERSION}"
        --folder-name "${CPACK_KV_PRODUCT_FOLDER}"
        --registry-key "Software\\${CPACK_PACKAGE_VENDOR}\\KV\\Analytics"
        COMMAND_ERROR_IS_FATAL ANY)
    if(CPACK_KV_SIGN_COMMAND)
        execute_process(COMMAND ${CPACK_KV_SIGN_COMMAND} "${installer}" COMMAND_ERROR_IS_FATAL ANY)
    endif()
    list(APPEND packages "${installer}")
else()
    message(STATUS "No MSI: it takes wixl (Debian: package wixl), Python 3 and the archive of the program")
endif()

set(names)
foreach(package IN LISTS packages)
    get_filename_component(name "${package}" NAME)
    file(SHA256 "${package}" sum_${name})
    list(APPEND names "${name}")
endforeach()
list(SORT names)
set(sums "")
foreach(name IN LISTS names)
    string(APPEND sums "${sum_${name}}  ${name}\n")
endforeach()
file(WRITE "${folder}/SHA256SUMS" "${sums}")
