#pragma once

#include <windows.h>

namespace KVAnalyticsProxy
{
/// One run of the program. Has no state; used once, on the main thread.
class CAnalyticsProxy
{
public:
    /// The whole run. The result is one of proxy/ProxyResults.h and becomes the exit code.
    ///
    /// So far no consent can be established, so nobody counts as opted in: every run ends with PROXY_S_NOT_OPTED_IN,
    /// touches nothing and reports nothing.
    HRESULT Run();
};
} // namespace KVAnalyticsProxy
