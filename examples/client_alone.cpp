// Reports with the measurement client alone: hits of the program's own, without the engine's catalogue and facts.
//
// client_alone yes|no
//   the user's answer to the question for consent. The client does not check consent: a program without it does not
//   call the client.

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "ga_client/GAClient.h"

namespace
{
// The program and those who evaluate its hits agree on the meaning of the numbers.
constexpr std::uint32_t kPaperDimension = 4;
constexpr std::int32_t kPagesMetric = 2;

constexpr std::int32_t kRequestTimeoutMs = 10000;
constexpr std::int32_t kLongestQueue = 50;
constexpr std::int32_t kNoValue = -1;

void ReportAScan(GAClient::IGAClient& client)
{
    // Both are sent with the next hit only, the screen view.
    client.SetCustomDimension(kPaperDimension, L"A4");
    client.SetCustomMetric(kPagesMetric, 12);
    client.TrackScreenView(L"Scan");

    client.TrackEvent(L"Press", L"Button", L"Preview", 3, false);
    client.TrackEvent(L"Warm", L"Lamp", L"", kNoValue, true); // not an action of the user
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

    // Not asynchronous: the call that makes a hit sends it, on this thread.
    if (!client.Initialize(L"NV-2000-2", L"ClientAlone", L"1.4", true, false))
    {
        std::puts("Nothing can be reported.");
        return 0;
    }
    client.SetRequestTimeout(kRequestTimeoutMs); // before the first hit, since it applies when a connection is opened
    client.SetMaxQueuedRequests(kLongestQueue);
    client.SetDispatchHeld(false); // hits are only queued before this call

    client.Start(L"Main");
    ReportAScan(client);
    client.Stop();

    // Tries again to send what could not be sent. The queue file keeps what is left for the next run.
    client.Dispatch(kLongestQueue);
    client.Uninitialize(false, 0);
    return 0;
}
