#pragma once

#include "ga_client/RequestTracker.h"

namespace GAClient
{
/// Sends hits on the caller's thread: each when it is tracked, those in the queue by Dispatch.
class CSyncRequestTracker : public CRequestTracker
{
public:
    CSyncRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion, bool useSsl);

    /// Loads the queue from the file. Always true.
    bool Start() override;
    /// Saves the queue to the file; false when that failed.
    bool Stop() override;
};
} // namespace GAClient
