#include <windows.h>

#include <tlhelp32.h>

#include "winapi/base/ProcessStatus.h"

namespace
{
DWORD FindParent()
{
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    BOOL hasEntry = ::Process32FirstW(snapshot, &entry);
    while (hasEntry != FALSE && entry.th32ProcessID != ::GetCurrentProcessId())
    {
        hasEntry = ::Process32NextW(snapshot, &entry);
    }
    ::CloseHandle(snapshot);
    return entry.th32ParentProcessID;
}
} // namespace

// kv_bench_caller: an empty program that also makes the system calls by which the caller check finds the path of the
// program that started it. Ends with 0, or with 1 if it does not find it.
int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    const HANDLE parent = ::OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, FindParent());
    HMODULE program = nullptr;
    DWORD needed = 0;
    wchar_t path[MAX_PATH + 1] = {};
    const bool isFound = ::K32EnumProcessModules(parent, &program, sizeof(program), &needed) != FALSE &&
                         ::K32GetModuleFileNameExW(parent, program, path, MAX_PATH) != 0;
    ::CloseHandle(parent);
    return isFound ? 0 : 1;
}
