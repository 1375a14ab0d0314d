#pragma once

#include <windows.h>

#include <set>
#include <string>

namespace KVTest
{
/// The exit code of a program and the DLLs that it has loaded.
struct LoadedModules
{
    DWORD exitCode;
    /// File names in lower case of all DLLs, including those that were unloaded before its end.
    std::set<std::wstring> names;
};

/// Runs a program to its end as its debugger, which receives an event for every DLL. Throws std::runtime_error if the
/// program cannot be started or does not end in time.
LoadedModules RunAndListModules(std::wstring commandLine, DWORD timeoutMs = 20000);
} // namespace KVTest
