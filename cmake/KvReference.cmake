# The target kv_reference makes the reference of the public headers, in HTML, in reference/html of the build tree. Only
# this target needs doxygen, so configuring does not look for it.

get_property(KV_REFERENCE_INPUT GLOBAL PROPERTY KV_PUBLIC_HEADERS)
list(TRANSFORM KV_REFERENCE_INPUT REPLACE "(.+)" "\"\\1\"")
list(JOIN KV_REFERENCE_INPUT " " KV_REFERENCE_INPUT)
set(KV_REFERENCE_FOLDER ${PROJECT_BINARY_DIR}/reference)
configure_file(docs/Doxyfile.in Doxyfile @ONLY)
add_custom_target(kv_reference
    COMMAND ${CMAKE_COMMAND} -E make_directory ${KV_REFERENCE_FOLDER}
    COMMAND doxygen ${PROJECT_BINARY_DIR}/Doxyfile
    VERBATIM)
