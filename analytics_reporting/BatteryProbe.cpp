#include "analytics_reporting/BatteryProbe.h"

#include <windows.h>

#include <utility>

#include "analytics_reporting/AnalyticsEngine.h"
#include "winapi/base/SystemLibraries.h"
#include "winapi/ComApi.h"
#include "winapi/handles/KernelHandles.h"

namespace KVAnalyticsReporting
{
namespace
{
constexpr DWORD kProbeTimeoutMs = 10000;
constexpr DWORD kTerminatedExitCode = WAIT_TIMEOUT;

std::wstring s_battery; // empty: no probe has ended yet

// A missing function is no concern of this: its call fails. Each is found rather than its library loaded, since the
// system may forward it to a library that is loaded only then.
void FindComFunctions() noexcept
{
    for (const char* const name : {"CoInitializeEx", "CoUninitialize", "CoCreateInstance"})
    {
        KVWinApi::g_ole32Dll.Find(name);
    }
    for (const char* const name : {"SysAllocString", "SysFreeString"})
    {
        KVWinApi::g_oleAut32Dll.Find(name);
    }
}

unsigned AskEngine(const CAnalyticsEngine* engine)
{
    if (engine == nullptr)
    {
        return kBatteryProbeWithoutEngine;
    }
    s_battery = engine->GetBatteryForAnalyticsReporting();
    return kBatteryProbeDone;
}
} // namespace

std::wstring ProbeBattery(const CAnalyticsEngine& engine)
{
    // Here, because a thread that is terminated inside a first load never releases the system's loader lock: every
    // later load, and the end of the process, would wait for it.
    FindComFunctions();
    // The thread only reads the engine; the facade, like the system, hands the argument on as a plain pointer.
    void* argument = const_cast<CAnalyticsEngine*>(&engine);
    const KVWinApi::CUniqueKernelHandle thread(reinterpret_cast<HANDLE>(
        KVWinApi::g_kernelApi->BeginThreadEx(nullptr, 0, &RunBatteryProbe, argument, 0, nullptr)));
    if (thread.IsValid() && KVWinApi::g_kernelApi->WaitForSingleObject(thread.Get(), kProbeTimeoutMs) != WAIT_OBJECT_0)
    {
        KVWinApi::g_kernelApi->TerminateThread(thread.Get(), kTerminatedExitCode);
    }
    return s_battery;
}

unsigned __stdcall RunBatteryProbe(void* engine)
{
    if (FAILED(KVWinApi::g_comApi->CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
    {
        return kBatteryProbeWithoutCom;
    }
    const unsigned result = AskEngine(static_cast<const CAnalyticsEngine*>(engine));
    KVWinApi::g_comApi->CoUninitialize();
    return result;
}
} // namespace KVAnalyticsReporting
