#include <windows.h>

#include <list>
#include <string>

#include "bench/Measure.h"
#include "ga_client/DataFolder.h"
#include "ga_client/RequestQueueFile.h"

using Queue = std::list<std::wstring>;

namespace
{
constexpr wchar_t kApplication[] = L"QueueFileBench";
constexpr wchar_t kVersion[] = L"1.0";
constexpr wchar_t kMutexName[] = L"QueueFileBench.bare";
constexpr std::int32_t kLimit = 500;        // the queue's own
constexpr std::size_t kFileBytes = 1048576; // nothing is appended to a queue file of this size
constexpr wchar_t kHit[] = L"/collect?v=1&z=1234567890&ul=en-us&de=UTF-8&je=0&sd=32-bits&sr=1920x1080&vp=1920x1080&tid="
                           L"NV-1000-3&an=LumoLink&av=1.0.0.0&aip=1&cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&t=event&"
                           L"ec=DeviceCentreLinks&ea=LinkClicked&el=order-supplies#1416096000";

// A full queue whose lines with their ends have an even share, so that the file is full except for a few bytes.
Queue QueueOfFullFile()
{
    return Queue(kLimit, L"/collect?" + std::wstring(kFileBytes / kLimit - 10, L'a'));
}

bool SaveAndLoad(const Queue& queue)
{
    GAClient::CRequestQueueFile file(kApplication, kVersion); // a new object, as in each process
    Queue loaded;
    const bool saved = file.Save(queue);
    file.Load(loaded, kLimit);
    return saved && loaded.size() == queue.size();
}

bool WriteAndReadBare(const std::wstring& path, const std::string& bytes, std::string& buffer)
{
    constexpr DWORD kShareMode = FILE_SHARE_READ | FILE_SHARE_WRITE;
    DWORD written = 0;
    HANDLE file =
        ::CreateFileW(path.c_str(), GENERIC_WRITE, kShareMode, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    ::CloseHandle(file);
    DWORD read = 0;
    file =
        ::CreateFileW(path.c_str(), GENERIC_READ, kShareMode, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ::ReadFile(file, buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr);
    ::CloseHandle(file);
    return written == bytes.size() && read == bytes.size();
}

HANDLE OpenBare(const std::wstring& path, DWORD disposition)
{
    return ::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// The calls that a queue file needs, with memory of its own for what is read: to save, the folder, then under the mutex
// the file's size and an append; to load, the content and an empty file, under the mutex again.
bool SaveAndLoadBare(const std::wstring& name, const std::string& bytes)
{
    const std::wstring path = GAClient::GetDataFolder(kApplication, kVersion) + name;
    HANDLE mutex = ::CreateMutexW(nullptr, TRUE, kMutexName);
    HANDLE file = OpenBare(path, OPEN_ALWAYS);
    LARGE_INTEGER size{};
    ::GetFileSizeEx(file, &size);
    ::SetFilePointerEx(file, size, nullptr, FILE_BEGIN);
    DWORD written = 0;
    ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    ::CloseHandle(file);
    ::ReleaseMutex(mutex);
    ::CloseHandle(mutex);

    mutex = ::CreateMutexW(nullptr, TRUE, kMutexName);
    file = OpenBare(path, OPEN_EXISTING);
    DWORD read = 0;
    std::string buffer(bytes.size(), '\0');
    ::ReadFile(file, buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr);
    ::SetFilePointerEx(file, LARGE_INTEGER{}, nullptr, FILE_BEGIN);
    ::SetEndOfFile(file);
    ::CloseHandle(file);
    ::ReleaseMutex(mutex);
    ::CloseHandle(mutex);
    return size.QuadPart == 0 && written == bytes.size() && read == bytes.size();
}

std::string BytesOf(const Queue& queue)
{
    return std::string(queue.size() * (queue.front().size() + 1), 'a');
}

bool CompareWithBareFile(const char* row, int pairs, const Queue& queue)
{
    const std::string bytes = BytesOf(queue);
    std::string buffer(bytes.size(), '\0');
    const std::wstring path = GAClient::GetDataFolder(kApplication, kVersion) + L"bare.txt";
    bool allKept = true;
    KVBench::ComparePairs(
        row, pairs, [&] { allKept = SaveAndLoad(queue) && allKept; },
        [&] { allKept = WriteAndReadBare(path, bytes, buffer) && allKept; });
    return allKept;
}

bool CompareWithBareCalls(const char* row, int pairs, const Queue& queue)
{
    const std::string bytes = BytesOf(queue);
    bool allKept = true;
    KVBench::ComparePairs(
        row, pairs, [&] { allKept = SaveAndLoad(queue) && allKept; },
        [&] { allKept = SaveAndLoadBare(L"calls.txt", bytes) && allKept; });
    return allKept;
}
} // namespace

// kv_bench_queue PAIRS: saving and loading a queue, of hits that fill the file and of hits of usual length, against
// writing and reading the same bytes and against all calls that this needs. Ends with 1 if a hit is lost.
int wmain(int argc, wchar_t** argv)
{
    const int pairs = 10 * KVBench::PairsOf(argc, argv);
    const Queue fullFile = QueueOfFullFile();
    const bool allKept = CompareWithBareFile("g", pairs, fullFile) &&
                         CompareWithBareCalls("g.calls", pairs, fullFile) &&
                         CompareWithBareCalls("g.hits", pairs, Queue(kLimit, kHit));
    return allKept ? 0 : 1;
}
