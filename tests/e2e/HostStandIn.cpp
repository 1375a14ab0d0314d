// A substitute for the host of the device centre. At the host's path it is the parent process that the program accepts.
// At any other path it is a stranger.
//
// kv_mshta FILE MILLISECONDS [PARENT_FILE]
//   FILE           the command line of the child, UTF-16 little endian without byte-order mark, passed to
//                  CreateProcessW unchanged. It is in a file, because a program started from a Unix shell does not
//                  receive its arguments with their original quotes.
//   MILLISECONDS   the longest time to wait for the child
//   PARENT_FILE    a second command line. That program is started first and becomes the child's parent in place of this
//                  one; it is terminated at the end. So the system's own host can be the parent where no file may be
//                  put in its place.
//
// Prints the child's exit code and the time from start to end in milliseconds, as 0x%08X %u, and ends with 0. Ends with
// 1 if the child cannot be started or does not end in time.

#include <windows.h>

#include <psapi.h>

#include <cstdio>
#include <cwchar>
#include <optional>
#include <stdexcept>

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace
{
// Until then nobody can read its path, by which the child judges its parent.
void WaitUntilLoaded(HANDLE process)
{
    constexpr int kTries = 1000;
    wchar_t path[MAX_PATH] = {};
    for (int i = 0; i < kTries; ++i)
    {
        if (::GetModuleFileNameExW(process, nullptr, path, MAX_PATH) != 0)
        {
            return;
        }
        ::Sleep(10);
    }
    throw std::runtime_error("the parent does not get ready");
}
} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc != 3 && argc != 4)
    {
        std::fputs("usage: kv_mshta FILE MILLISECONDS [PARENT_FILE]\n", stderr);
        return 2;
    }
    try
    {
        const std::wstring commandLine = KVTest::ReadUtf16File(argv[1]);
        const DWORD longestMs = std::wcstoul(argv[2], nullptr, 10);
        std::optional<KVTest::ChildProcess> parent;
        if (argc == 4)
        {
            WaitUntilLoaded(parent.emplace(KVTest::ReadUtf16File(argv[3])).GetHandle());
        }
        const DWORD start = ::GetTickCount();
        const KVTest::ChildProcess child(commandLine, nullptr, parent ? parent->GetHandle() : nullptr);
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
