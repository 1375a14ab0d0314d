# kv_add_library(NAME SOURCES file... HEADERS file... [LINK library...])
#
# Defines the static library kv_NAME with the alias KV::NAME. Includes are written from the repository root. Each header
# is proven to compile alone by the target all_verify_interface_header_sets.
function(kv_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;HEADERS;LINK")
    set(target kv_${name})
    add_library(${target} STATIC ${arg_SOURCES})
    add_library(KV::${name} ALIAS ${target})
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${arg_HEADERS})
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_link_libraries(${target} PUBLIC ${arg_LINK} PRIVATE kv_build_options)
    set_target_properties(${target} PROPERTIES
        VERIFY_INTERFACE_HEADER_SETS ON
        CXX_CLANG_TIDY "${KV_CLANG_TIDY_COMMAND}"
    )
endfunction()
