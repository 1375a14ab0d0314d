// Reports with the measurement client alone: hits of the program's own, without the engine's catalogue and facts.
//
// client_alone yes|no
//   what the user has answered when asked for consent. The client does not ask: a program that has no consent does not
//   call it.

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "ga_client/GAClient.h"

namespace
{
// What the numbers mean is settled between the program and whoever evaluates its hits.
constexpr std::uint32_t kPaperDimension = 4;
constexpr std::int32_t kPagesMetric = 2;

constexpr std::int32_t kRequestTimeoutMs = 10000;
constexpr std::int32_t kLongestQueue = 50;
constexpr std::int32_t kNoValue = -1;

void ReportAScan(GAClient::IGAClient& client)
{
    // Both go out with the next hit, which is the screen view, and with no other.
    client.SetCustomDimension(kPaperDimension, L"A4");
    client.SetCustomMetric(kPagesMetric, 12);
    client.TrackScreenView(L"Scan");

    client.TrackEvent(L"Press", L"Button", L"Preview", 3, false);
    client.TrackEvent(L"Warm", L"Lamp", L"", kNoValue, true); // the user has not done this
    client.TrackEventOnScreen(L"Save", L"File", L"SaveAs", L"pdf");
    client.TrackException(L"PaperJam", false);
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 2 || std::strcmp(argv[1], "yes") != 0)
    {
        std::puts("Nothing is reported.");
        return 0;
    }
    GAClient::IGAClient& client = GAClient::GetGAClient();

    // Not asynchronous: each hit is sent by the call that makes it, on this thread.
    if (!client.Initialize(L"NV-2000-2", L"ClientAlone", L"1.4", true, false))
    {
        std::puts("Nothing can be reported.");
        return 0;
    }
    client.SetRequestTimeout(kRequestTimeoutMs); // before the first hit: counts when a connection is opened
    client.SetMaxQueuedRequests(kLongestQueue);
    client.SetDispatchHeld(false); // until then hits are only queued

    client.Start(L"Main");
    ReportAScan(client);
    client.Stop();

    // One more attempt for what could not be sent. What is left then waits in the queue file for the next run.
    client.Dispatch(kLongestQueue);
    client.Uninitialize(false, 0);
    return 0;
}
