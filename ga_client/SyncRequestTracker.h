#pragma once

#include "ga_client/RequestTracker.h"

namespace GAClient
{
/// Sends hits on the caller's thread: each when it is tracked, queued ones by Dispatch.
class CSyncRequestTracker : public CRequestTracker
{
public:
    CSyncRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion, bool useSsl);

    /// Loads the queue from the file. Always true: a tracker without its file still sends.
    bool Start() override;
    /// Saves the queue to the file; false if that fails.
    bool Stop() override;
};
} // namespace GAClient
