# kv_unify_sources(RESULT NAME SOURCES source... [APART source...])
#
# Sets RESULT to sources that include the given ones, up to eight each. A compiler, and clang-tidy even more, spends most of
# its time on the system's headers, which are then read once a batch. A source in APART, or one that is not C++, stays by
# itself. NAME, which no other target has, is part of the names of the files.
#
# Names at file level must differ within NAME. The compiler finds two that are equal if they are in one batch, the test
# style_file_level_names_differ in any case: the global property KV_UNIFIED_SOURCES has a line for it, NAME with its sources.
function(kv_unify_sources result name)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "SOURCES;APART")
    set(unified ${arg_SOURCES})
    list(FILTER unified INCLUDE REGEX "\\.cpp$")
    if(arg_APART)
        list(REMOVE_ITEM unified ${arg_APART})
    endif()
    set(sources ${arg_SOURCES})
    if(unified)
        list(REMOVE_ITEM sources ${unified})
    endif()
    set(line ${name})
    set(number 0)
    while(unified)
        list(SUBLIST unified 0 8 batch)
        list(REMOVE_ITEM unified ${batch})
        set(content "")
        foreach(source IN LISTS batch)
            cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
            string(APPEND content "#include \"${source}\"\n")
            string(APPEND line "|${source}")
        endforeach()
        # clang's analyzer examines included sources only in files of this name.
        set(file ${CMAKE_CURRENT_BINARY_DIR}/UnifiedSource_${name}_${number}.cpp)
        file(CONFIGURE OUTPUT ${file} CONTENT "${content}" @ONLY)
        list(APPEND sources ${file})
        math(EXPR number "${number} + 1")
    endwhile()
    set_property(GLOBAL APPEND_STRING PROPERTY KV_UNIFIED_SOURCES "${line}\n")
    set(${result} ${sources} PARENT_SCOPE)
endfunction()
