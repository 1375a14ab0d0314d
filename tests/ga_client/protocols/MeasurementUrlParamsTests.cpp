#include "ga_client/protocols/MeasurementUrlParams.h"

#include <gtest/gtest.h>

#include "tests/support/ClientTestSupport.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/VirtualSlots.h"

using GAClient::ClientInfo;
using GAClient::CustomFacts;
using GAClient::EventFields;
using KVTest::kMark;
using KVTest::SampleClientInfo;
using KVTest::SamplePrefix;
using Protocols::MeasurementParams::CMeasurementUrlParams;
using Protocols::MeasurementParams::IMeasurementParams;

namespace
{
class MeasurementUrlParamsTests : public testing::Test
{
protected:
    static std::wstring AppView(const std::wstring& screen, const CustomFacts& facts,
                                const ClientInfo& clientInfo = SampleClientInfo())
    {
        std::wstring out;
        EXPECT_TRUE(CMeasurementUrlParams(screen, KVTest::kSampleClientId).AppViewParams(clientInfo, facts, out));
        return out;
    }
    static std::wstring SessionAppView(const std::wstring& screen, bool start)
    {
        std::wstring out;
        EXPECT_TRUE(CMeasurementUrlParams(screen, KVTest::kSampleClientId)
                        .SessionAppViewParams(SampleClientInfo(), start, out));
        return out;
    }
    static std::wstring Event(const std::wstring& screen, const EventFields& fields, const CustomFacts& facts = {})
    {
        std::wstring out;
        EXPECT_TRUE(
            CMeasurementUrlParams(screen, KVTest::kSampleClientId).EventParams(SampleClientInfo(), facts, fields, out));
        return out;
    }
    static std::wstring Exception(const std::wstring& description, bool fatal, const CustomFacts& facts = {})
    {
        std::wstring out;
        EXPECT_TRUE(CMeasurementUrlParams(L"Screen", KVTest::kSampleClientId)
                        .ExceptionParams(SampleClientInfo(), facts, description, fatal, out));
        return out;
    }

    KVTest::FixedTimeApi m_kernelApi{1416096000};
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_swap{KVWinApi::g_kernelApi, m_kernelApi};
};
} // namespace

TEST(MeasurementParamsInterfaceTests, Operations_StandInTheirOrder)
{
    const std::size_t first = KVTest::SlotOf(&IMeasurementParams::AppViewParams);
    EXPECT_EQ(first, KVTest::kDestructorSlots);
    EXPECT_EQ(KVTest::SlotOf(&IMeasurementParams::SessionAppViewParams), first + 1);
    EXPECT_EQ(KVTest::SlotOf(&IMeasurementParams::EventParams), first + 2);
    EXPECT_EQ(KVTest::SlotOf(&IMeasurementParams::ExceptionParams), first + 3);
}

// The common prefix.

TEST_F(MeasurementUrlParamsTests, CommonPrefix_WithoutFacts_KeepsTheConstantParametersOnly)
{
    std::wstring out;
    CMeasurementUrlParams(L"", L"").AppViewParams(ClientInfo(), CustomFacts(), out);
    EXPECT_EQ(out, L"v=1&z=6093677622&de=UTF-8&je=0&aip=1&t=appview&#1416096000");
}

TEST_F(MeasurementUrlParamsTests, CommonPrefix_LeavesOutEachEmptyFactAlone)
{
    struct Row
    {
        std::wstring ClientInfo::*fact;
        const wchar_t* expected;
    };
    const Row rows[] = {
        {&ClientInfo::userLanguage,
         L"v=1&z=6093677622&de=UTF-8&je=0&sd=32-bit&sr=1920x1080&vp=1920x1080&tid=XX-1&an=Lumo&"
         L"av=1.2.3&aip=1&cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&t=appview&cd=A#1416096000"},
        {&ClientInfo::colourDepth,
         L"v=1&z=7322882386&ul=en-US&de=UTF-8&je=0&sr=1920x1080&vp=1920x1080&tid=XX-1&an=Lumo&"
         L"av=1.2.3&aip=1&cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&t=appview&cd=A#1416096000"},
        {&ClientInfo::screenResolution, L"v=1&z=8228121895&ul=en-US&de=UTF-8&je=0&sd=32-bit&tid=XX-1&an=Lumo&av=1.2.3&"
                                        L"aip=1&cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&t=appview&cd=A#1416096000"},
    };
    for (const Row& row : rows)
    {
        ClientInfo clientInfo = SampleClientInfo();
        (clientInfo.*row.fact).clear();
        EXPECT_EQ(AppView(L"A", {}, clientInfo), row.expected);
    }
}

TEST_F(MeasurementUrlParamsTests, CommonPrefix_LeavesOutEmptyProductFacts)
{
    ClientInfo clientInfo = SampleClientInfo();
    clientInfo.propertyId.clear();
    clientInfo.applicationName.clear();
    clientInfo.applicationVersion.clear();
    EXPECT_EQ(AppView(L"A", {}, clientInfo),
              L"v=1&z=6093677622&ul=en-US&de=UTF-8&je=0&sd=32-bit&sr=1920x1080&vp=1920x1080&aip=1&"
              L"cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&t=appview&cd=A#1416096000");
}

TEST_F(MeasurementUrlParamsTests, ClientInfo_Reset_EmptiesAllSix)
{
    ClientInfo clientInfo = SampleClientInfo();
    clientInfo.Reset();
    std::wstring out;
    CMeasurementUrlParams(L"", L"").SessionAppViewParams(clientInfo, true, out);
    EXPECT_EQ(out, L"v=1&z=6093677622&de=UTF-8&je=0&aip=1&sc=start&t=appview&");
}

// The dimension text.

TEST_F(MeasurementUrlParamsTests, DimensionText_ComesInNumericOrderWithMetricsLast)
{
    CustomFacts facts;
    facts.dimensions = {{10U, L"ten"}, {2U, L"two"}, {4294967295U, L"last"}};
    facts.metrics = {{11, 4294967295U}, {3, 0U}, {-1, 7U}};
    EXPECT_EQ(AppView(L"Home", facts),
              SamplePrefix() + L"t=appview&cd=Home&cd2=two&cd10=ten&cd4294967295=last&cm-1=7&cm3=0&cm11=4294967295" +
                  kMark);
}

TEST_F(MeasurementUrlParamsTests, DimensionText_OfMetricsAlone)
{
    CustomFacts facts;
    facts.metrics = {{1, 5}, {2, 6}};
    EXPECT_EQ(AppView(L"Home", facts), SamplePrefix() + L"t=appview&cd=Home&cm1=5&cm2=6" + kMark);
}

TEST_F(MeasurementUrlParamsTests, DimensionText_KeepsAnEmptyValue)
{
    CustomFacts facts;
    facts.dimensions = {{1, L""}};
    EXPECT_EQ(AppView(L"Home", facts), SamplePrefix() + L"t=appview&cd=Home&cd1=" + kMark);
}

// Screen views.

TEST_F(MeasurementUrlParamsTests, ScreenView_WithDimension)
{
    CustomFacts facts;
    facts.dimensions = {{1, L"Online"}};
    EXPECT_EQ(AppView(L"Home", facts), SamplePrefix() + L"t=appview&cd=Home&cd1=Online" + kMark);
}

TEST_F(MeasurementUrlParamsTests, ScreenView_WithoutFacts_EndsWithTheName)
{
    EXPECT_EQ(AppView(L"Home", {}), SamplePrefix() + L"t=appview&cd=Home" + kMark);
}

TEST_F(MeasurementUrlParamsTests, ScreenView_WithoutName_HasTwoAmpersandsBeforeTheDimensions)
{
    CustomFacts facts;
    facts.dimensions = {{1, L"Online"}};
    EXPECT_EQ(AppView(L"", facts), SamplePrefix() + L"t=appview&&cd1=Online" + kMark);
}

TEST_F(MeasurementUrlParamsTests, Values_AreNotEscaped)
{
    CustomFacts facts;
    facts.dimensions = {{1, L"x=#&y z%\u00E9\u20AC"}};
    EXPECT_EQ(AppView(L"a&b#c d", facts), SamplePrefix() + L"t=appview&cd=a&b#c d&cd1=x=#&y z%\u00E9\u20AC" + kMark);
}

TEST_F(MeasurementUrlParamsTests, Parameters_AreAppendedToWhatIsThere)
{
    std::wstring out = L"before&";
    CMeasurementUrlParams(L"Home", KVTest::kSampleClientId).AppViewParams(SampleClientInfo(), {}, out);
    EXPECT_EQ(out, L"before&" + SamplePrefix() + L"t=appview&cd=Home" + kMark);
}

TEST_F(MeasurementUrlParamsTests, SessionScreenView_OfTheStart)
{
    EXPECT_EQ(SessionAppView(L"Start", true), SamplePrefix() + L"sc=start&t=appview&cd=Start");
}

TEST_F(MeasurementUrlParamsTests, SessionScreenView_OfTheEnd)
{
    EXPECT_EQ(SessionAppView(L"Start", false), SamplePrefix() + L"sc=end&t=appview&cd=Start");
}

TEST_F(MeasurementUrlParamsTests, SessionScreenView_WithoutName)
{
    EXPECT_EQ(SessionAppView(L"", true), SamplePrefix() + L"sc=start&t=appview&");
}

// Events.

TEST_F(MeasurementUrlParamsTests, Event_WithAllFields)
{
    CustomFacts facts;
    facts.dimensions = {{1, L"Online"}};
    facts.metrics = {{2, 9}};
    EXPECT_EQ(Event(L"Home", {L"Click", L"Link", L"Help", 3, L"1"}, facts),
              SamplePrefix() + L"t=event&ec=Link&ea=Click&el=Help&ev=3&ni=1&cd=Home&cd1=Online&cm2=9" + kMark);
}

TEST_F(MeasurementUrlParamsTests, Event_WithoutOptionalFields)
{
    EXPECT_EQ(Event(L"Home", {L"Click", L"Link", L"", -1, L""}),
              SamplePrefix() + L"t=event&ec=Link&ea=Click&cd=Home" + kMark);
}

TEST_F(MeasurementUrlParamsTests, Event_WithoutAnyField_IsOnlyItsKind)
{
    EXPECT_EQ(Event(L"", {L"", L"", L"", -1, L""}), SamplePrefix() + L"t=event&" + kMark);
}

TEST_F(MeasurementUrlParamsTests, Event_WithValueZero_CarriesIt)
{
    EXPECT_EQ(Event(L"", {L"Click", L"Link", L"", 0, L""}), SamplePrefix() + L"t=event&ec=Link&ea=Click&ev=0&" + kMark);
}

TEST_F(MeasurementUrlParamsTests, Event_WithTheLargestAndASmallerValue)
{
    EXPECT_EQ(Event(L"", {L"A", L"C", L"", 2147483647, L""}),
              SamplePrefix() + L"t=event&ec=C&ea=A&ev=2147483647&" + kMark);
    EXPECT_EQ(Event(L"", {L"A", L"C", L"", -2, L""}),
              SamplePrefix(KVTest::kSecondCacheBuster) + L"t=event&ec=C&ea=A&ev=-2&" + kMark);
}

TEST_F(MeasurementUrlParamsTests, Event_WithoutScreen_HasTwoAmpersandsBeforeTheDimensions)
{
    CustomFacts facts;
    facts.dimensions = {{1, L"Online"}};
    EXPECT_EQ(Event(L"", {L"Click", L"Link", L"", -1, L""}, facts),
              SamplePrefix() + L"t=event&ec=Link&ea=Click&&cd1=Online" + kMark);
}

TEST_F(MeasurementUrlParamsTests, Event_Start_HasNoMarkAndNoSession)
{
    EXPECT_EQ(Event(L"Start", {L"Start", L"ApplicationLifeCycle", L"Launch", -1, L""}),
              SamplePrefix() + L"t=event&ec=ApplicationLifeCycle&ea=Start&el=Launch&cd=Start");
}

TEST_F(MeasurementUrlParamsTests, Event_Stop_EndsTheSessionAndHasNoMark)
{
    CustomFacts facts;
    facts.dimensions = {{1, L"Online"}};
    EXPECT_EQ(Event(L"Start", {L"Stop", L"ApplicationLifeCycle", L"Launch", -1, L""}, facts),
              SamplePrefix() + L"sc=end&t=event&ec=ApplicationLifeCycle&ea=Stop&el=Launch&cd=Start&cd1=Online");
}

TEST_F(MeasurementUrlParamsTests, Event_ActionsInOtherLetterCase_AreOrdinary)
{
    EXPECT_EQ(Event(L"S", {L"start", L"C", L"", -1, L""}), SamplePrefix() + L"t=event&ec=C&ea=start&cd=S" + kMark);
    EXPECT_EQ(Event(L"S", {L"stop", L"C", L"", -1, L""}),
              SamplePrefix(KVTest::kSecondCacheBuster) + L"t=event&ec=C&ea=stop&cd=S" + kMark);
    EXPECT_EQ(Event(L"S", {L"Stopped", L"C", L"", -1, L""}),
              SamplePrefix(KVTest::kThirdCacheBuster) + L"t=event&ec=C&ea=Stopped&cd=S" + kMark);
}

// Exceptions.

TEST_F(MeasurementUrlParamsTests, Exception_Fatal_HasNoFlag)
{
    EXPECT_EQ(Exception(L"Boom", true), SamplePrefix() + L"t=exception&exd=Boom" + kMark);
}

TEST_F(MeasurementUrlParamsTests, Exception_NotFatal_CarriesTheFlag)
{
    EXPECT_EQ(Exception(L"Boom", false), SamplePrefix() + L"t=exception&exd=Boom&exf=0" + kMark);
}

TEST_F(MeasurementUrlParamsTests, Exception_WithoutDescription)
{
    EXPECT_EQ(Exception(L"", true), SamplePrefix() + L"t=exception&" + kMark);
    EXPECT_EQ(Exception(L"", false), SamplePrefix(KVTest::kSecondCacheBuster) + L"t=exception&exf=0" + kMark);
}

TEST_F(MeasurementUrlParamsTests, Exception_WithDimensions)
{
    CustomFacts facts;
    facts.dimensions = {{1, L"Online"}};
    EXPECT_EQ(Exception(L"Boom", true, facts), SamplePrefix() + L"t=exception&exd=Boom&cd1=Online" + kMark);
    EXPECT_EQ(Exception(L"", true, facts),
              SamplePrefix(KVTest::kSecondCacheBuster) + L"t=exception&&cd1=Online" + kMark);
    EXPECT_EQ(Exception(L"Boom", false, facts),
              SamplePrefix(KVTest::kThirdCacheBuster) + L"t=exception&exd=Boom&exf=0&cd1=Online" + kMark);
}
