#include <windows.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "bench/Measure.h"
#include "ga_client/activities/AppViewActivity.h"
#include "ga_client/activities/EventActivity.h"
#include "ga_client/activities/ExceptionActivity.h"
#include "tests/support/AllocationHook.h"

namespace
{
constexpr int kHits = 100; // few, so that a pair is rarely interrupted

const GAClient::ClientInfo& Info()
{
    static const GAClient::ClientInfo s_info = {L"LumoLink",  L"1.0.0.0", L"NV-1000-3",
                                                L"1920x1080", L"32-bits", L"en-us"};
    return s_info;
}

const GAClient::CustomFacts& Facts()
{
    static const GAClient::CustomFacts s_facts = {{{1, L"Norvik Device Centre"}, {3, L"Network Wireless"}}, {}};
    return s_facts;
}

const std::wstring& ClientId()
{
    static const std::wstring s_id = L"3f2504e0-4f89-11d3-9a0c-0305e82c3301";
    return s_id;
}

// The parameters of a finished hit, split into the parts that a program would append one by one.
std::vector<std::wstring> PartsOf(const std::wstring& hit)
{
    std::vector<std::wstring> parts(1);
    for (const wchar_t character : hit)
    {
        parts.back() += character;
        if (character == L'?' || character == L'=' || character == L'&')
        {
            parts.emplace_back();
        }
    }
    return parts;
}

int s_allocations = 0;

template <typename Build> int CountAllocations(const Build& build)
{
    s_allocations = 0;
    const KVTest::AllocationHook hook([](std::size_t) { ++s_allocations; });
    const std::wstring hit = build();
    return s_allocations;
}

volatile std::size_t s_length = 0;

template <typename Build> void Compare(const char* row, int pairs, const Build& build)
{
    const std::vector<std::wstring> parts = PartsOf(build());
    const auto append = [&] {
        std::wstring hit;
        for (const std::wstring& part : parts)
        {
            hit += part;
        }
        return hit;
    };
    KVBench::ComparePairs(
        row, pairs,
        [&] {
            for (int i = 0; i < kHits; ++i)
            {
                s_length = build().size();
            }
        },
        [&] {
            for (int i = 0; i < kHits; ++i)
            {
                s_length = append().size();
            }
        });
    std::printf("{\"row\": \"%s\", \"allocations\": %d, \"floor_allocations\": %d}\n", row, CountAllocations(build),
                CountAllocations(append));
}
} // namespace

// kv_bench_hits PAIRS: building each kind of hit, as the client does, against one string built by plain appends.
int wmain(int argc, wchar_t** argv)
{
    const int pairs = 20 * KVBench::PairsOf(argc, argv);
    const std::wstring screen = L"PrinterStatusScreen";
    Compare("e.screen", pairs, [&] {
        std::wstring hit;
        Activities::AppView::CAppViewActivity(screen, ClientId()).BuildRequest(Info(), Facts(), hit);
        return hit;
    });
    Compare("e.session", pairs, [&] {
        std::wstring hit;
        Activities::AppView::CAppViewActivity(screen, ClientId()).BuildSessionRequest(Info(), true, hit);
        return hit;
    });
    const GAClient::EventFields fields = {L"LinkClicked", L"DeviceCentreLinks", L"order-supplies", 1, L""};
    Compare("e.event", pairs, [&] {
        std::wstring hit;
        Activities::Event::CEventActivity(screen, ClientId()).BuildRequest(Info(), Facts(), fields, hit);
        return hit;
    });
    const std::wstring description = L"The description of an exception";
    Compare("e.exception", pairs, [&] {
        std::wstring hit;
        Activities::Exception::CExceptionActivity(ClientId()).BuildRequest(Info(), Facts(), description, false, hit);
        return hit;
    });
    return 0;
}
