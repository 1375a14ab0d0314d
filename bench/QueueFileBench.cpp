#include <windows.h>

#include <list>
#include <string>

#include "bench/Measure.h"
#include "ga_client/DataFolder.h"
#include "ga_client/RequestQueueFile.h"

namespace
{
constexpr wchar_t kApplication[] = L"QueueFileBench";
constexpr wchar_t kVersion[] = L"1.0";
constexpr std::int32_t kLimit = 500;        // the queue's own
constexpr std::size_t kFileBytes = 1048576; // nothing is appended to a queue file of this size
constexpr std::size_t kLineBytes = kFileBytes / kLimit;

std::list<std::wstring> FullQueue()
{
    // Each line with its end has an even share, so that the file is full except for a few bytes.
    return std::list<std::wstring>(kLimit, L"/collect?" + std::wstring(kLineBytes - 10, L'a'));
}

bool SaveAndLoad(const std::list<std::wstring>& queue)
{
    GAClient::CRequestQueueFile file(kApplication, kVersion); // a new object, as in each process
    std::list<std::wstring> loaded;
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
} // namespace

// kv_bench_queue PAIRS: saving and loading a full queue file, against writing and reading the same bytes. Ends with 1
// if a hit is lost.
int wmain(int argc, wchar_t** argv)
{
    const std::list<std::wstring> queue = FullQueue();
    const std::string bytes(queue.size() * (queue.front().size() + 1), 'a');
    std::string buffer(bytes.size(), '\0');
    const std::wstring path = GAClient::GetDataFolder(kApplication, kVersion) + L"bare.txt";
    bool allKept = true;
    KVBench::ComparePairs(
        "g", 10 * KVBench::PairsOf(argc, argv), [&] { allKept = SaveAndLoad(queue) && allKept; },
        [&] { allKept = WriteAndReadBare(path, bytes, buffer) && allKept; });
    return allKept ? 0 : 1;
}
