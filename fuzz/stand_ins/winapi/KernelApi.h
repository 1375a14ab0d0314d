#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "windows.h"

namespace KVWinApi
{
/// The operations of the facade that the fuzzed sources call; their results come from the globals below.
class IKernelApi
{
public:
    LPWSTR GetCommandLineW();
    HLOCAL LocalFree(HLOCAL memory);
    DWORD GetModuleFileNameW(HMODULE module, LPWSTR path, DWORD size);
    void GetSystemTime(LPSYSTEMTIME time);
};
extern IKernelApi* g_kernelApi;

extern std::wstring g_commandLine;
extern std::vector<std::wstring> g_commandLineElements;
extern std::int64_t g_now; // seconds since 1970
} // namespace KVWinApi
