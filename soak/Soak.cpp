// The program that scripts/soak runs under Wine; the script judges. They communicate by files in FOLDER.
//
// kv_soak_program long FOLDER SEED SECONDS QUIET
//   one process that lives long: at least QUIET hits without a network, then SECONDS with one, then everything is sent
// kv_soak_program share FOLDER NAME SEED SESSIONS HITS
//   one of several processes on one queue file
// kv_soak_program drain FOLDER NAME
//   sends the hits that remain in that file
// kv_soak_program lock FOLDER LOGFILE SEED
//   locks the log file now and then
//
// The exit code is 0, 1 if an operation failed that must succeed, 2 if the command line is wrong.

#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <exception>
#include <filesystem>
#include <string>

#include "ga_client/GAClient.h"
#include "soak/Driver.h"
#include "soak/LogLock.h"
#include "soak/Recorder.h"
#include "soak/Watch.h"

namespace
{
constexpr DWORD kLongestWaitMs = 1200000; // a busy machine is slow
constexpr DWORD kPollMs = 20;
constexpr DWORD kFinalSendMs = 600000;

unsigned NumberOf(const wchar_t* text)
{
    return static_cast<unsigned>(std::wcstoul(text, nullptr, 10));
}

// Notifies the script and waits for its answer. False if none arrives.
bool Meet(const std::wstring& folder, const std::wstring& tells, const std::wstring& awaits)
{
    const auto file = [&folder](const std::wstring& name) { return (std::filesystem::path(folder) / name).wstring(); };
    ::CloseHandle(::CreateFileW(file(tells).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    for (DWORD waited = 0; waited < kLongestWaitMs; waited += kPollMs)
    {
        if (::GetFileAttributesW(file(awaits).c_str()) != INVALID_FILE_ATTRIBUTES)
        {
            return true;
        }
        ::Sleep(kPollMs);
    }
    return false;
}

// A session of a process with a network, though not always with a server.
KVSoak::CDriver::Session AnySession(KVSoak::CDriver& driver, unsigned hits)
{
    constexpr std::int32_t kLimits[] = {500, 500, 500, 150, 40};
    KVSoak::CDriver::Session session;
    session.hits = hits;
    session.limit = kLimits[driver.GetRandom()() % 5];
    session.waitsForLoad = driver.Chance(50);
    session.paces = driver.Chance(80);
    session.lingerMs = driver.Chance(60) ? static_cast<DWORD>(driver.GetRandom()() % 500) : 0;
    session.flushMs = driver.Chance(50) ? 1 + static_cast<DWORD>(driver.GetRandom()() % 300) : 0;
    return session;
}

// Hits are built, queued, dropped, saved and loaded; nothing is sent.
bool RunQuietStretch(KVSoak::CDriver& driver, KVSoak::CRecorder& recorder, const std::wstring& queueFile, unsigned hits)
{
    bool isSound = true;
    for (bool removes = false; driver.GetHits() < hits; removes = !removes)
    {
        KVSoak::CDriver::Session session;
        session.hits = 300;
        session.limit = 200;
        session.paces = false;
        isSound = driver.Run(session) && isSound;
        if (removes)
        {
            // Otherwise the queue would be full from the second session on.
            recorder.Write("discard\t" + std::to_string(KVSoak::ReadCounter()));
            isSound = ::DeleteFileW(queueFile.c_str()) != FALSE && isSound;
        }
        driver.Sample("quiet");
    }
    return isSound;
}

// More hits than the queue of 700 holds, as fast as they can be tracked.
KVSoak::CDriver::Session Burst(KVSoak::CDriver& driver)
{
    KVSoak::CDriver::Session session = AnySession(driver, 800);
    session.limit = 700;
    session.waitsForLoad = true;
    session.paces = false;
    session.lingerMs = 0;
    session.flushMs = 0;
    return session;
}

// Saves a full queue of 700, however fast the server is. The load of the next session, whose limit is 500 at first,
// must cut some of it off.
KVSoak::CDriver::Session HeldBurst(KVSoak::CDriver& driver)
{
    KVSoak::CDriver::Session session = Burst(driver);
    session.holds = true;
    return session;
}

bool RunNetworkStretch(KVSoak::CDriver& driver, unsigned seconds)
{
    constexpr unsigned kBurstEvery = 10;
    constexpr unsigned kFewest = 20; // too few on a busy machine would not show growth
    bool isSound = true;
    const ULONGLONG start = ::GetTickCount64();
    for (unsigned number = 1; number <= kFewest || ::GetTickCount64() - start < seconds * 1000ULL; ++number)
    {
        const KVSoak::CDriver::Session session =
            number % kBurstEvery == 2   ? Burst(driver)
            : number % kBurstEvery == 7 ? HeldBurst(driver)
                                        : AnySession(driver, 20 + static_cast<unsigned>(driver.GetRandom()() % 180));
        isSound = driver.Run(session) && isSound;
        driver.Sample("network");
    }
    return isSound;
}

bool SendEverything(KVSoak::CDriver& driver)
{
    KVSoak::CDriver::Session session;
    session.lingerMs = kFinalSendMs;
    session.flushMs = kFinalSendMs;
    return driver.Run(session);
}

int RunLong(KVSoak::CRecorder& recorder, KVSoak::CWatchedWinApi& winApi, wchar_t** argv)
{
    const std::wstring folder = argv[2];
    const unsigned seed = NumberOf(argv[3]);
    KVSoak::CDriver driver(recorder, winApi, L"long", L"SoakLong", seed);
    wchar_t queueFile[MAX_PATH] = {};
    ::ExpandEnvironmentStringsW(L"%LOCALAPPDATA%\\Norvik\\Statlet\\SoakLong\\1.0.0.0\\Statlet_RequestQueue.txt",
                                queueFile, MAX_PATH);
    winApi.isOffline = true;
    bool isSound = RunQuietStretch(driver, recorder, queueFile, NumberOf(argv[5]));
    winApi.isOffline = false;
    isSound = RunNetworkStretch(driver, NumberOf(argv[4])) && isSound;
    isSound = Meet(folder, L"heal", L"healed") && isSound;
    isSound = SendEverything(driver) && isSound;
    driver.LogLast();
    driver.RecordCalls();
    return isSound ? 0 : 1;
}

int RunShare(KVSoak::CRecorder& recorder, KVSoak::CWatchedWinApi& winApi, wchar_t** argv)
{
    const std::wstring folder = argv[2];
    const std::wstring name = argv[3];
    KVSoak::CDriver driver(recorder, winApi, name, L"SoakShare", NumberOf(argv[4]));
    const unsigned sessions = NumberOf(argv[5]);
    bool isSound = true;
    for (unsigned i = 0; i < sessions; ++i)
    {
        KVSoak::CDriver::Session session = AnySession(driver, NumberOf(argv[6]) / sessions);
        session.uninitializes = i + 1 != sessions || driver.Chance(50);
        isSound = driver.Run(session) && isSound;
    }
    isSound = Meet(folder, L"written-" + name, L"drain-" + name) && isSound;
    driver.LogLast();
    driver.RecordCalls();
    return isSound ? 0 : 1;
}

int RunDrain(KVSoak::CRecorder& recorder, KVSoak::CWatchedWinApi& winApi, wchar_t** argv)
{
    KVSoak::CDriver driver(recorder, winApi, argv[3], L"SoakShare", 0);
    const bool isSound = SendEverything(driver);
    driver.RecordCalls();
    return isSound ? 0 : 1;
}

int Main(int argc, wchar_t** argv)
{
    const std::wstring mode = argc > 3 ? argv[1] : L"";
    if (mode == L"lock" && argc == 5)
    {
        return KVSoak::LockFromTimeToTime(argv[3], std::wstring(argv[2]) + L"\\unlock", NumberOf(argv[4]));
    }
    const std::wstring name = mode == L"long" ? mode : argc > 3 ? argv[3] : L"";
    // Constructed before the client and so destroyed after it: the client's destructor saves the queue.
    static KVSoak::CRecorder s_recorder(std::wstring(argc > 2 ? argv[2] : L".") + L"\\" + name + L".account");
    static KVSoak::CWatchedWinApi s_winApi(s_recorder);
    static KVSoak::CWatchedKernelApi s_kernelApi(s_recorder);
    KVWinApi::g_winApi = &s_winApi;
    KVWinApi::g_kernelApi = &s_kernelApi;
    if (mode == L"long" && argc == 6)
    {
        return RunLong(s_recorder, s_winApi, argv);
    }
    if (mode == L"share" && argc == 7)
    {
        return RunShare(s_recorder, s_winApi, argv);
    }
    return mode == L"drain" && argc == 4 ? RunDrain(s_recorder, s_winApi, argv) : 2;
}
} // namespace

int wmain(int argc, wchar_t** argv)
{
    try
    {
        return Main(argc, argv);
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "kv_soak_program: %s\n", failure.what());
        return 1;
    }
}
