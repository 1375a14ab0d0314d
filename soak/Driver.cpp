#include "soak/Driver.h"

#include <algorithm>
#include <ctime>
#include <iterator>
#include <utility>

#include "analytics_reporting/AnalyticsEngine.h"
#include "ga_client/GAClient.h"
#include "logging/Trace.h"
#include "soak/Gauges.h"

namespace KVSoak
{
namespace
{
KVLogging::CLogModule g_soakLogModule("Soak", "01:02:03");
KV_TRACE_SOURCE(g_soakLogModule, L"Driver.cpp");

using GAClient::GetGAClient;
using KVAnalyticsReporting::GetAnalyticsEngine;

constexpr std::int64_t kInitialLimit = 500;
constexpr DWORD kPollMs = 2;
constexpr DWORD kLoadMs = 40000; // more than the 30 s that the client itself waits for the file
constexpr unsigned kHitsBeforeLoad = 20;

// The kinds of hits with their relative frequency. The hardware query starts a thread.
struct Kind
{
    const wchar_t* name;
    unsigned weight;
};
constexpr Kind kKinds[] = {{L"link", 30},    {L"screen", 20}, {L"event", 15}, {L"onscreen", 10}, {L"exception", 10},
                           {L"selected", 8}, {L"install", 8}, {L"swift", 8},  {L"sharing", 8},   {L"hardware", 1}};

const wchar_t* PickKind(std::mt19937& random)
{
    unsigned total = 0;
    for (const Kind& kind : kKinds)
    {
        total += kind.weight;
    }
    unsigned drawn = static_cast<unsigned>(random() % total);
    const Kind* picked = kKinds;
    while (drawn >= picked->weight)
    {
        drawn -= picked->weight;
        ++picked;
    }
    return picked->name;
}
} // namespace

CDriver::CDriver(CRecorder& recorder, CWatchedWinApi& winApi, std::wstring process, std::wstring application,
                 unsigned seed)
    : m_recorder(recorder), m_winApi(winApi), m_process(std::move(process)), m_application(std::move(application)),
      m_random(seed)
{
    m_recorder.Write("process\t" + Narrow(m_process) + "\t" + std::to_string(::GetCurrentProcessId()));
}

bool CDriver::Run(const Session& session)
{
    KV_TRACE(L"KVSoak::CDriver::Run");
    Count("CDriver::Run");
    m_isSound = true;
    m_isLoaded = false;
    m_limit = kInitialLimit;
    m_largestSize = session.fileLines;
    m_turnsBefore = m_winApi.turns;
    const std::wstring id = L"SOAK-" + m_process + L"-" + std::to_wstring(m_sessions++);
    m_recorder.Write("session\t" + Narrow(id));
    KVAnalyticsReporting::IAnalyticsEngine& engine = GetAnalyticsEngine();

    Expect(Count("CAnalyticsEngine::Initialize", engine.Initialize(true, id, m_application, false)), "Initialize");
    if (session.waitsForLoad && WaitForLoad())
    {
        m_limit = session.limit;
        GetGAClient().SetMaxQueuedRequests(session.limit);
    }
    Track({Narrow(id) + ":begin", Narrow(id) + ":launch"},
          [&] { Expect(Count("CAnalyticsEngine::Start", engine.Start()), "Start"); });
    GetGAClient().SetDispatchHeld(session.holds);
    for (unsigned i = 0; i < session.hits; ++i)
    {
        if (i == kHitsBeforeLoad && !m_isLoaded)
        {
            WaitForLoad();
        }
        TrackAny(kvTraceScope);
        if (session.paces)
        {
            Pace();
        }
    }
    WaitForLoad();
    Linger(session.lingerMs);
    Track({Narrow(id) + ":stop"}, [&] { Expect(Count("CAnalyticsEngine::Stop", engine.Stop()), "Stop"); });
    if (session.uninitializes)
    {
        Expect(Count("CAnalyticsEngine::Uninitialize", engine.Uninitialize(session.flushMs != 0, session.flushMs)),
               "Uninitialize");
    }
    return m_isSound;
}

void CDriver::LogLast()
{
    KV_TRACE(L"KVSoak::CDriver::LogLast");
    Count("CDriver::LogLast");
    Count("CAnalyticsEngine::HasPendingRequests");
    std::list<std::wstring> pending;
    GetAnalyticsEngine().HasPendingRequests(pending);
}

void CDriver::Sample(const char* stretch)
{
    const Gauges gauges = ReadGauges();
    m_recorder.Write("sample\t" + std::string(stretch) + "\t" + std::to_string(::GetTickCount64() - m_start) + "\t" +
                     std::to_string(gauges.handles) + "\t" + std::to_string(gauges.threads) + "\t" +
                     std::to_string(gauges.privateBytes) + "\t" + std::to_string(m_winApi.exchanges) + "\t" +
                     std::to_string(m_hits));
    m_recorder.Flush();
}

void CDriver::RecordCalls()
{
    for (const auto& [function, times] : m_calls)
    {
        m_recorder.Write("calls\t" + function + "\t" + std::to_string(times));
    }
    m_recorder.Flush();
}

bool CDriver::Expect(bool result, const char* operation)
{
    if (!result)
    {
        m_isSound = false;
        m_recorder.Write("refused\t" + std::string(operation));
    }
    return result;
}

bool CDriver::Count(const char* function, bool result)
{
    Count(function);
    return result;
}

void CDriver::Count(const char* function)
{
    ++m_calls[function];
}

void CDriver::TrackAny(KVLogging::CLogFunction& kvTraceScope)
{
    const std::wstring kind = PickKind(m_random);
    const std::wstring label =
        m_process + L"-" + std::to_wstring(m_sessions) + L"-" + std::to_wstring(m_hits) + L"-" + kind;
    KV_LOGF(kLogInfo, L"soak %s end", label.c_str());
    Expect(GetGAClient().SetCustomDimension(kLabelDimension, label), "SetCustomDimension");
    Track({Narrow(label)}, [&] { CallAny(label, kind); });
    if (Chance(1))
    {
        GetGAClient().Dispatch(3);
    }
}

void CDriver::CallAny(const std::wstring& label, const std::wstring& kind)
{
    KVAnalyticsReporting::IAnalyticsEngine& engine = GetAnalyticsEngine();
    constexpr wchar_t kModel[] = L"Norvik3000";
    const int number = static_cast<int>(m_random() % 4);
    if (kind == L"link")
    {
        Count("CAnalyticsEngine::TrackLumoLink");
        engine.TrackLumoLink(label, kModel, number, number);
    }
    else if (kind == L"screen")
    {
        Count("CAnalyticsEngine::TrackScreenView");
        engine.TrackScreenView(label);
    }
    else if (kind == L"selected")
    {
        Count("CAnalyticsEngine::TrackSelectedPrinter");
        engine.TrackSelectedPrinter(kModel, number, number, number);
    }
    else if (kind == L"install")
    {
        Count("CAnalyticsEngine::TrackInstallResult");
        engine.TrackInstallResult(number, kModel);
    }
    else if (kind == L"swift")
    {
        Count("CAnalyticsEngine::TrackSwiftpost");
        engine.TrackSwiftpost(number > 1, number % 2 == 0, kModel);
    }
    else if (kind == L"sharing")
    {
        Count("CAnalyticsEngine::TrackDeviceSharing");
        engine.TrackDeviceSharing(number > 1);
    }
    else if (kind == L"hardware")
    {
        Count("CAnalyticsEngine::TrackClientHardware");
        Count("CAnalyticsEngine::GetBatteryForAnalyticsReporting");
        engine.TrackClientHardware();
    }
    else if (kind == L"event")
    {
        Expect(GetGAClient().TrackEvent(L"Act", L"Soak", label, number - 1, number > 1) == 1, "TrackEvent");
    }
    else if (kind == L"onscreen")
    {
        Expect(GetGAClient().TrackEventOnScreen(L"Act", L"Soak", L"Screen", label) == 1, "TrackEventOnScreen");
    }
    else
    {
        Expect(GetGAClient().TrackException(label, number > 1), "TrackException");
    }
}

// Only the queue shows what happens to the hits, and only if it may be full.
void CDriver::Track(const std::vector<std::string>& keys, const std::function<void()>& call)
{
    const auto count = static_cast<std::int64_t>(keys.size());
    if (m_isLoaded && m_largestSize + count > m_limit)
    {
        m_largestSize = static_cast<std::int64_t>(TakeSnapshot().size());
    }
    const std::int64_t before = m_largestSize;
    const std::string time = std::to_string(std::time(nullptr));
    call();
    std::list<std::string> after;
    if (m_isLoaded && before + count > m_limit)
    {
        after = TakeSnapshot();
    }
    // First in, first out: a hit that is not in the queue was dropped when an older one still is.
    const bool hasOlder = !after.empty() && std::find(keys.begin(), keys.end(), after.front()) == keys.end();
    for (std::int64_t i = 0; i < count; ++i)
    {
        const std::string& key = keys[static_cast<std::size_t>(i)];
        const bool isTaken = before + i < m_limit || std::find(after.begin(), after.end(), key) != after.end();
        const char state = isTaken ? 't' : !m_isLoaded ? 'e' : hasOlder ? 'd' : 'u';
        std::string record = "track\t";
        record.append(key).append({'\t', state, '\t'}).append(std::to_string(before + i));
        record.append("\t").append(std::to_string(m_limit)).append("\t").append(time);
        m_recorder.Write(record);
        ++m_hits;
    }
    m_largestSize = (std::min)(before + count, (std::max)(m_limit, before));
}

std::list<std::string> CDriver::TakeSnapshot()
{
    std::list<std::wstring> requests;
    Expect(GetGAClient().GetQueuedRequests(requests), "GetQueuedRequests");
    std::list<std::string> keys;
    std::transform(requests.begin(), requests.end(), std::back_inserter(keys),
                   [](const std::wstring& request) { return KeyOf(request); });
    return keys;
}

bool CDriver::WaitForLoad()
{
    for (DWORD waited = 0; !m_isLoaded && waited < kLoadMs; waited += kPollMs)
    {
        m_isLoaded = m_winApi.turns != m_turnsBefore;
        ::Sleep(m_isLoaded ? 0 : kPollMs);
    }
    return Expect(m_isLoaded, "the load of the queue file");
}

void CDriver::Pace()
{
    constexpr std::int64_t kBacklog = 60;
    constexpr DWORD kLongestMs = 60;
    if (!m_isLoaded || m_largestSize < kBacklog)
    {
        return;
    }
    m_largestSize = static_cast<std::int64_t>(TakeSnapshot().size());
    for (DWORD waited = 0; m_largestSize > kBacklog / 2 && waited < kLongestMs; waited += 5)
    {
        ::Sleep(5);
        m_largestSize = static_cast<std::int64_t>(TakeSnapshot().size());
    }
}

void CDriver::Linger(DWORD longestMs)
{
    const ULONGLONG start = ::GetTickCount64();
    while (longestMs != 0 && ::GetTickCount64() - start < longestMs)
    {
        m_largestSize = static_cast<std::int64_t>(TakeSnapshot().size());
        if (m_largestSize == 0)
        {
            return;
        }
        ::Sleep(kPollMs);
    }
}
} // namespace KVSoak
