#include "proxy/AnalyticsProxy.h"

#include "proxy/ProxyResults.h"

namespace KVAnalyticsProxy
{
HRESULT CAnalyticsProxy::Run()
{
    return PROXY_S_NOT_OPTED_IN;
}
} // namespace KVAnalyticsProxy
