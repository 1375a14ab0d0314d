#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/Measure.h"
#include "ga_client/activities/EventActivity.h"
#include "ga_client/DataFolder.h"
#include "ga_client/SyncRequestTracker.h"
#include "logging/LogFlags.h"
#include "logging/LogModule.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"
#include "winapi/handles/KernelHandles.h"

namespace
{
constexpr wchar_t kApplication[] = L"GrowthBench";
constexpr wchar_t kVersion[] = L"1.0";
constexpr wchar_t kLoggingKey[] = L"Software\\Norvik\\KV\\Logging";
constexpr int kCounts[] = {1, 10, 100, 1000};
constexpr int kWorkers[] = {1, 2, 4, 8};
constexpr int kHitsOfAThread = 1000; // enough for the start of a thread not to matter
constexpr int kQueueLimit = 8 * kHitsOfAThread;
constexpr int kHitsOfAProcess = 100; // those of all processes fit into the queue file
constexpr int kLinesOfAWorker = 100;
constexpr LONG kMostProcesses = 8;
constexpr DWORD kLongestWaitMs = 60000;

using Microseconds = std::vector<double>; // an item, one for each repetition

void Expect(bool condition, const char* what)
{
    if (!condition)
    {
        throw std::runtime_error(what);
    }
}

void Print(const char* by, int count, const char* series, const Microseconds& times)
{
    std::printf("{\"by\": \"%s\", \"count\": %d, \"series\": \"%s\", \"us\": [", by, count, series);
    for (std::size_t i = 0; i < times.size(); ++i)
    {
        std::printf("%s%.3f", i == 0 ? "" : ", ", times[i]);
    }
    std::printf("]}\n");
}

class CTracker : public GAClient::CSyncRequestTracker
{
public:
    CTracker() : CSyncRequestTracker(kApplication, kVersion, false) { SetQueueLimit(kQueueLimit); }

    /// Builds and queues events, as the client does.
    void Track(int hits)
    {
        static const GAClient::ClientInfo s_info = {L"LumoLink",  L"1.0.0.0", L"NV-1000-3",
                                                    L"1920x1080", L"32-bits", L"en-us"};
        static const GAClient::EventFields s_fields = {L"LinkClicked", L"DeviceCentreLinks", L"order-supplies", 1, L""};
        const std::wstring screen = L"PrinterStatusScreen";
        const std::wstring clientId = L"3f2504e0-4f89-11d3-9a0c-0305e82c3301";
        for (int i = 0; i < hits; ++i)
        {
            std::wstring hit;
            Activities::Event::CEventActivity(screen, clientId).BuildRequest(s_info, {}, s_fields, hit);
            TrackRequest(hit);
        }
    }
};

std::wstring QueueFilePath()
{
    return GAClient::GetDataFolder(kApplication, kVersion) + L"Statlet_RequestQueue.txt";
}

// A module that logs to the file with the settings of packaging/logging-on.reg.
class CLinesModule
{
public:
    explicit CLinesModule(const std::wstring& path)
    {
        m_registry.SetString(kLoggingKey, L"LogFileName", path);
        m_registry.SetDword(kLoggingKey, L"LogInfoDetailLevel", 15);
        m_registry.SetDword(kLoggingKey, L"LogCategories", 0x66000FF0);
        m_registry.SetDword(kLoggingKey, L"LogOptions", 0x2F602800);
        m_module = std::make_unique<KVLogging::CLogModule>("Lines", "00:00:00");
        Log(1); // the settings are read
    }

    void Log(int lines)
    {
        for (int i = 0; i < lines; ++i)
        {
            m_module->LogString(nullptr, KVLogging::kLogInfo, L"CAnalyticsProxy::Run - Total wait time is 0 ms", true);
        }
    }

private:
    KVTest::RegistrySandbox m_registry;
    std::unique_ptr<KVLogging::CLogModule> m_module;
};

void ExpectLines(const std::wstring& path, int expected)
{
    const std::wstring text = KVTest::ReadUtf16File(path);
    const std::wstring_view line = L"Total wait time is 0 ms";
    int count = 0;
    for (std::size_t at = text.find(line); at != std::wstring::npos; at = text.find(line, at + 1))
    {
        ++count;
    }
    Expect(count == expected, "a line was lost");
}

// By the number of items.

void MeasureHits(int hits, int repetitions)
{
    Microseconds track;
    Microseconds save;
    Microseconds load;
    Microseconds send;
    for (int i = 0; i < repetitions; ++i)
    {
        CTracker first;
        track.push_back(KVBench::Time([&] { first.Track(hits); }) / hits);
        save.push_back(KVBench::Time([&] { Expect(first.Stop(), "the queue was not saved"); }) / hits);
        CTracker second;
        load.push_back(KVBench::Time([&] { second.Start(); }) / hits);
        std::list<std::wstring> queue;
        second.GetQueuedRequests(queue);
        Expect(queue.size() == static_cast<std::size_t>(hits), "a hit was lost");
        second.SetDispatchHeld(false);
        const auto count = static_cast<std::uint32_t>(hits);
        send.push_back(KVBench::Time([&] { Expect(second.Dispatch(count) == 0, "a hit was not accepted"); }) / hits);
    }
    Print("items", hits, "track", track);
    Print("items", hits, "save", save);
    Print("items", hits, "load", load);
    Print("items", hits, "send", send);
}

void MeasureLines(int lines, int repetitions)
{
    const KVTest::TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"trace.log");
    Microseconds times;
    {
        CLinesModule module(path);
        for (int i = 0; i < repetitions; ++i)
        {
            times.push_back(KVBench::Time([&] { module.Log(lines); }) / lines);
        }
    }
    ExpectLines(path, repetitions * lines + 1); // one is not measured
    Print("items", lines, "line", times);
}

// By the number of threads.

// Microseconds from the common start of the threads to the end of the last one.
template <typename Work> double TimeThreads(int count, const Work& work)
{
    const KVWinApi::CUniqueKernelHandle start(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
    {
        threads.emplace_back([&] {
            ::WaitForSingleObject(start.Get(), kLongestWaitMs);
            work();
        });
    }
    ::Sleep(20); // until the threads wait, usually
    return KVBench::Time([&] {
        ::SetEvent(start.Get());
        for (std::thread& thread : threads)
        {
            thread.join();
        }
    });
}

void TrackInThreads(int threads, int repetitions)
{
    Microseconds times;
    const int items = threads * kHitsOfAThread;
    for (int i = 0; i < repetitions; ++i)
    {
        CTracker tracker;
        times.push_back(TimeThreads(threads, [&] { tracker.Track(kHitsOfAThread); }) / items);
        std::list<std::wstring> queue;
        tracker.GetQueuedRequests(queue);
        Expect(queue.size() == static_cast<std::size_t>(items), "a hit was lost");
    }
    Print("threads", threads, "track", times);
}

void LogInThreads(int threads, int repetitions)
{
    const KVTest::TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"trace.log");
    Microseconds times;
    const int items = threads * kLinesOfAWorker;
    {
        CLinesModule module(path);
        for (int i = 0; i < repetitions; ++i)
        {
            times.push_back(TimeThreads(threads, [&] { module.Log(kLinesOfAWorker); }) / items);
        }
    }
    ExpectLines(path, repetitions * items + 1);
    Print("threads", threads, "line", times);
}

// By the number of processes.

// What the processes of one repetition wait for and report.
struct Signals
{
    KVWinApi::CUniqueKernelHandle ready{::CreateSemaphoreW(nullptr, 0, kMostProcesses, L"KVGrowthBench.ready")};
    KVWinApi::CUniqueKernelHandle start{::CreateEventW(nullptr, TRUE, FALSE, L"KVGrowthBench.start")};
    KVWinApi::CUniqueKernelHandle done{::CreateSemaphoreW(nullptr, 0, kMostProcesses, L"KVGrowthBench.done")};
};

template <typename Work> void RunWorker(const Work& work)
{
    const Signals signals;
    ::ReleaseSemaphore(signals.ready.Get(), 1, nullptr);
    Expect(::WaitForSingleObject(signals.start.Get(), kLongestWaitMs) == WAIT_OBJECT_0, "no start");
    work();
    ::ReleaseSemaphore(signals.done.Get(), 1, nullptr);
}

void WaitForAll(HANDLE semaphore, int count)
{
    for (int i = 0; i < count; ++i)
    {
        Expect(::WaitForSingleObject(semaphore, kLongestWaitMs) == WAIT_OBJECT_0, "a process did not answer");
    }
}

// Microseconds from the common start of the processes to the end of the last one's work.
double TimeProcesses(int count, const std::wstring& arguments)
{
    const Signals signals;
    const std::wstring commandLine = L"\"" + KVTest::PathBesideTest(L"kv_bench_growth.exe") + L"\" " + arguments;
    std::vector<std::unique_ptr<KVTest::ChildProcess>> processes;
    for (int i = 0; i < count; ++i)
    {
        processes.push_back(std::make_unique<KVTest::ChildProcess>(commandLine));
    }
    WaitForAll(signals.ready.Get(), count);
    const double time = KVBench::Time([&] {
        ::SetEvent(signals.start.Get());
        WaitForAll(signals.done.Get(), count);
    });
    for (const auto& process : processes)
    {
        Expect(process->WaitForExit(kLongestWaitMs) == DWORD{0}, "a process failed");
    }
    return time;
}

void SaveInProcesses(int processes, int repetitions)
{
    Microseconds times;
    const int items = processes * kHitsOfAProcess;
    for (int i = 0; i < repetitions; ++i)
    {
        times.push_back(TimeProcesses(processes, L"worker hits") / items);
        const std::string bytes = KVTest::ReadFileBytes(QueueFilePath());
        ::DeleteFileW(QueueFilePath().c_str());
        Expect(std::count(bytes.begin(), bytes.end(), '\n') == items, "a hit was lost");
    }
    Print("processes", processes, "track and save", times);
}

void LogInProcesses(int processes, int repetitions)
{
    const KVTest::TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"trace.log");
    Microseconds times;
    const int items = processes * kLinesOfAWorker;
    for (int i = 0; i < repetitions; ++i)
    {
        times.push_back(TimeProcesses(processes, L"worker lines \"" + path + L"\"") / items);
        ExpectLines(path, items + processes);
        ::DeleteFileW(path.c_str());
    }
    Print("processes", processes, "line", times);
}

void Work(const std::wstring& kind, const wchar_t* path)
{
    if (kind == L"hits")
    {
        CTracker tracker;
        RunWorker([&] {
            tracker.Track(kHitsOfAProcess);
            Expect(tracker.Stop(), "the queue was not saved");
        });
        return;
    }
    CLinesModule module(path);
    RunWorker([&] { module.Log(kLinesOfAWorker); });
}

void MeasureAll(int repetitions)
{
    ::DeleteFileW(QueueFilePath().c_str());
    for (const int count : kCounts)
    {
        MeasureHits(count, repetitions);
        MeasureLines(count, repetitions);
    }
    for (const int count : kWorkers)
    {
        TrackInThreads(count, repetitions);
        LogInThreads(count, repetitions);
        SaveInProcesses(count, repetitions);
        LogInProcesses(count, repetitions);
    }
}
} // namespace

// kv_bench_growth REPETITIONS: what a hit and a log line cost by their number, and by the number of threads and
// processes at work. Prints lines of JSON. Ends with 1 if a hit or a line is lost. The queue may have 1000 hits here,
// and a server must accept them. kv_bench_growth worker hits, worker lines PATH: a process of the last.
int wmain(int argc, wchar_t** argv)
{
    try
    {
        if (argc > 2 && std::wstring(argv[1]) == L"worker")
        {
            Work(argv[2], argc > 3 ? argv[3] : L"");
        }
        else
        {
            MeasureAll(KVBench::PairsOf(argc, argv));
        }
        return 0;
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "kv_bench_growth: %s\n", failure.what());
        return 1;
    }
}
