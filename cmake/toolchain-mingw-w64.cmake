# Cross build for Windows x64 with mingw-w64 (posix threads). The programs run under Wine.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KV_MINGW_TRIPLE x86_64-w64-mingw32)
# Named in one line; CMake itself reports a missing compiler in many.
foreach(tool IN ITEMS gcc-posix g++-posix windres objcopy objdump strip)
    find_program(foundTool ${KV_MINGW_TRIPLE}-${tool} NO_CACHE NO_CMAKE_FIND_ROOT_PATH)
    if(NOT foundTool)
        message(FATAL_ERROR "${KV_MINGW_TRIPLE}-${tool} is missing.")
    endif()
    unset(foundTool)
endforeach()
set(CMAKE_C_COMPILER ${KV_MINGW_TRIPLE}-gcc-posix) # GoogleTest enables C
set(CMAKE_CXX_COMPILER ${KV_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${KV_MINGW_TRIPLE}-windres)
set(CMAKE_OBJCOPY ${KV_MINGW_TRIPLE}-objcopy)
set(CMAKE_OBJDUMP ${KV_MINGW_TRIPLE}-objdump)
set(CMAKE_STRIP ${KV_MINGW_TRIPLE}-strip)

set(CMAKE_FIND_ROOT_PATH /usr/${KV_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Runs a program under Wine, in the prefix of its build tree.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine;${CMAKE_BINARY_DIR};run)
