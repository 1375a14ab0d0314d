# kv_list_program(TARGET...) adds programs and libraries to the list by which scripts find them.
#
# kv_write_program_list() writes that list, {"target": "path"}, to programs-CONFIGURATION.json in the build tree. The
# folder of a program depends on the generator, so scripts never put its path together.
function(kv_list_program)
    set_property(GLOBAL APPEND PROPERTY KV_LISTED_PROGRAMS ${ARGN})
endfunction()

function(kv_write_program_list)
    get_property(lines GLOBAL PROPERTY KV_LISTED_PROGRAMS)
    list(TRANSFORM lines REPLACE "(.+)" " \"\\1\": \"$<TARGET_FILE:\\1>\"")
    list(JOIN lines ",\n" content)
    file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/programs-$<CONFIG>.json CONTENT "{\n${content}\n}\n")
endfunction()
