#include <windows.h>

#include <string>
#include <vector>

#include "doctor/Doctor.h"
#include "doctor/Output.h"
#include "proxy/ProcessSetup.h"
#include "utils/UtilsLogModule.h"
#include "winapi/KernelApi.h"

int wmain(int argc, wchar_t** argv)
{
    const KVAnalyticsProxy::CProcessSetup setup;
    // The user's log settings may ask for a log of every program; the doctor leaves no trace.
    KVUtils::g_logModule.Silence();
    const KVAnalyticsDoctor::Answer answer =
        KVAnalyticsDoctor::AskDoctor(std::vector<std::wstring>(argv + (argc > 0 ? 1 : 0), argv + argc));
    KVAnalyticsDoctor::WriteOutput(answer.text);
    KVAnalyticsDoctor::WriteErrorOutput(answer.errorText);
    if (!answer.isComplete)
    {
        // A thread still uses static objects, and may hold a lock that an orderly end needs.
        ::TerminateProcess(KVWinApi::g_kernelApi->GetCurrentProcess(), static_cast<UINT>(answer.exitCode));
    }
    return answer.exitCode;
}
