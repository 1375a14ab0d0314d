#pragma once

#include <cstdint>
#include <string>

namespace KVAnalyticsDoctor
{
/// Whether the collection host could be reached.
struct ReachFindings
{
    bool isReached = false;   ///< the host, or a server in its place, has answered
    std::uint32_t status = 0; ///< HTTP status of the answer, also of a proxy that refuses
    std::uint32_t error = 0;  ///< of the system, if nothing has answered
};

/// Makes one connection to the collection host, encrypted or not as hits are, and asks for the head of the page "/":
/// no hit is sent, nothing is stored (WinINet). Any status counts as the host's, except three that a proxy answers: 407
/// if it asks for a password, which no run gives; 502 and 504 if it cannot reach the host. Takes as long as the
/// system's own time-outs.
ReachFindings TryToReach(bool useSsl);
} // namespace KVAnalyticsDoctor
