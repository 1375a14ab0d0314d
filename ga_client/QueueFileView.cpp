#include "ga_client/QueueFileView.h"

#include <iterator>
#include <list>
#include <optional>

#include "ga_client/QueueFileFormat.h"
#include "ga_client/QueueFileReading.h"
#include "winapi/handles/KernelHandles.h"

namespace GAClient
{
namespace
{
KVWinApi::CUniqueFile OpenForReading(const std::wstring& path)
{
    // A run that starts meanwhile opens the file for writing.
    constexpr DWORD kSharing = FILE_SHARE_READ | FILE_SHARE_WRITE;
    constexpr DWORD kFlags = FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT;
    return KVWinApi::CUniqueFile(KVWinApi::g_kernelApi->CreateFileW(path.c_str(), GENERIC_READ, kSharing, nullptr,
                                                                    OPEN_EXISTING, kFlags, nullptr));
}

bool IsAbsent(DWORD error)
{
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}
} // namespace

QueueFileView ViewQueueFile(const std::wstring& path)
{
    constexpr std::uint64_t kLongestRead = std::uint64_t{64} * 1048576;
    QueueFileView view;
    const KVWinApi::CUniqueFile file = OpenForReading(path);
    if (!file.IsValid())
    {
        view.error = ::GetLastError();
        view.state = IsAbsent(view.error) ? QueueFileView::State::kAbsent : QueueFileView::State::kUnreadable;
        return view;
    }
    LARGE_INTEGER size{};
    if (KVWinApi::g_kernelApi->GetFileSizeEx(file.Get(), &size) != FALSE)
    {
        view.size = size.QuadPart;
    }
    if (!IsFileItself(file.Get()))
    {
        view.state = QueueFileView::State::kLink;
        return view;
    }
    std::string buffer;
    std::optional<std::list<std::wstring>> lines = ReadQueueLines(file.Get(), kDefaultQueueLimit, buffer, kLongestRead);
    view.state = lines ? QueueFileView::State::kRead : QueueFileView::State::kUnreadable;
    view.error = lines ? ERROR_SUCCESS : ::GetLastError();
    if (lines)
    {
        view.requests.assign(std::make_move_iterator(lines->begin()), std::make_move_iterator(lines->end()));
    }
    return view;
}
} // namespace GAClient
