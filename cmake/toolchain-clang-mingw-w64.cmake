# The cross build of toolchain-mingw-w64.cmake with clang and lld instead of g++ and its linker, for their warnings.
# Headers, standard library and start-up code are those of mingw-w64 (posix threads).

include(${CMAKE_CURRENT_LIST_DIR}/toolchain-mingw-w64.cmake)

find_program(KV_CLANG NAMES clang-19 clang REQUIRED NO_CMAKE_FIND_ROOT_PATH)
find_program(KV_CLANGXX NAMES clang++-19 clang++ REQUIRED NO_CMAKE_FIND_ROOT_PATH)
set(CMAKE_C_COMPILER ${KV_CLANG})
set(CMAKE_CXX_COMPILER ${KV_CLANGXX})
set(CMAKE_C_COMPILER_TARGET ${KV_MINGW_TRIPLE})
set(CMAKE_CXX_COMPILER_TARGET ${KV_MINGW_TRIPLE})
# The threads of the standard library need winpthread, which clang links only if asked to.
string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -fuse-ld=lld -pthread")
string(APPEND CMAKE_SHARED_LINKER_FLAGS_INIT " -fuse-ld=lld -pthread")
string(APPEND CMAKE_MODULE_LINKER_FLAGS_INIT " -fuse-ld=lld -pthread")
