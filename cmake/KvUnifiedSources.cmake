# kv_unify_sources(RESULT NAME SOURCES source... [APART source...])
#
# Sets RESULT to sources that include the given ones, up to eight each. Most of the time that a compiler spends with a source,
# and clang-tidy even more, goes by in the system's headers, which are read once a batch then. What APART names stays by itself,
# and so does what is not C++. NAME keeps the files of the targets of one folder apart.
#
# Names at file level must differ within a batch: the compiler tells.
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
    set(number 0)
    while(unified)
        list(SUBLIST unified 0 8 batch)
        list(REMOVE_ITEM unified ${batch})
        set(content "")
        foreach(source IN LISTS batch)
            cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
            string(APPEND content "#include \"${source}\"\n")
        endforeach()
        # clang's analyzer takes what is included for code, and looks at it, in files of this name only.
        set(file ${CMAKE_CURRENT_BINARY_DIR}/UnifiedSource_${name}_${number}.cpp)
        file(CONFIGURE OUTPUT ${file} CONTENT "${content}" @ONLY)
        list(APPEND sources ${file})
        math(EXPR number "${number} + 1")
    endwhile()
    set(${result} ${sources} PARENT_SCOPE)
endfunction()
