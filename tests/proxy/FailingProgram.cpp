// kv_failing_program: the program itself, in which one failure is built in. It lies behind the start of the engine,
// when the hits of earlier runs are in memory only. The value of the switch "failure" on the command line names it:
//
//   allocation   the next allocation of the main thread fails
//   again        the same, and on the way out a static object ends the process once more
//   abort        the main thread aborts, as the runtime does when it lacks memory for itself
//   thread       a second thread lets an exception escape

#include <windows.h>

#include <cstdlib>
#include <cwchar>
#include <exception>
#include <list>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

#include "ga_client/GAClient.h"
#include "tests/support/AllocationHook.h"
#include "winapi/KernelApi.h"

namespace
{
bool IsFailure(const wchar_t* name)
{
    return std::wcsstr(::GetCommandLineW(), (std::wstring(L"/failure ") + name).c_str()) != nullptr;
}

// Until the worker has loaded the hits of the queue file, besides the run's own two hits.
void WaitForEarlierHits()
{
    constexpr int kTries = 1000;
    std::list<std::wstring> hits;
    for (int i = 0; i < kTries && hits.size() < 4; ++i)
    {
        ::Sleep(10);
        hits.clear();
        GAClient::GetGAClient().GetQueuedRequests(hits);
    }
}

DWORD s_failingThread = 0;

void FailOnce(std::size_t)
{
    if (s_failingThread == ::GetCurrentThreadId())
    {
        s_failingThread = 0;
        throw std::bad_alloc();
    }
}

void FailAllocation()
{
    static const KVTest::AllocationHook s_hook(&FailOnce);
    s_failingThread = ::GetCurrentThreadId();
}

void FailThread()
{
    std::thread([] { throw std::runtime_error("a failure"); }).join();
}

// The command line is asked for behind the start of the engine, and once.
class Kernel : public KVWinApi::CKernelApi
{
public:
    LPWSTR GetCommandLineW() override
    {
        WaitForEarlierHits();
        if (IsFailure(L"thread"))
        {
            FailThread();
        }
        if (IsFailure(L"abort"))
        {
            std::abort();
        }
        if (IsFailure(L"allocation") || IsFailure(L"again"))
        {
            FailAllocation();
        }
        return CKernelApi::GetCommandLineW();
    }
};

// Called at the very end, unless the process ends at once.
void SayThatItWasNotAtOnce()
{
    constexpr UINT kNotAtOnce = 99;
    if (IsFailure(L"again") || IsFailure(L"thread"))
    {
        ::TerminateProcess(::GetCurrentProcess(), kNotAtOnce);
    }
}

// Made before the client and everything that the program uses, so destroyed after them.
class Setting
{
public:
    Setting()
    {
        KVWinApi::g_kernelApi = &m_kernel;
        std::atexit(&SayThatItWasNotAtOnce);
    }
    ~Setting()
    {
        if (IsFailure(L"again"))
        {
            std::terminate();
        }
        KVWinApi::g_kernelApi = m_before;
    }
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;

private:
    KVWinApi::IKernelApi* m_before = KVWinApi::g_kernelApi;
    Kernel m_kernel;
};
Setting s_setting;
} // namespace
