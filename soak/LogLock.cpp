#include "soak/LogLock.h"

#include <windows.h>

#include <cstdio>
#include <random>

namespace KVSoak
{
namespace
{
// The writers open the file only briefly, so the next attempt usually succeeds.
HANDLE OpenAlone(const std::wstring& path, const std::wstring& until)
{
    constexpr DWORD kRetryMs = 1;
    for (;;)
    {
        const HANDLE file =
            ::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE || ::GetFileAttributesW(until.c_str()) != INVALID_FILE_ATTRIBUTES)
        {
            return file;
        }
        ::Sleep(kRetryMs);
    }
}
} // namespace

int LockFromTimeToTime(const std::wstring& logFile, const std::wstring& until, unsigned seed)
{
    std::mt19937 random(seed);
    unsigned count = 0;
    while (::GetFileAttributesW(until.c_str()) == INVALID_FILE_ATTRIBUTES)
    {
        // Shorter and longer than the 120 ms for which a writer tries to open it.
        ::Sleep(500 + static_cast<DWORD>(random() % 4500));
        const HANDLE file = OpenAlone(logFile, until);
        if (file == INVALID_HANDLE_VALUE)
        {
            break;
        }
        ++count;
        ::Sleep(50 + static_cast<DWORD>(random() % 450));
        ::CloseHandle(file);
    }
    std::printf("locked %u\n", count);
    return count != 0 ? 0 : 1;
}
} // namespace KVSoak
