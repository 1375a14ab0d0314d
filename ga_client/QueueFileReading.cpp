#include "ga_client/QueueFileReading.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "ga_client/QueueFileFormat.h"
#include "winapi/handles/KernelHandles.h"

namespace GAClient
{
namespace
{
constexpr wchar_t kFileName[] = L"Statlet_RequestQueue.txt";

std::wstring ReadInCodePage(const std::string& bytes)
{
    const int size = static_cast<int>(bytes.size()); // the shell gives no path of 2 GiB
    std::wstring narrowed(bytes.size(), L'\0');      // no code page gives more units than bytes
    const int length = KVWinApi::g_kernelApi->MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, narrowed.data(), size);
    narrowed.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return narrowed;
}

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

std::wstring GetQueueFilePath(const std::wstring& folder)
{
    return ReadInCodePage(NarrowToBytes(folder + kFileName));
}

bool IsFileItself(HANDLE file)
{
    BY_HANDLE_FILE_INFORMATION information{};
    return ::GetFileInformationByHandle(file, &information) != FALSE &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

std::optional<std::list<std::wstring>> ReadQueueLines(HANDLE file, std::size_t limit, std::uint64_t byteLimit)
{
    constexpr DWORD kChunkSize = 65536;
    CQueueLineCollector collector(limit);
    std::string chunk(kChunkSize, '\0');
    DWORD read = kChunkSize;
    std::uint64_t total = 0;
    while (read != 0 && !collector.IsFull() && total < byteLimit)
    {
        if (::ReadFile(file, chunk.data(), kChunkSize, &read, nullptr) == FALSE)
        {
            return std::nullopt;
        }
        collector.Add(std::string_view(chunk).substr(0, read));
        total += read;
    }
    return collector.TakeLines();
}

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
    std::optional<std::list<std::wstring>> lines = ReadQueueLines(file.Get(), kDefaultQueueLimit, kLongestRead);
    view.state = lines ? QueueFileView::State::kRead : QueueFileView::State::kUnreadable;
    view.error = lines ? ERROR_SUCCESS : ::GetLastError();
    view.requests = std::move(lines).value_or(std::list<std::wstring>());
    return view;
}
} // namespace GAClient
