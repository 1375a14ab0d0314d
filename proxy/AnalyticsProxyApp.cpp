#include <windows.h>

#include <memory>
#include <new>

#include "analytics_reporting/ProgramLogModule.h"
#include "logging/Trace.h"
#include "proxy/AnalyticsProxy.h"
#include "proxy/ProcessSetup.h"

namespace
{
KV_TRACE_SOURCE(KVAnalyticsReporting::g_logModule, L"AnalyticsProxyApp.cpp");
} // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    const KVAnalyticsProxy::CProcessSetup setup; // before the scope: the log's settings may name a class to load
    KV_TRACE(L"wWinMain");
    HRESULT result = 0;
    // Without memory for the object there is no run, and the exit code stays 0.
    if (const std::unique_ptr<KVAnalyticsProxy::CAnalyticsProxy> proxy{new (std::nothrow)
                                                                           KVAnalyticsProxy::CAnalyticsProxy()})
    {
        result = proxy->Run();
        if (FAILED(result))
        {
            // The spelling is known to those who read the logs.
            KV_LOGF(kLogError, L"failure occured while running AnalyticsProxy, HR = 0x%08x",
                    static_cast<unsigned>(result));
        }
    } // the object goes before the scope writes its exit line
    return result;
}
