#include "logging/file/LogFile.h"

#include <algorithm>
#include <limits>

namespace KVLogging
{
namespace
{
constexpr DWORD kRetryMs = 30;
constexpr DWORD kRetryTotalMs = 120;

bool IsLink(const std::wstring& fileName) noexcept
{
    const DWORD attributes = ::GetFileAttributesW(fileName.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool IsLink(HANDLE file) noexcept
{
    FILE_BASIC_INFO information{};
    return ::GetFileInformationByHandleEx(file, FileBasicInfo, &information, sizeof(information)) != FALSE &&
           (information.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// A link is not followed. Otherwise a user who may write to the folder could make the log empty and fill a file that
// only the traced program may write to.
KVWinApi::CUniqueSystemFile OpenExclusively(const std::wstring& fileName, DWORD disposition) noexcept
{
    // CREATE_ALWAYS excludes the flag that opens a link itself: a link that is made after this check is followed.
    const bool isEmptied = disposition == CREATE_ALWAYS;
    bool isLink = isEmptied && IsLink(fileName);
    KVWinApi::CUniqueSystemFile file;
    if (!isLink)
    {
        const DWORD flags = FILE_ATTRIBUTE_NORMAL | (isEmptied ? 0 : FILE_FLAG_OPEN_REPARSE_POINT);
        file.Reset(::CreateFileW(fileName.c_str(), GENERIC_WRITE, 0, nullptr, disposition, flags, nullptr));
        isLink = file.IsValid() && IsLink(file.Get());
    }
    if (isLink)
    {
        file.Reset();
        ::SetLastError(ERROR_CANT_ACCESS_FILE);
    }
    return file;
}
} // namespace

CLogFile::CLogFile(const std::wstring& fileName, DWORD disposition) noexcept
{
    const DWORD firstTry = ::GetTickCount();
    m_file = OpenExclusively(fileName, disposition);
    // An unsigned difference is right even across the wrap of the tick count after 49.7 days.
    while (!IsOpen() && ::GetLastError() == ERROR_SHARING_VIOLATION && ::GetTickCount() - firstTry < kRetryTotalMs)
    {
        ::Sleep(kRetryMs);
        m_file = OpenExclusively(fileName, disposition);
    }
    if (!IsOpen())
    {
        m_openError = ::GetLastError();
        return;
    }
    LARGE_INTEGER end{};
    if (::SetFilePointerEx(m_file.Get(), LARGE_INTEGER{}, &end, FILE_END) != FALSE)
    {
        m_size = static_cast<std::uint64_t>(end.QuadPart);
    }
}

void CLogFile::Write(std::wstring_view text) noexcept
{
    const std::size_t byteCount =
        std::min<std::size_t>(text.size() * sizeof(wchar_t), std::numeric_limits<DWORD>::max() - 1);
    DWORD written = 0;
    if (byteCount != 0 &&
        ::WriteFile(m_file.Get(), text.data(), static_cast<DWORD>(byteCount), &written, nullptr) != FALSE)
    {
        m_size += written;
    }
}
} // namespace KVLogging
