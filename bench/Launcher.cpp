#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>

#include "bench/Measure.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/LoadedModules.h"

namespace
{
constexpr DWORD kLongestRunMs = 60000;

void ExpectExitCode(DWORD exitCode, DWORD expected)
{
    if (exitCode != expected)
    {
        char text[64];
        std::snprintf(text, sizeof(text), "a program ended with 0x%08lX", static_cast<unsigned long>(exitCode));
        throw std::runtime_error(text);
    }
}

void Run(const std::wstring& commandLine, DWORD expected)
{
    const KVTest::ChildProcess child(commandLine);
    ExpectExitCode(child.WaitForExit(kLongestRunMs).value_or(STILL_ACTIVE), expected);
}

// Bytes. Read while the program runs: not every system reports it afterwards.
std::size_t PeakWorkingSetOf(const std::wstring& commandLine, DWORD expected)
{
    const KVTest::ChildProcess child(commandLine);
    std::size_t peak = 0;
    std::optional<DWORD> exitCode;
    while (!exitCode)
    {
        PROCESS_MEMORY_COUNTERS counters{};
        counters.cb = sizeof(counters);
        ::GetProcessMemoryInfo(child.GetHandle(), &counters, sizeof(counters));
        peak = std::max<std::size_t>(peak, counters.PeakWorkingSetSize);
        exitCode = child.WaitForExit(1);
    }
    ExpectExitCode(*exitCode, expected);
    return peak;
}

void CompareTimes(const char* row, int pairs, DWORD exitCode, const std::wstring& program, const std::wstring& floor)
{
    KVBench::ComparePairs(
        row, pairs, [&] { Run(program, exitCode); }, [&] { Run(floor, 0); });
}

void CompareMemory(const char* row, int pairs, DWORD exitCode, const std::wstring& program, const std::wstring& floor)
{
    std::printf("{\"row\": \"%s\", \"pairs\": [", row);
    for (int i = 0; i < pairs; ++i)
    {
        const std::size_t measured = PeakWorkingSetOf(program, exitCode);
        std::printf("%s[%zu, %zu]", i == 0 ? "" : ", ", measured, PeakWorkingSetOf(floor, 0));
    }
    std::printf("]}\n");
}

void ListModules(const char* row, DWORD exitCode, const std::wstring& program)
{
    const KVTest::LoadedModules run = KVTest::RunAndListModules(program, kLongestRunMs);
    ExpectExitCode(run.exitCode, exitCode);
    std::printf("{\"row\": \"%s\", \"modules\": [", row);
    const char* separator = "";
    for (const std::wstring& name : run.names)
    {
        std::printf("%s\"%ls\"", separator, name.c_str());
        separator = ", ";
    }
    std::printf("]}\n");
}

int Main(int argc, wchar_t** argv)
{
    const std::wstring command = argc > 1 ? argv[1] : L"";
    if (argc < 5)
    {
        return 2;
    }
    char row[32] = {};
    std::snprintf(row, sizeof(row), "%ls", argv[2]);
    const DWORD exitCode = std::wcstoul(argv[3], nullptr, 0);
    if (command == L"modules")
    {
        ListModules(row, exitCode, argv[4]);
        return 0;
    }
    if (argc < 7)
    {
        return 2;
    }
    const int pairs = static_cast<int>(std::wcstol(argv[6], nullptr, 10));
    if (command == L"times")
    {
        CompareTimes(row, pairs, exitCode, argv[4], argv[5]);
        return 0;
    }
    if (command == L"memory")
    {
        CompareMemory(row, pairs, exitCode, argv[4], argv[5]);
        return 0;
    }
    return 2;
}
} // namespace

// kv_bench_launcher times ROW EXITCODE PROGRAM FLOOR PAIRS: how long the two programs take from CreateProcess to their
// end. kv_bench_launcher memory ROW EXITCODE PROGRAM FLOOR PAIRS: the peak of their working sets, in bytes.
// kv_bench_launcher modules ROW EXITCODE PROGRAM: the DLLs that the program loads.
// PROGRAM and FLOOR are command lines; the program must end with EXITCODE and the floor with 0. Prints a line of JSON
// for a row. Ends with 1 if a program misbehaves, with 2 if the arguments are wrong.
int wmain(int argc, wchar_t** argv)
{
    try
    {
        return Main(argc, argv);
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "kv_bench_launcher: %s\n", failure.what());
        return 1;
    }
}
