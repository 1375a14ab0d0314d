#pragma once

#include <windows.h>

#include <set>
#include <string>

namespace KVTest
{
/// What a program has loaded by its end.
struct LoadedModules
{
    DWORD exitCode;
    /// File names of all DLLs that it had loaded at any time, those that were gone by its end included, in lower case.
    std::set<std::wstring> names;
};

/// Runs a program to its end as its debugger, which hears of every module. Throws std::runtime_error when the program
/// cannot be started or does not end within the time.
LoadedModules RunAndListModules(std::wstring commandLine, DWORD timeoutMs = 20000);
} // namespace KVTest
