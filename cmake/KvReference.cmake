# The target kv_reference: the reference of the public headers, in HTML, below the build tree (reference/html). Doxygen is
# searched for when the target is built, since nothing else needs it.

get_property(KV_REFERENCE_INPUT GLOBAL PROPERTY KV_PUBLIC_HEADERS)
list(TRANSFORM KV_REFERENCE_INPUT REPLACE "(.+)" "\"\\1\"")
list(JOIN KV_REFERENCE_INPUT " " KV_REFERENCE_INPUT)
set(KV_REFERENCE_FOLDER ${PROJECT_BINARY_DIR}/reference)
configure_file(docs/Doxyfile.in Doxyfile @ONLY)
add_custom_target(kv_reference
    COMMAND ${CMAKE_COMMAND} -E make_directory ${KV_REFERENCE_FOLDER}
    COMMAND doxygen ${PROJECT_BINARY_DIR}/Doxyfile
    VERBATIM)
