#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>

#include "logging/system/PerformanceClock.h"
#include "winapi/KernelApi.h"
#include "windows.h"

namespace
{
DWORD s_lastError;

std::wstring TranslateFormat(const wchar_t* format)
{
    std::wstring translated;
    for (std::wstring_view rest = format; !rest.empty(); rest.remove_prefix(1))
    {
        if (rest.starts_with(L"%s"))
        {
            translated += L"%l"; // the s follows
            rest.remove_prefix(1);
        }
        else if (rest.starts_with(L"I64"))
        {
            translated += L"ll";
            rest.remove_prefix(3);
        }
        translated += rest.front();
    }
    return translated;
}
} // namespace

int _vsnwprintf(wchar_t* buffer, std::size_t count, const wchar_t* format, std::va_list arguments)
{
    return std::vswprintf(buffer, count, TranslateFormat(format).c_str(), arguments);
}

int _vscwprintf(const wchar_t* format, std::va_list arguments)
{
    std::wstring buffer(4096, L'\0');
    return std::vswprintf(buffer.data(), buffer.size(), TranslateFormat(format).c_str(), arguments);
}

errno_t _wsplitpath_s(const wchar_t* path, wchar_t* drive, std::size_t driveSize, wchar_t* directory,
                      std::size_t directorySize, wchar_t* name, std::size_t nameSize, wchar_t* extension,
                      std::size_t extensionSize)
{
    std::wstring_view rest = path;
    std::wstring_view parts[4];
    if (rest.size() >= 2 && rest[1] == L':')
    {
        parts[0] = rest.substr(0, 2);
        rest.remove_prefix(2);
    }
    const std::size_t slash = rest.find_last_of(L"\\/");
    const std::size_t nameStart = slash == std::wstring_view::npos ? 0 : slash + 1;
    parts[1] = rest.substr(0, nameStart);
    rest.remove_prefix(nameStart);
    const std::size_t dot = rest.rfind(L'.');
    parts[2] = rest.substr(0, dot);
    parts[3] = dot == std::wstring_view::npos ? std::wstring_view() : rest.substr(dot);
    wchar_t* const outputs[] = {drive, directory, name, extension};
    const std::size_t sizes[] = {driveSize, directorySize, nameSize, extensionSize};
    for (std::size_t i = 0; i < 4; ++i)
    {
        if (parts[i].size() >= sizes[i])
        {
            drive[0] = directory[0] = name[0] = extension[0] = L'\0';
            return ERANGE;
        }
    }
    for (std::size_t i = 0; i < 4; ++i)
    {
        outputs[i][parts[i].copy(outputs[i], parts[i].size())] = L'\0';
    }
    return 0;
}

DWORD GetLastError()
{
    return s_lastError;
}

void SetLastError(DWORD error)
{
    s_lastError = error;
}

DWORD GetCurrentThreadId()
{
    return 0x1A2B;
}

void GetLocalTime(SYSTEMTIME* time)
{
    *time = {1408682898, 2014, 8, 22, 4, 48, 18};
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* systemTime, FILETIME* fileTime)
{
    const std::uint64_t ticks = static_cast<std::uint64_t>(systemTime->seconds + 11644473600) * 10000000;
    fileTime->dwLowDateTime = static_cast<DWORD>(ticks & 0xFFFFFFFF);
    fileTime->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    return 1;
}

LPWSTR* CommandLineToArgvW(LPCWSTR, int* count)
{
    const auto& elements = KVWinApi::g_commandLineElements;
    if (elements.empty())
    {
        return nullptr;
    }
    // One block for pointers and texts, as the system returns it.
    std::size_t characters = 0;
    for (const std::wstring& element : elements)
    {
        characters += element.size() + 1;
    }
    auto* const block =
        static_cast<LPWSTR*>(std::malloc(elements.size() * sizeof(LPWSTR) + characters * sizeof(wchar_t)));
    auto* text = reinterpret_cast<wchar_t*>(block + elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i)
    {
        block[i] = text;
        text[elements[i].copy(text, elements[i].size())] = L'\0';
        text += elements[i].size() + 1;
    }
    *count = static_cast<int>(elements.size());
    return block;
}

namespace KVWinApi
{
namespace
{
IKernelApi s_kernelApi;
} // namespace

IKernelApi* g_kernelApi = &s_kernelApi;
std::wstring g_commandLine;
std::vector<std::wstring> g_commandLineElements;
std::int64_t g_now = 1416096000;

LPWSTR IKernelApi::GetCommandLineW()
{
    return g_commandLine.data();
}

HLOCAL IKernelApi::LocalFree(HLOCAL memory)
{
    std::free(memory);
    return nullptr;
}

DWORD IKernelApi::GetModuleFileNameW(HMODULE, LPWSTR, DWORD)
{
    return 0;
}

void IKernelApi::GetSystemTime(LPSYSTEMTIME time)
{
    time->seconds = g_now;
}
} // namespace KVWinApi

namespace KVLogging
{
std::int64_t GetPerformanceTicks() noexcept
{
    return 98765432109876;
}

std::int64_t TicksToMicroseconds(std::int64_t ticks) noexcept
{
    return TicksToMicroseconds(ticks, 10000000);
}
} // namespace KVLogging
