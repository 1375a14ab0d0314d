#include "ga_client/RequestQueueFile.h"

#include <windows.h>

#include <optional>
#include <string_view>

#include "ga_client/DataFolder.h"
#include "ga_client/QueueFileFormat.h"
#include "winapi/KernelHandles.h"
#include "winapi/WinApi.h"

namespace GAClient
{
namespace
{
constexpr wchar_t kFileName[] = L"Statlet_RequestQueue.txt";
constexpr wchar_t kMutexPrefix[] = L"Statlet_";
// A file of this size or more takes nothing up, so that it stays bounded where hits can never be sent.
constexpr std::int64_t kFullSize = 1048576;

// As any other program opens files through its C runtime: readers and writers side by side, no deletion. The mutex, not
// the share mode, keeps the client's own processes apart.
constexpr DWORD kShareMode = FILE_SHARE_READ | FILE_SHARE_WRITE;

// The turn of this process at the file, from construction to destruction.
class CFileTurn
{
public:
    explicit CFileTurn(const std::wstring& mutexName)
    {
        constexpr DWORD kWaitMs = 30000;
        ::SetLastError(ERROR_SUCCESS); // a new mutex does not promise to clear what an earlier call left
        m_mutex = KVWinApi::g_winApi->CreateMutexW(nullptr, TRUE, mutexName.c_str());
        if (m_mutex == nullptr)
        {
            return;
        }
        // A new mutex is owned from the start, an existing one is waited for.
        m_isHeld = ::GetLastError() != ERROR_ALREADY_EXISTS || WasObtained(kWaitMs);
    }
    ~CFileTurn()
    {
        if (m_isHeld)
        {
            KVWinApi::g_winApi->ReleaseMutex(m_mutex);
        }
        if (m_mutex != nullptr)
        {
            KVWinApi::g_winApi->CloseHandle(m_mutex);
        }
    }
    CFileTurn(const CFileTurn&) = delete;
    CFileTurn& operator=(const CFileTurn&) = delete;

    bool IsHeld() const noexcept { return m_isHeld; }

private:
    bool WasObtained(DWORD waitMs) const
    {
        const DWORD result = KVWinApi::g_winApi->WaitForSingleObject(m_mutex, waitMs);
        // Abandoned: its owner died. The file is whole, since hits are written in one piece.
        return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
    }

    HANDLE m_mutex = nullptr;
    bool m_isHeld = false;
};

// Deliberate: the path goes through the same narrowing as the content, and is then what a file name of single bytes
// means to the system. Paths beyond the code page are not reached.
std::wstring NarrowedPath(const std::wstring& path)
{
    const std::string bytes = NarrowToBytes(path);
    const int size = static_cast<int>(bytes.size()); // a path of 2 GiB does not come out of the shell
    std::wstring narrowed(bytes.size(), L'\0');      // no code page makes more units of it than it has bytes
    const int length = KVWinApi::g_kernelApi->MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, narrowed.data(), size);
    narrowed.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return narrowed;
}

// Empty when no file is used.
std::wstring FilePath(const std::wstring& applicationName, const std::wstring& applicationVersion)
{
    const std::wstring folder = GetDataFolder(applicationName, applicationVersion);
    return folder.empty() ? std::wstring() : NarrowedPath(folder + kFileName);
}

KVWinApi::CUniqueFile OpenFile(const std::wstring& path, DWORD access, DWORD disposition)
{
    return KVWinApi::CUniqueFile(KVWinApi::g_kernelApi->CreateFileW(path.c_str(), access, kShareMode, nullptr,
                                                                    disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool SetPosition(HANDLE file, std::int64_t position)
{
    LARGE_INTEGER distance{};
    distance.QuadPart = position;
    return ::SetFilePointerEx(file, distance, nullptr, FILE_BEGIN) != FALSE;
}

// True also of an empty file. Leaves the position at the end.
bool EndsWithLineEnd(HANDLE file, std::int64_t size)
{
    char last = kQueueLineEnd;
    DWORD read = 0;
    return size == 0 || (SetPosition(file, size - 1) && ::ReadFile(file, &last, 1, &read, nullptr) != FALSE &&
                         (read == 0 || last == kQueueLineEnd));
}

// In one piece, so that the end of the process cannot tear a line. What a full disk cuts off is taken back as a whole.
bool AppendBytes(HANDLE file, std::int64_t size, const std::string& bytes)
{
    if (bytes.empty())
    {
        return true;
    }
    DWORD written = 0;
    const bool fits = bytes.size() <= MAXDWORD;
    if (fits && SetPosition(file, size) &&
        KVWinApi::g_kernelApi->WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) !=
            FALSE &&
        written == bytes.size())
    {
        return true;
    }
    if (SetPosition(file, size))
    {
        ::SetEndOfFile(file);
    }
    return false;
}

// The first lines of the file, at most limit; nothing when the file cannot be read to there.
std::optional<std::list<std::wstring>> ReadLines(const std::wstring& path, std::size_t limit)
{
    constexpr DWORD kChunkSize = 65536;
    const KVWinApi::CUniqueFile file = OpenFile(path, GENERIC_READ, OPEN_EXISTING);
    if (!file.IsValid())
    {
        return std::nullopt;
    }
    CQueueLineCollector collector(limit);
    std::string chunk(kChunkSize, '\0');
    DWORD read = kChunkSize;
    while (read != 0 && !collector.IsFull())
    {
        if (::ReadFile(file.Get(), chunk.data(), kChunkSize, &read, nullptr) == FALSE)
        {
            return std::nullopt;
        }
        collector.Add(std::string_view(chunk).substr(0, read));
    }
    return collector.TakeLines();
}

bool Empty(const std::wstring& path)
{
    return OpenFile(path, GENERIC_WRITE, TRUNCATE_EXISTING).IsValid();
}

std::size_t FreePlaces(const std::list<std::wstring>& queue, std::int32_t queueLimit)
{
    const std::size_t limit = queueLimit > 0 ? static_cast<std::size_t>(queueLimit) : 0;
    return limit > queue.size() ? limit - queue.size() : 0;
}
} // namespace

CRequestQueueFile::CRequestQueueFile(std::wstring applicationName, std::wstring applicationVersion)
    : m_applicationName(std::move(applicationName)), m_applicationVersion(std::move(applicationVersion))
{
}

bool CRequestQueueFile::Save(const std::list<std::wstring>& requests)
{
    const bool wasFoundBefore = !m_path.empty();
    FindPath();
    const CFileTurn turn(kMutexPrefix + m_applicationName + m_applicationVersion);
    if (m_path.empty() || !turn.IsHeld())
    {
        return false;
    }
    KVWinApi::CUniqueFile file = OpenFile(m_path, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS);
    if (!file.IsValid() && wasFoundBefore && ::GetLastError() == ERROR_PATH_NOT_FOUND)
    {
        // Somebody has removed the folder since.
        m_path.clear();
        FindPath();
        file = OpenFile(m_path, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS);
    }
    LARGE_INTEGER size{};
    if (!file.IsValid() || KVWinApi::g_kernelApi->GetFileSizeEx(file.Get(), &size) == FALSE)
    {
        return false;
    }
    if (size.QuadPart >= kFullSize)
    {
        // Deliberate: these hits are lost, rather than letting the file grow.
        return false;
    }
    std::string bytes = FormatQueueLines(requests);
    if (!bytes.empty() && !EndsWithLineEnd(file.Get(), size.QuadPart))
    {
        // Somebody left half a line behind: two hits must not become one that nobody tracked.
        bytes.insert(bytes.begin(), kQueueLineEnd);
    }
    return AppendBytes(file.Get(), size.QuadPart, bytes);
}

void CRequestQueueFile::Load(std::list<std::wstring>& queue, std::int32_t queueLimit)
{
    FindPath();
    const CFileTurn turn(kMutexPrefix + m_applicationName + m_applicationVersion);
    if (m_path.empty() || !turn.IsHeld())
    {
        return;
    }
    std::optional<std::list<std::wstring>> lines = ReadLines(m_path, FreePlaces(queue, queueLimit));
    // From here on the entries are this process's alone; without that they would be sent by every process.
    if (lines && Empty(m_path))
    {
        queue.splice(queue.end(), *lines);
    }
}

void CRequestQueueFile::FindPath()
{
    if (m_path.empty())
    {
        m_path = FilePath(m_applicationName, m_applicationVersion);
    }
}
} // namespace GAClient
