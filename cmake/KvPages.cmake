# The pages of the program's archive, for people without the sources: HTML that is made from the Markdown in docs/. Without
# cmark-gfm or Python 3 the archive has the Markdown itself.

set(KV_PAGES
    docs/command-line.md
    docs/configuration.md
    docs/doctor.md
    docs/events.md
    docs/logging.md
    docs/measurement-protocol.md
    docs/printer-inventory.md
    docs/privacy.md
    docs/request-queue.md
    docs/security.md
    docs/troubleshooting.md
    docs/viewer.md
    packaging/index.md
)
find_package(Python3 COMPONENTS Interpreter)
find_program(KV_CMARK cmark-gfm DOC "cmark-gfm, with which the pages of the program's archive are made")
if(NOT Python3_FOUND OR NOT KV_CMARK)
    message(STATUS "No pages in HTML, but in Markdown: they take cmark-gfm (Debian: package cmark-gfm) and Python 3")
    install(FILES ${KV_PAGES} DESTINATION docs COMPONENT program)
    return()
endif()

list(TRANSFORM KV_PAGES PREPEND ${PROJECT_SOURCE_DIR}/ OUTPUT_VARIABLE pageSources)
set(pageFolder ${PROJECT_BINARY_DIR}/packaging/docs)
set(pageFiles ${pageFolder}/pages.css)
foreach(page IN LISTS KV_PAGES)
    cmake_path(GET page STEM name)
    list(APPEND pageFiles ${pageFolder}/${name}.html)
endforeach()
add_custom_command(
    OUTPUT ${PROJECT_BINARY_DIR}/packaging/pages.stamp
    BYPRODUCTS ${pageFiles}
    COMMAND ${Python3_EXECUTABLE} -B ${PROJECT_SOURCE_DIR}/packaging/pages.py ${pageFolder} ${pageSources}
        --title ${KV_FILE_DESCRIPTION} --version ${PROJECT_VERSION} --cmark ${KV_CMARK}
    COMMAND ${CMAKE_COMMAND} -E touch ${PROJECT_BINARY_DIR}/packaging/pages.stamp
    DEPENDS ${pageSources} packaging/pages.py packaging/pages.css
    COMMENT "Making the pages of the program's archive"
    VERBATIM)
add_custom_target(kv_pages ALL DEPENDS ${PROJECT_BINARY_DIR}/packaging/pages.stamp)
set_property(GLOBAL APPEND PROPERTY KV_DELIVERED_EXTRAS kv_pages)
install(FILES ${pageFiles} DESTINATION docs COMPONENT program)
