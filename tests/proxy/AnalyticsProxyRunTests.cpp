#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

#include "proxy/AnalyticsProxy.h"
#include "proxy/ProxyResults.h"
#include "tests/proxy/RecordingEngine.h"
#include "tests/proxy/Surroundings.h"
#include "tests/support/AllocationHook.h"
#include "tests/support/TraceCapture.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int);

namespace
{
using namespace KVAnalyticsProxy;
using testing::HasSubstr;
using Calls = std::vector<std::wstring>;

class AnalyticsProxyRunTests : public testing::Test
{
protected:
    HRESULT Run(const std::wstring& arguments = L"")
    {
        m_around.commandLine = L"program.exe " + arguments;
        return CAnalyticsProxy().Run();
    }
    // The tracking calls that the engine got.
    Calls Hits(const std::wstring& arguments)
    {
        EXPECT_EQ(Run(arguments), PROXY_S_DONE);
        Calls hits;
        for (const std::wstring& call : m_engine.calls)
        {
            if (call.starts_with(L"Track"))
            {
                hits.push_back(call);
            }
        }
        return hits;
    }
    std::wstring InitializeCall(const std::string& config)
    {
        m_around.WriteConfig(config);
        EXPECT_EQ(Run(), PROXY_S_DONE);
        return m_engine.calls.at(0);
    }
    // The line is in the log after the tracking call and before the next call.
    void ExpectLineAfterTheCall(const std::wstring& arguments, const std::wstring& line)
    {
        m_trace.Enable(KVLogging::kLogInfo);
        m_engine.answer = [&](const std::wstring& call) {
            if (call.starts_with(L"Track"))
            {
                EXPECT_THAT(m_trace.GetText(), testing::Not(HasSubstr(L"Calling")));
            }
            if (call == L"Stop")
            {
                EXPECT_THAT(m_trace.GetText(), testing::EndsWith(line));
            }
            return true;
        };
        EXPECT_EQ(Run(arguments), PROXY_S_DONE);
        EXPECT_EQ(m_engine.calls.size(), 5u);
        m_engine.answer = [](const std::wstring&) { return true; };
    }
    std::size_t Polls() const
    {
        return static_cast<std::size_t>(
            std::count(m_engine.calls.begin(), m_engine.calls.end(), L"HasPendingRequests|0"));
    }

    KVTest::Surroundings m_around;
    KVTest::TraceCapture m_trace;
    KVTest::RecordingEngine& m_engine = KVTest::GetRecordingEngine();
};

TEST_F(AnalyticsProxyRunTests, Link_IsReportedStepByStep)
{
    m_around.WriteConfig("[Analytics]\r\nPropertyIDPrefix=NV-1000-\r\n[DeviceInfo]\r\nModelName=Norvik 3000\r\n");
    EXPECT_EQ(Run(L"/linkid L1 /connection NW /network Network_Wireless"), PROXY_S_DONE);
    EXPECT_EQ(m_engine.calls, (Calls{L"Initialize|in|NV-1000-3|LumoLink|ssl", L"Start",
                                     L"TrackLumoLink|L1|Norvik 3000|2|2", L"Stop", L"HasPendingRequests|0"}));
}

TEST_F(AnalyticsProxyRunTests, ScreenView_IsReportedStepByStep)
{
    EXPECT_EQ(Run(L"/tabid T1"), PROXY_S_DONE);
    EXPECT_EQ(m_engine.calls, (Calls{L"Initialize|in|3|LumoLink|ssl", L"Start", L"TrackScreenView|T1", L"Stop",
                                     L"HasPendingRequests|0"}));
}

TEST_F(AnalyticsProxyRunTests, NeitherLinkNorTab_ReportsTheSessionOnly)
{
    m_trace.Enable(KVLogging::kLogInfo);
    EXPECT_EQ(Run(L"/connection USB"), PROXY_S_DONE);
    EXPECT_EQ(m_engine.calls, (Calls{L"Initialize|in|3|LumoLink|ssl", L"Start", L"Stop", L"HasPendingRequests|0"}));
    EXPECT_THAT(m_trace.GetText(), testing::Not(HasSubstr(L"Calling")));
}

TEST_F(AnalyticsProxyRunTests, LinkAndTab_ReportTheLinkOnly)
{
    EXPECT_EQ(Hits(L"/tabid b /linkid a"), Calls{L"TrackLumoLink|a||0|0"});
}

TEST_F(AnalyticsProxyRunTests, LinkWithoutAValue_IsAnEmptyLink)
{
    EXPECT_EQ(Hits(L"/linkid"), Calls{L"TrackLumoLink|||0|0"});
}

TEST_F(AnalyticsProxyRunTests, LinkWithoutAValueAndATab_IsAnEmptyLink)
{
    EXPECT_EQ(Hits(L"/linkid /tabid b"), Calls{L"TrackLumoLink|||0|0"});
}

TEST_F(AnalyticsProxyRunTests, TabWithoutAValue_IsAnEmptyScreen)
{
    EXPECT_EQ(Hits(L"/tabid"), Calls{L"TrackScreenView|"});
}

TEST_F(AnalyticsProxyRunTests, Switches_AreFoundInAnyCase)
{
    EXPECT_EQ(Hits(L"/LINKID x -Connection USB"), Calls{L"TrackLumoLink|x||1|0"});
}

TEST_F(AnalyticsProxyRunTests, Link_IsLoggedAfterTheCallThatMakesTheHit)
{
    ExpectLineAfterTheCall(L"/linkid \"a b\"", L"(I0) CAnalyticsProxy::Run - Calling TrackLumoLink for a b\r\n");
}

TEST_F(AnalyticsProxyRunTests, ScreenView_IsLoggedAfterTheCallThatMakesTheHit)
{
    ExpectLineAfterTheCall(L"/tabid Home", L"(I0) CAnalyticsProxy::Run - Calling TrackScreenView for Home\r\n");
}

TEST_F(AnalyticsProxyRunTests, NotOptedIn_EndsAtOnceAndAsksNobody)
{
    m_around.RemoveParticipationProgram();
    EXPECT_EQ(Run(L"/linkid a"), PROXY_S_NOT_OPTED_IN);
    EXPECT_EQ(m_engine.calls, Calls{});
    EXPECT_EQ(m_around.processCalls, Calls{});
}

TEST_F(AnalyticsProxyRunTests, AnotherParent_EndsBeforeTheEngine)
{
    m_around.parentPath = L"C:\\windows\\explorer.exe";
    EXPECT_EQ(Run(L"/linkid a"), PROXY_E_NOT_CALLED_BY_LUMO);
    EXPECT_EQ(m_engine.calls, Calls{});
}

TEST_F(AnalyticsProxyRunTests, AnotherParent_EndsBeforeTheSettingsAreRead)
{
    m_around.WriteConfig("[Analytics]\r\nPropertyIDPrefix=NV-1000-\r\nUseSSL=false\r\n");
    m_around.parentPath = L"C:\\windows\\explorer.exe";
    EXPECT_EQ(Run(L"/linkid a"), PROXY_E_NOT_CALLED_BY_LUMO);
    EXPECT_EQ(g_propertyIdPrefix, L"");
    EXPECT_TRUE(g_useSsl);
}

TEST_F(AnalyticsProxyRunTests, AnEngineThatCannotBeInitialized_EndsTheRun)
{
    m_engine.answer = [](const std::wstring& call) { return !call.starts_with(L"Initialize"); };
    m_trace.Enable(KVLogging::kLogWarning);
    EXPECT_EQ(Run(L"/linkid a"), PROXY_E_INIT_FAILED);
    EXPECT_EQ(m_engine.calls, Calls{L"Initialize|in|3|LumoLink|ssl"});
    EXPECT_EQ(m_trace.GetText(), L"(WN) CAnalyticsProxy::Run - Failed to initialize the analytics engine.\r\n");
}

TEST_F(AnalyticsProxyRunTests, AnEngineThatCannotBeStarted_EndsTheRun)
{
    m_engine.answer = [](const std::wstring& call) { return call != L"Start"; };
    m_trace.Enable(KVLogging::kLogWarning);
    EXPECT_EQ(Run(L"/linkid a"), PROXY_E_START_FAILED);
    EXPECT_EQ(m_engine.calls, (Calls{L"Initialize|in|3|LumoLink|ssl", L"Start"}));
    EXPECT_EQ(m_trace.GetText(), L"(WN) CAnalyticsProxy::Run - Failed to start the analytics engine.\r\n");
}

TEST_F(AnalyticsProxyRunTests, AStopThatFails_ChangesNothing)
{
    m_engine.answer = [](const std::wstring& call) { return call != L"Stop"; };
    EXPECT_EQ(Run(L"/tabid T"), PROXY_S_DONE);
    EXPECT_EQ(m_engine.calls.back(), L"HasPendingRequests|0");
}

TEST_F(AnalyticsProxyRunTests, PropertyId_IsThePrefixAndA3)
{
    EXPECT_EQ(InitializeCall("[Analytics]\r\nPropertyIDPrefix=AB-\r\n"), L"Initialize|in|AB-3|LumoLink|ssl");
}

TEST_F(AnalyticsProxyRunTests, PropertyId_WithoutAPrefix_IsA3)
{
    EXPECT_EQ(InitializeCall("[Analytics]\r\nPropertyIDPrefix=\r\n"), L"Initialize|in|3|LumoLink|ssl");
    EXPECT_EQ(g_propertyIdPrefix, L"");
}

TEST_F(AnalyticsProxyRunTests, PropertyId_WithoutAnIniFile_IsA3)
{
    m_around.RemoveConfig();
    EXPECT_EQ(Run(), PROXY_S_DONE);
    EXPECT_EQ(m_engine.calls.at(0), L"Initialize|in|3|LumoLink|ssl");
}

TEST_F(AnalyticsProxyRunTests, PropertyId_OfACallerWhoSetsThePrefix_IsNotRead)
{
    g_propertyIdPrefix = L"MINE-";
    EXPECT_EQ(InitializeCall("[Analytics]\r\nPropertyIDPrefix=AB-\r\n"), L"Initialize|in|MINE-3|LumoLink|ssl");
    EXPECT_EQ(g_propertyIdPrefix, L"MINE-");
}

TEST_F(AnalyticsProxyRunTests, UseSsl_IsFalseForAnyReadableTextButTrue)
{
    g_useSsl = true;
    EXPECT_EQ(InitializeCall("[Analytics]\r\nUseSSL=yes\r\n"), L"Initialize|in|3|LumoLink|plain");
    EXPECT_FALSE(g_useSsl);
}

TEST_F(AnalyticsProxyRunTests, UseSsl_IsTrueForTheWordInAnyCase)
{
    g_useSsl = false;
    EXPECT_EQ(InitializeCall("[Analytics]\r\nUseSSL=TRUE\r\n"), L"Initialize|in|3|LumoLink|ssl");
    EXPECT_TRUE(g_useSsl);
}

TEST_F(AnalyticsProxyRunTests, UseSsl_IsTrueWhenItIsEmpty)
{
    g_useSsl = false;
    EXPECT_EQ(InitializeCall("[Analytics]\r\nUseSSL=\r\n"), L"Initialize|in|3|LumoLink|ssl");
    EXPECT_TRUE(g_useSsl);
}

TEST_F(AnalyticsProxyRunTests, UseSsl_IsTrueWhenItIsAbsent)
{
    g_useSsl = false;
    EXPECT_EQ(InitializeCall(""), L"Initialize|in|3|LumoLink|ssl");
    EXPECT_TRUE(g_useSsl);
}

// The emulator ignores the option, so nothing else than the call can be tested.
TEST_F(AnalyticsProxyRunTests, Cookies_AreKeptOffTheDiskBeforeTheEngineMayConnect)
{
    m_engine.answer = [&](const std::wstring&) {
        EXPECT_EQ(m_around.optionCalls, Calls{L"81 3 4"}); // INTERNET_SUPPRESS_COOKIE_PERSIST, for the whole process
        return true;
    };
    EXPECT_EQ(Run(L"/linkid a"), PROXY_S_DONE);
    EXPECT_EQ(m_engine.calls.size(), 5u);
    m_engine.answer = [](const std::wstring&) { return true; };
}

TEST_F(AnalyticsProxyRunTests, Cookies_AreOfNoConcernToARunThatEndsAtAnyCheck)
{
    m_around.parentPath = L"C:\\windows\\explorer.exe";
    EXPECT_EQ(Run(L"/linkid a"), PROXY_E_NOT_CALLED_BY_LUMO);
    m_around.RemoveParticipationProgram();
    EXPECT_EQ(Run(L"/linkid a"), PROXY_S_NOT_OPTED_IN);
    EXPECT_EQ(m_around.optionCalls, Calls{});
}

TEST_F(AnalyticsProxyRunTests, CommandLine_IsReadWhenTheEngineHasStarted)
{
    int readings = 0;
    m_around.onCommandLine = [&] {
        ++readings;
        EXPECT_EQ(m_engine.calls, (Calls{L"Initialize|in|3|LumoLink|ssl", L"Start"}));
    };
    EXPECT_EQ(Run(L"/linkid a"), PROXY_S_DONE);
    EXPECT_EQ(readings, 1);
}

TEST_F(AnalyticsProxyRunTests, Wait_BeginsWhenTheEngineHasStopped)
{
    int readings = 0;
    m_around.onTick = [&] {
        ++readings;
        EXPECT_EQ(m_engine.calls.back(), L"Stop");
    };
    EXPECT_EQ(Run(L"/linkid a"), PROXY_S_DONE);
    EXPECT_EQ(readings, 1);
}

TEST_F(AnalyticsProxyRunTests, Exceptions_AreNotCaught)
{
    for (const wchar_t* const failing :
         {L"Initialize|in|3|LumoLink|ssl", L"Start", L"TrackLumoLink|a||0|0", L"Stop", L"HasPendingRequests|0"})
    {
        m_engine.answer = [&](const std::wstring& call) { return call != failing ? true : throw std::bad_alloc(); };
        m_around.commandLine = L"program.exe /linkid a";
        EXPECT_THROW(wWinMain(nullptr, nullptr, nullptr, 0), std::bad_alloc);
    }
}

TEST_F(AnalyticsProxyRunTests, NothingPending_EndsTheWaitAtTheFirstPoll)
{
    m_trace.Enable(KVLogging::kLogInfo);
    m_around.ticks = {5000};
    EXPECT_EQ(Run(), PROXY_S_DONE);
    EXPECT_EQ(Polls(), 1u);
    EXPECT_THAT(m_trace.GetText(), testing::EndsWith(L"(I0) CAnalyticsProxy::Run - Total wait time is 0 ms\r\n"));
}

TEST_F(AnalyticsProxyRunTests, APollThatFails_EndsTheWait)
{
    m_trace.Enable(KVLogging::kLogInfo);
    m_engine.pending = {3};
    m_engine.answer = [](const std::wstring& call) { return !call.starts_with(L"HasPending"); };
    EXPECT_EQ(Run(), PROXY_S_DONE);
    EXPECT_EQ(Polls(), 1u);
    EXPECT_THAT(m_trace.GetText(), testing::EndsWith(L"(I0) CAnalyticsProxy::Run - Total wait time is 0 ms\r\n"));
}

TEST_F(AnalyticsProxyRunTests, PendingRequests_ArePolledOnceASecondWithAnEmptyList)
{
    m_trace.Enable(KVLogging::kLogInfo);
    m_engine.pending = {2, 1, 0};
    m_around.ticks = {5000, 6010, 7025};
    const ULONGLONG start = ::GetTickCount64();
    EXPECT_EQ(Run(), PROXY_S_DONE);
    EXPECT_GE(::GetTickCount64() - start, 1990u);
    EXPECT_EQ(Polls(), 3u);
    EXPECT_THAT(m_trace.GetText(), testing::EndsWith(L"(I0) CAnalyticsProxy::Run - Total wait time is 2025 ms\r\n"));
}

TEST_F(AnalyticsProxyRunTests, RequestsThatNeverDrain_EndTheWaitWithoutAFurtherPoll)
{
    m_trace.Enable(KVLogging::kLogInfo);
    m_engine.pending = {9, 9, 9};
    m_around.ticks = {5000, 5000 + 11999, 5000 + 12000};
    EXPECT_EQ(Run(), PROXY_S_DONE);
    EXPECT_EQ(Polls(), 2u);
    EXPECT_THAT(m_trace.GetText(), testing::EndsWith(L"(I0) CAnalyticsProxy::Run - Total wait time is 12000 ms\r\n"));
}

TEST_F(AnalyticsProxyRunTests, Wait_GoesAcrossTheWrapOfTheTickCount)
{
    m_trace.Enable(KVLogging::kLogInfo);
    m_engine.pending = {1, 1, 1};
    m_around.ticks = {0xFFFFFF00, 0x00000200, 12000};
    EXPECT_EQ(Run(), PROXY_S_DONE);
    EXPECT_EQ(Polls(), 2u);
    EXPECT_THAT(m_trace.GetText(), testing::EndsWith(L"(I0) CAnalyticsProxy::Run - Total wait time is 12256 ms\r\n"));
}

TEST_F(AnalyticsProxyRunTests, AWaitOfHalfTheTickCount_IsALongOne)
{
    m_engine.pending = {1, 1, 1};
    m_around.ticks = {5000, 5000 + 0x80000000};
    EXPECT_EQ(Run(), PROXY_S_DONE);
    EXPECT_EQ(Polls(), 1u);
}

TEST_F(AnalyticsProxyRunTests, Run_IsTracedByItsName)
{
    m_trace.Enable(0xC00);
    EXPECT_EQ(Run(), PROXY_S_DONE);
    const std::wstring text = m_trace.GetText();
    EXPECT_TRUE(text.starts_with(L"(->) CAnalyticsProxy::Run\r\n(->) CAnalyticsProxy::IsOptInForAnalytics\r\n"));
    EXPECT_TRUE(text.ends_with(L"(->) CAnalyticsProxy::TranslateConnectivityType\r\n"
                               L"(<-) CAnalyticsProxy::TranslateConnectivityType\r\n"
                               L"(<-) CAnalyticsProxy::Run\r\n"));
}

TEST_F(AnalyticsProxyRunTests, Main_LogsAFailureAndReturnsIt)
{
    m_around.parentPath = L"C:\\windows\\explorer.exe";
    m_trace.Enable(KVLogging::kLogError | 0xC00);
    EXPECT_EQ(wWinMain(nullptr, nullptr, nullptr, 0), PROXY_E_NOT_CALLED_BY_LUMO);
    const std::wstring text = m_trace.GetText();
    EXPECT_TRUE(text.starts_with(L"(->) wWinMain\r\n(->) CAnalyticsProxy::Run\r\n"));
    EXPECT_TRUE(text.ends_with(L"(<-) CAnalyticsProxy::Run\r\n"
                               L"(##) failure occured while running AnalyticsProxy, HR = 0x83e8c0fe\r\n"
                               L"(<-) wWinMain\r\n"));
}

TEST_F(AnalyticsProxyRunTests, Main_ReturnsASuccessWithoutAWord)
{
    m_trace.Enable(KVLogging::kLogError);
    EXPECT_EQ(wWinMain(nullptr, nullptr, nullptr, 0), PROXY_S_DONE);
    m_around.RemoveParticipationProgram();
    EXPECT_EQ(wWinMain(nullptr, nullptr, nullptr, 0), PROXY_S_NOT_OPTED_IN);
    EXPECT_TRUE(m_trace.IsEmpty());
}

TEST_F(AnalyticsProxyRunTests, Main_WithoutMemoryForTheObject_Returns0)
{
    int result = -1;
    {
        const KVTest::AllocationHook noMemory([](std::size_t) { throw std::bad_alloc(); });
        result = wWinMain(nullptr, nullptr, nullptr, 0);
    }
    EXPECT_EQ(result, 0);
    EXPECT_EQ(m_engine.calls, Calls{});
}
} // namespace
