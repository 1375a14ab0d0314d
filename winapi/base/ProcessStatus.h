#pragma once

#include <windows.h>

// The functions of psapi.h that this system uses, under the names by which KERNEL32 has exported them since Windows 7.
// psapi.dll, which forwards to them, need not be loaded then. psapi.h itself offers the names only as macros, which
// would rename the operations of the kernel facade.
extern "C"
{
    WINBASEAPI BOOL WINAPI K32EnumProcesses(DWORD* processIds, DWORD bytes, DWORD* bytesUsed);
    WINBASEAPI BOOL WINAPI K32EnumProcessModules(HANDLE process, HMODULE* modules, DWORD bytes, LPDWORD bytesNeeded);
    WINBASEAPI DWORD WINAPI K32GetModuleBaseNameW(HANDLE process, HMODULE module, LPWSTR name, DWORD characters);
    WINBASEAPI DWORD WINAPI K32GetModuleFileNameExW(HANDLE process, HMODULE module, LPWSTR path, DWORD characters);
}
