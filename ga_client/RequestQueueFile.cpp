#include "ga_client/RequestQueueFile.h"

#include <windows.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "ga_client/DataFolder.h"
#include "ga_client/QueueFileFormat.h"
#include "ga_client/QueueFileReading.h"
#include "winapi/handles/KernelHandles.h"
#include "winapi/handles/MutexHandles.h"

namespace GAClient
{
namespace
{
constexpr wchar_t kMutexPrefix[] = L"Statlet_";
// Attempts at each step of a save: a system that lacks a resource refuses several calls in a row, and what a save gives
// up is lost.
constexpr int kAttempts = 4;
// Lines are written in pieces of at most this size, except for a longer line. A usual queue is one piece.
constexpr std::size_t kPieceSize = 262144;

// The share mode of a C runtime's files: concurrent readers and writers, no deletion. The mutex, not the share mode,
// keeps the client's own processes apart.
constexpr DWORD kShareMode = FILE_SHARE_READ | FILE_SHARE_WRITE;

// This process's turn at the file, from construction to destruction.
class CFileTurn
{
public:
    explicit CFileTurn(const std::wstring& mutexName)
    {
        bool existed = false;
        for (int attempt = 0; attempt < kAttempts && !m_mutex.IsValid(); ++attempt)
        {
            ::SetLastError(ERROR_SUCCESS); // a new mutex need not clear the code of an earlier call
            m_mutex.Reset(KVWinApi::g_winApi->CreateMutexW(nullptr, TRUE, mutexName.c_str()));
            existed = ::GetLastError() == ERROR_ALREADY_EXISTS;
        }
        // A new mutex is initially owned; an existing one has to be waited for.
        if (m_mutex.IsValid() && (!existed || WasObtained()))
        {
            m_ownership.Reset(m_mutex.Get());
        }
    }

    bool IsHeld() const noexcept { return m_ownership.IsValid(); }

private:
    bool WasObtained() const
    {
        constexpr DWORD kWaitMs = 30000;
        DWORD result = WAIT_FAILED;
        for (int attempt = 0; attempt < kAttempts && result == WAIT_FAILED; ++attempt)
        {
            result = KVWinApi::g_winApi->WaitForSingleObject(m_mutex.Get(), kWaitMs);
        }
        // Abandoned: its owner ended. The file's lines are still whole, since each is written in one piece.
        return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
    }

    KVWinApi::CUniqueMutex m_mutex;
    KVWinApi::CUniqueMutexOwnership m_ownership; // declared after the mutex, hence given up before that is closed
};

// Empty if no file is used.
std::wstring FilePath(const std::wstring& applicationName, const std::wstring& applicationVersion)
{
    const std::wstring folder = GetDataFolder(applicationName, applicationVersion);
    return folder.empty() ? std::wstring() : GetQueueFilePath(folder);
}

KVWinApi::CUniqueFile TryToOpen(const std::wstring& path, DWORD disposition)
{
    // The content is sent to the collection host, so a link in place of the file is opened itself, never its target.
    constexpr DWORD kFlags = FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT;
    return KVWinApi::CUniqueFile(KVWinApi::g_kernelApi->CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                                                    kShareMode, nullptr, disposition, kFlags, nullptr));
}

// Waits for scanners and backup programs, which hold a file for moments.
KVWinApi::CUniqueFile OpenFile(const std::wstring& path, DWORD disposition)
{
    constexpr DWORD kRetryMs = 30;
    constexpr DWORD kRetryTotalMs = 120;
    const DWORD firstTry = KVWinApi::g_kernelApi->GetTickCount();
    KVWinApi::CUniqueFile file = TryToOpen(path, disposition);
    // Unsigned difference: correct even when the tick count wraps, after 49.7 days.
    while (!file.IsValid() && ::GetLastError() == ERROR_SHARING_VIOLATION &&
           KVWinApi::g_kernelApi->GetTickCount() - firstTry < kRetryTotalMs)
    {
        KVWinApi::g_kernelApi->Sleep(kRetryMs);
        file = TryToOpen(path, disposition);
    }
    return file;
}

// Leaves an end that an earlier attempt has found. False if the size is unavailable.
bool FindEnd(HANDLE file, std::optional<std::int64_t>& end)
{
    LARGE_INTEGER size{};
    if (!end)
    {
        if (KVWinApi::g_kernelApi->GetFileSizeEx(file, &size) == FALSE)
        {
            return false;
        }
        end = size.QuadPart;
    }
    return true;
}

bool SetPosition(HANDLE file, std::int64_t position)
{
    LARGE_INTEGER distance{};
    distance.QuadPart = position;
    return ::SetFilePointerEx(file, distance, nullptr, FILE_BEGIN) != FALSE;
}

// True even for an empty file. Leaves the position at the end.
bool EndsWithLineEnd(HANDLE file, std::int64_t size)
{
    char last = kQueueLineEnd;
    DWORD read = 0;
    return size == 0 || (SetPosition(file, size - 1) && ::ReadFile(file, &last, 1, &read, nullptr) != FALSE &&
                         (read == 0 || last == kQueueLineEnd));
}

bool CutAt(HANDLE file, std::int64_t size)
{
    return SetPosition(file, size) && ::SetEndOfFile(file) != FALSE;
}

// One call, so that the end of the process cannot tear a line.
bool WriteWhole(HANDLE file, std::string_view bytes)
{
    DWORD written = 0;
    return bytes.size() <= MAXDWORD &&
           KVWinApi::g_kernelApi->WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) !=
               FALSE &&
           written == bytes.size();
}

std::size_t FreePlaces(const std::list<std::wstring>& queue, std::int32_t queueLimit)
{
    const std::size_t limit = queueLimit > 0 ? static_cast<std::size_t>(queueLimit) : 0;
    return limit > queue.size() ? limit - queue.size() : 0;
}
} // namespace

CRequestQueueFile::CRequestQueueFile(std::wstring applicationName, std::wstring applicationVersion)
    : m_applicationName(std::move(applicationName)), m_applicationVersion(std::move(applicationVersion)),
      m_mutexName(kMutexPrefix + m_applicationName + m_applicationVersion)
{
}

void CRequestQueueFile::Reserve(std::size_t lineBytes)
{
    m_buffer.reserve(1 + std::max(lineBytes, kPieceSize)); // 1: the line end in front
}

bool CRequestQueueFile::Save(const std::list<std::wstring>& requests)
{
    ReserveFor(requests);
    const bool hasPath = HasPath();
    const CFileTurn turn(m_mutexName);
    if (!hasPath || !turn.IsHeld())
    {
        return false;
    }
    std::optional<std::int64_t> end;
    for (int attempt = 0; attempt < kAttempts; ++attempt)
    {
        if (Append(requests, end))
        {
            return true;
        }
    }
    return false;
}

void CRequestQueueFile::Load(std::list<std::wstring>& queue, std::int32_t queueLimit)
{
    FindPath();
    const CFileTurn turn(m_mutexName);
    if (m_path.empty() || !turn.IsHeld())
    {
        return;
    }
    const KVWinApi::CUniqueFile file = OpenFile(m_path, OPEN_EXISTING);
    if (!file.IsValid() || !IsFileItself(file.Get()))
    {
        return;
    }
    Reserve(0);
    std::optional<std::list<std::wstring>> lines = ReadQueueLines(file.Get(), FreePlaces(queue, queueLimit), m_buffer);
    if (!lines)
    {
        return;
    }
    // Before the file is emptied: the hits are then only in memory and must not depend on an allocation.
    ReserveFor(queue);
    ReserveFor(*lines);
    // The entries must belong to this process alone; otherwise every process would send them.
    if (CutAt(file.Get(), 0))
    {
        queue.splice(queue.end(), *lines);
    }
}

void CRequestQueueFile::ReserveFor(const std::list<std::wstring>& requests)
{
    for (const std::wstring& request : requests)
    {
        Reserve(GetSizeOfQueueLine(request));
    }
}

void CRequestQueueFile::FindPath()
{
    if (m_path.empty())
    {
        m_path = FilePath(m_applicationName, m_applicationVersion);
    }
}

bool CRequestQueueFile::HasPath() noexcept
{
    for (int attempt = 0; attempt < kAttempts && m_path.empty(); ++attempt)
    {
        MakeFolderAgain();
    }
    return !m_path.empty();
}

// If the folder is unavailable or memory is short, the result is false and an earlier path is kept.
bool CRequestQueueFile::MakeFolderAgain() noexcept
{
    try
    {
        std::wstring path = FilePath(m_applicationName, m_applicationVersion);
        if (path.empty())
        {
            return false;
        }
        m_path.swap(path);
        return true;
    }
    catch (...) // most likely a lack of memory, which may have passed at the next attempt
    {
        return false;
    }
}

// One attempt of a save. end: the file's end before the first attempt, whatever earlier ones left behind it.
bool CRequestQueueFile::Append(const std::list<std::wstring>& requests, std::optional<std::int64_t>& end)
{
    KVWinApi::CUniqueFile file = OpenFile(m_path, OPEN_ALWAYS);
    if (!file.IsValid() && ::GetLastError() == ERROR_PATH_NOT_FOUND && MakeFolderAgain())
    {
        // The folder was removed.
        file = OpenFile(m_path, OPEN_ALWAYS);
    }
    if (!file.IsValid() || !IsFileItself(file.Get()) || !FindEnd(file.Get(), end))
    {
        return false;
    }
    if (*end >= kFullQueueFileSize)
    {
        // Deliberate: these hits are lost, so that the file does not grow without bound.
        return false;
    }
    if (requests.empty() || WriteLines(file.Get(), *end, requests))
    {
        return true;
    }
    // A full disk may have cut a write short.
    for (int attempt = 0; attempt < kAttempts && !CutAt(file.Get(), *end); ++attempt)
    {
    }
    return false;
}

bool CRequestQueueFile::WriteLines(HANDLE file, std::int64_t end, const std::list<std::wstring>& requests)
{
    // Half a line at the file's end is completed: it must not merge with the first hit.
    m_buffer.assign(EndsWithLineEnd(file, end) ? 0 : 1, kQueueLineEnd);
    if (!SetPosition(file, end))
    {
        return false;
    }
    for (const std::wstring& request : requests)
    {
        if (m_buffer.size() > 1 && m_buffer.size() + GetSizeOfQueueLine(request) > kPieceSize)
        {
            if (!WriteWhole(file, m_buffer))
            {
                return false;
            }
            m_buffer.clear();
        }
        AppendQueueLine(request, m_buffer);
    }
    return WriteWhole(file, m_buffer);
}
} // namespace GAClient
