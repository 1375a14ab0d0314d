#pragma once

// The types and functions of Windows that the fuzzed sources name.

#include <cstdint>

#define WINAPI

using BOOL = int;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using HANDLE = void*;
using HLOCAL = void*;
using HMODULE = void*;
using LPWSTR = wchar_t*;
using LPCWSTR = const wchar_t*;

constexpr DWORD MAX_PATH = 260;

constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr DWORD ERROR_OUTOFMEMORY = 14;
constexpr DWORD ERROR_COMMITMENT_LIMIT = 1455;
constexpr DWORD ERROR_NO_SYSTEM_RESOURCES = 1450;
constexpr DWORD ERROR_NOT_ENOUGH_QUOTA = 1816;

using HRESULT = std::int32_t;
constexpr int FACILITY_WIN32 = 7;

constexpr bool FAILED(HRESULT result)
{
    return result < 0;
}

constexpr int HRESULT_FACILITY(HRESULT result)
{
    return (result >> 16) & 0x1FFF;
}

constexpr int HRESULT_CODE(HRESULT result)
{
    return result & 0xFFFF;
}

struct SYSTEMTIME
{
    std::int64_t seconds; // since 1970; what the facade's stand-in gives
    WORD wYear;           // these: what GetLocalTime gives
    WORD wMonth;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
};
using LPSYSTEMTIME = SYSTEMTIME*;
struct FILETIME
{
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

DWORD GetLastError();
void SetLastError(DWORD error);
DWORD GetCurrentThreadId();
void GetLocalTime(SYSTEMTIME* time);
BOOL SystemTimeToFileTime(const SYSTEMTIME* systemTime, FILETIME* fileTime);
/// Returns the elements that the target has put into g_commandLineElements, whatever the line.
LPWSTR* CommandLineToArgvW(LPCWSTR commandLine, int* count);
