#include <windows.h>

#include <memory>
#include <new>

#include "proxy/AnalyticsProxy.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    HRESULT result = 0;
    // Without memory for the object there is no run, and the exit code stays 0.
    if (const std::unique_ptr<KVAnalyticsProxy::CAnalyticsProxy> proxy{new (std::nothrow)
                                                                           KVAnalyticsProxy::CAnalyticsProxy()})
    {
        result = proxy->Run();
    }
    return result;
}
