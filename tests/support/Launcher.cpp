#include <windows.h>

#include <cstdio>
#include <string>

#include "tests/support/ChildProcess.h"

// kv_launcher PROGRAM [ARGUMENT...]: starts the program, prints its exit code as 0x%08X and ends with 0. Ends with 1
// if the program cannot be started or does not end within a minute.
int wmain(int argc, wchar_t** argv)
{
    constexpr DWORD kMinuteMs = 60000;
    if (argc < 2)
    {
        std::fputs("usage: kv_launcher PROGRAM [ARGUMENT...]\n", stderr);
        return 2;
    }
    std::wstring commandLine;
    for (int i = 1; i < argc; ++i)
    {
        commandLine.append(i > 1 ? L" \"" : L"\"").append(argv[i]).append(L"\"");
    }
    try
    {
        const KVTest::ChildProcess child(commandLine);
        if (const auto exitCode = child.WaitForExit(kMinuteMs))
        {
            std::printf("0x%08lX\n", static_cast<unsigned long>(*exitCode));
            return 0;
        }
        std::fputs("kv_launcher: the program did not end within a minute\n", stderr);
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "kv_launcher: %s\n", failure.what());
    }
    return 1;
}
