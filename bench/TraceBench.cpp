#include <windows.h>

#include <algorithm>
#include <string>

#include "bench/Measure.h"
#include "logging/LogModule.h"
#include "logging/LogSourceFile.h"
#include "logging/Trace.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"
#include "utils/base/AsciiCase.h"

namespace
{
constexpr wchar_t kLoggingKey[] = L"Software\\Norvik\\KV\\Logging";

KVLogging::CLogModule g_logModule("Bench", "00:00:00");
KV_TRACE_SOURCE(g_logModule, L"TraceBench.cpp");

void OpenScope()
{
    KV_TRACE(L"KVBench::CTraceBench::OpenScope");
}

// The system calls that two enable tests of a log that is off need, those that keep the last error, and that for the
// scope's start time.
class CBareEnableTest
{
public:
    CBareEnableTest() { ::InitializeCriticalSection(&m_section); }
    ~CBareEnableTest() { ::DeleteCriticalSection(&m_section); }
    CBareEnableTest(const CBareEnableTest&) = delete;
    CBareEnableTest& operator=(const CBareEnableTest&) = delete;

    void RunScope()
    {
        LARGE_INTEGER now{};
        ::QueryPerformanceCounter(&now);
        RunOne();
        RunOne();
    }

private:
    void RunOne()
    {
        const DWORD lastError = ::GetLastError();
        ::EnterCriticalSection(&m_section);
        m_ticks = ::GetTickCount();
        ::LeaveCriticalSection(&m_section);
        ::SetLastError(lastError);
    }

    CRITICAL_SECTION m_section{};
    volatile DWORD m_ticks = 0;
};

void CompareScopes(int pairs)
{
    constexpr int kScopes = 200; // few, so that a pair is rarely interrupted
    CBareEnableTest bare;
    KVBench::ComparePairs(
        "c", pairs,
        [] {
            for (int i = 0; i < kScopes; ++i)
            {
                OpenScope();
            }
        },
        [&] {
            for (int i = 0; i < kScopes; ++i)
            {
                bare.RunScope();
            }
        });
}

std::uint64_t SizeOf(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA attributes{};
    ::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &attributes);
    return attributes.nFileSizeLow;
}

void WriteBare(const std::wstring& path, const std::string& bytes)
{
    const HANDLE file =
        ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    ::SetFilePointerEx(file, LARGE_INTEGER{}, nullptr, FILE_END);
    DWORD written = 0;
    ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    ::CloseHandle(file);
}

// The same inside the mutex in which the modules of a process share their settings.
class CBareLockedWriter
{
public:
    CBareLockedWriter() : m_settings(::CreateMutexW(nullptr, FALSE, nullptr)) {}
    ~CBareLockedWriter() { ::CloseHandle(m_settings); }
    CBareLockedWriter(const CBareLockedWriter&) = delete;
    CBareLockedWriter& operator=(const CBareLockedWriter&) = delete;

    void Write(const std::wstring& path, const std::string& bytes) const
    {
        constexpr DWORD kWaitMs = 50;
        ::WaitForSingleObject(m_settings, kWaitMs);
        WriteBare(path, bytes);
        ::ReleaseMutex(m_settings);
    }

private:
    HANDLE m_settings;
};

// With the settings of packaging/logging-on.reg.
void CompareLines(int pairs)
{
    constexpr int kLines = 10;
    const KVTest::TemporaryFolder folder;
    const KVTest::RegistrySandbox registry;
    const std::wstring path = folder.PathOf(L"trace.log");
    registry.SetString(kLoggingKey, L"LogFileName", path);
    registry.SetDword(kLoggingKey, L"LogInfoDetailLevel", 15);
    registry.SetDword(kLoggingKey, L"LogCategories", 0x66000FF0);
    registry.SetDword(kLoggingKey, L"LogOptions", 0x2F602800);
    KVLogging::CLogModule module("Lines", "00:00:00");
    KVLogging::CLogFunction scope(&module, s_kvTraceSourceFile, L"KVBench::CTraceBench::CompareLines", 1);
    const auto log = [&] {
        scope.LogString(KVLogging::kLogInfo, 2, L"CAnalyticsProxy::Run - Total wait time is 0 ms");
    };
    const auto logLines = [&] {
        for (int i = 0; i < kLines; ++i)
        {
            log();
        }
    };
    const std::uint64_t before = SizeOf(path);
    log();
    const std::string bytes(SizeOf(path) - before, 'x');
    // In lower case like the log's own name: a file system may have to search for it.
    std::wstring barePath = folder.PathOf(L"bare.log");
    std::transform(barePath.begin(), barePath.end(), barePath.begin(), &KVUtils::ToLowerAscii);
    KVBench::ComparePairs("d", pairs, logLines, [&] {
        for (int i = 0; i < kLines; ++i)
        {
            WriteBare(barePath, bytes);
        }
    });
    const CBareLockedWriter lockedWriter;
    KVBench::ComparePairs("d.locks", pairs, logLines, [&] {
        for (int i = 0; i < kLines; ++i)
        {
            lockedWriter.Write(barePath, bytes);
        }
    });
}
} // namespace

// kv_bench_trace PAIRS: a trace scope while logging is off, and a line to a file, each against bare system calls.
int wmain(int argc, wchar_t** argv)
{
    const int pairs = 20 * KVBench::PairsOf(argc, argv);
    CompareScopes(pairs);
    CompareLines(pairs);
    return 0;
}
