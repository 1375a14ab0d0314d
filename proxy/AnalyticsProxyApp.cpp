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
    const KVAnalyticsProxy::CProcessSetup setup; // before the scope, which may load what the log's settings name
    KV_TRACE(L"wWinMain");
    HRESULT result = 0;
    // If memory for the object is unavailable, nothing runs and the exit code is 0.
    if (const std::unique_ptr<KVAnalyticsProxy::CAnalyticsProxy> proxy{new (std::nothrow)
                                                                           KVAnalyticsProxy::CAnalyticsProxy()})
    {
        result = proxy->Run();
        if (FAILED(result))
        {
            // Deliberate: readers of the logs know this spelling.
            KV_LOGF(kLogError, L"failure occured while running AnalyticsProxy, HR = 0x%08x",
                    static_cast<unsigned>(result));
        }
    } // the object is destroyed before the scope writes its exit line
    return result;
}
