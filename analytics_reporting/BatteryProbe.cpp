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
constexpr DWORD kTerminatedExitCode = WAIT_TIMEOUT; // says in a debugger why the thread ended; nothing else reads it

std::wstring s_battery; // empty until a probe has ended

// A function that is missing is ignored here: its call fails later. The functions are looked up, and not only their
// libraries loaded, since the system may forward a function to a library that only its look-up loads.
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
    // On this thread: one that is terminated inside a first load never releases the system's loader lock, for which
    // every later load and the end of the process would wait.
    FindComFunctions();
    // The thread only reads the engine; the facade, like the system, passes the argument as a plain pointer.
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
