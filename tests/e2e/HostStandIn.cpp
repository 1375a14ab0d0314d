// A substitute for the host of the device centre. At the host's path it is the parent process that the program accepts.
// At any other path it is a stranger.
//
// kv_mshta FILE MILLISECONDS
//   FILE           the command line of the child, UTF-16 little endian without byte-order mark, passed to
//                  CreateProcessW unchanged. It is in a file, because a program started from a Unix shell does not
//                  receive its arguments with their original quotes.
//   MILLISECONDS   the longest time to wait for the child
//
// Prints the child's exit code and the time from start to end in milliseconds, as 0x%08X %u, and ends with 0. Ends with
// 1 if the child cannot be started or does not end in time.

#include <windows.h>

#include <cstdio>
#include <cwchar>

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

int wmain(int argc, wchar_t** argv)
{
    if (argc != 3)
    {
        std::fputs("usage: kv_mshta FILE MILLISECONDS\n", stderr);
        return 2;
    }
    try
    {
        const std::wstring commandLine = KVTest::ReadUtf16File(argv[1]);
        const DWORD longestMs = std::wcstoul(argv[2], nullptr, 10);
        const DWORD start = ::GetTickCount();
        const KVTest::ChildProcess child(commandLine);
        const auto exitCode = child.WaitForExit(longestMs);
        const DWORD elapsedMs = ::GetTickCount() - start;
        if (exitCode)
        {
            std::printf("0x%08lX %lu\n", static_cast<unsigned long>(*exitCode), static_cast<unsigned long>(elapsedMs));
            return 0;
        }
        std::fprintf(stderr, "kv_mshta: the program did not end within %lu ms\n",
                     static_cast<unsigned long>(longestMs));
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "kv_mshta: %s\n", failure.what());
    }
    return 1;
}
