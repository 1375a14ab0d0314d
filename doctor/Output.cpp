#include "doctor/Output.h"

#include <windows.h>

#include <algorithm>
#include <string>

#include "winapi/KernelApi.h"

namespace KVAnalyticsDoctor
{
namespace
{
bool WriteToConsole(HANDLE console, std::wstring_view text)
{
    constexpr std::size_t kLongestPiece = 8000; // older consoles refuse more than 64 KiB
    while (!text.empty())
    {
        const auto length = static_cast<DWORD>(std::min(text.size(), kLongestPiece));
        DWORD written = 0;
        if (::WriteConsoleW(console, text.data(), length, &written, nullptr) == FALSE || written == 0)
        {
            return false;
        }
        text.remove_prefix(written);
    }
    return true;
}

std::string ToUtf8(std::wstring_view text)
{
    const int length = static_cast<int>(text.size());
    const int size =
        KVWinApi::g_kernelApi->WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(std::max(size, 0)), '\0');
    KVWinApi::g_kernelApi->WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

bool WriteToFile(HANDLE file, std::string_view bytes)
{
    while (!bytes.empty())
    {
        DWORD written = 0;
        if (KVWinApi::g_kernelApi->WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ==
                FALSE ||
            written == 0)
        {
            return false;
        }
        bytes.remove_prefix(written);
    }
    return true;
}

bool Write(DWORD stream, std::wstring_view text)
{
    const HANDLE handle = ::GetStdHandle(stream);
    DWORD mode = 0;
    return ::GetConsoleMode(handle, &mode) != FALSE ? WriteToConsole(handle, text) : WriteToFile(handle, ToUtf8(text));
}
} // namespace

bool WriteOutput(std::wstring_view text)
{
    return Write(STD_OUTPUT_HANDLE, text);
}

bool WriteErrorOutput(std::wstring_view text)
{
    return Write(STD_ERROR_HANDLE, text);
}
} // namespace KVAnalyticsDoctor
