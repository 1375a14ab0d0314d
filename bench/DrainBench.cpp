#include <windows.h>

#include <wininet.h>

#include <cstdio>
#include <string>

#include "bench/Measure.h"
#include "ga_client/http/CollectionHost.h"
#include "ga_client/protocols/QueueTime.h"
#include "ga_client/SyncRequestTracker.h"

namespace
{
constexpr int kHits = 500;
constexpr wchar_t kHit[] = L"/collect?v=1&z=1234567890&ul=en-us&de=UTF-8&je=0&sd=32-bits&sr=1920x1080&vp=1920x1080&tid="
                           L"NV-1000-3&an=LumoLink&av=1.0.0.0&aip=1&cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&t=event&"
                           L"ec=DeviceCentreLinks&ea=LinkClicked&el=order-supplies";

class CTracker : public GAClient::CSyncRequestTracker
{
public:
    // Without an application name the client has no queue file.
    CTracker() : CSyncRequestTracker(L"", L"", false) {}
};

// False if a hit was not delivered.
bool DrainQueue()
{
    CTracker tracker;
    std::wstring hit = kHit;
    Protocols::MeasurementParams::AppendQueueTimeMark(hit);
    for (int i = 0; i < kHits; ++i)
    {
        tracker.TrackRequest(hit);
    }
    tracker.SetDispatchHeld(false);
    return tracker.Dispatch(kHits) == 0;
}

bool PostBare(HINTERNET connection)
{
    DWORD kind = 0;
    ::InternetGetConnectedState(&kind, 0);
    const HINTERNET request =
        ::HttpOpenRequestW(connection, L"POST", kHit, nullptr, nullptr, nullptr, INTERNET_FLAG_RELOAD, 0);
    const BOOL sent = ::HttpSendRequestW(request, L"User-Agent: Statlet", 0, nullptr, 0);
    DWORD status = 0;
    DWORD size = sizeof(status);
    ::HttpQueryInfoW(request, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size, nullptr);
    ::InternetCloseHandle(request);
    return sent != FALSE && status == HTTP_STATUS_OK;
}

bool PostAllBare()
{
    const HINTERNET session = ::InternetOpenW(L"Statlet", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
    const HINTERNET connection = ::InternetConnectW(session, Http::kCollectionHost, INTERNET_DEFAULT_HTTP_PORT, nullptr,
                                                    nullptr, INTERNET_SERVICE_HTTP, 0, 0);
    bool allSent = true;
    for (int i = 0; i < kHits; ++i)
    {
        allSent = PostBare(connection) && allSent;
    }
    ::InternetCloseHandle(connection);
    ::InternetCloseHandle(session);
    return allSent;
}
} // namespace

// kv_bench_drain PAIRS: sending 500 queued hits against a bare loop of the same WinINet calls. kv_bench_drain once:
// only sends them. Ends with 1 if one of them is not accepted.
int wmain(int argc, wchar_t** argv)
{
    if (argc > 1 && std::wstring(argv[1]) == L"once")
    {
        return DrainQueue() ? 0 : 1;
    }
    bool allSent = true;
    KVBench::ComparePairs(
        "f", KVBench::PairsOf(argc, argv), [&] { allSent = DrainQueue() && allSent; },
        [&] { allSent = PostAllBare() && allSent; });
    return allSent ? 0 : 1;
}
