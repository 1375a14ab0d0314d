#include "analytics_reporting/BatteryProbe.h"

#include <windows.h>

#include <utility>

#include "analytics_reporting/AnalyticsEngine.h"
#include "winapi/ComApi.h"
#include "winapi/KernelHandles.h"

namespace KVAnalyticsReporting
{
namespace
{
constexpr DWORD kProbeTimeoutMs = 10000;
constexpr DWORD kTerminatedExitCode = WAIT_TIMEOUT;

std::wstring s_battery; // empty: no probe has ended yet

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
