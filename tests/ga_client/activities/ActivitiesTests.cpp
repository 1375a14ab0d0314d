#include <gtest/gtest.h>

#include "ga_client/activities/AppViewActivity.h"
#include "ga_client/activities/EventActivity.h"
#include "ga_client/activities/ExceptionActivity.h"
#include "tests/support/ClientTestSupport.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/VirtualSlots.h"

using KVTest::kSampleClientId;
using KVTest::SampleClientInfo;
using KVTest::SamplePrefix;

namespace
{
class ActivitiesTests : public testing::Test
{
protected:
    KVTest::FixedTimeApi m_kernelApi{1416096000};
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_swap{KVWinApi::g_kernelApi, m_kernelApi};
    GAClient::CustomFacts m_facts{{{1, L"Online"}}, {}};
    std::wstring m_out = L"replaced";
};
} // namespace

TEST(ActivityInterfaceTests, Operations_FollowTheDestructor)
{
    EXPECT_EQ(KVTest::SlotOf(&Activities::IAppViewActivity::BuildRequest), KVTest::kDestructorSlots);
    EXPECT_EQ(KVTest::SlotOf(&Activities::IAppViewActivity::BuildSessionRequest), KVTest::kDestructorSlots + 1);
    EXPECT_EQ(KVTest::SlotOf(&Activities::IEvent::BuildRequest), KVTest::kDestructorSlots);
    EXPECT_EQ(KVTest::SlotOf(&Activities::IException::BuildRequest), KVTest::kDestructorSlots);
    EXPECT_EQ(KVTest::SlotCountOf<Activities::IAppViewActivity>(), KVTest::kDestructorSlots + 2);
    EXPECT_EQ(KVTest::SlotCountOf<Activities::IEvent>(), KVTest::kDestructorSlots + 1);
    EXPECT_EQ(KVTest::SlotCountOf<Activities::IException>(), KVTest::kDestructorSlots + 1);
}

TEST_F(ActivitiesTests, ScreenView_IsAWholeRequest)
{
    EXPECT_TRUE(Activities::AppView::CAppViewActivity(L"Home", kSampleClientId)
                    .BuildRequest(SampleClientInfo(), m_facts, m_out));
    EXPECT_EQ(m_out, L"/collect?v=1&z=6093677622&ul=en-US&de=UTF-8&je=0&sd=32-bit&sr=1920x1080&vp=1920x1080&tid=XX-1&"
                     L"an=Lumo&av=1.2.3&aip=1&cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&t=appview&cd=Home&cd1=Online#"
                     L"1416096000");
}

TEST_F(ActivitiesTests, SessionScreenView_IsAWholeRequest)
{
    Activities::AppView::CAppViewActivity activity(L"Home", kSampleClientId);
    EXPECT_TRUE(activity.BuildSessionRequest(SampleClientInfo(), true, m_out));
    EXPECT_EQ(m_out, L"/collect?" + SamplePrefix() + L"sc=start&t=appview&cd=Home");
    EXPECT_TRUE(activity.BuildSessionRequest(SampleClientInfo(), false, m_out));
    EXPECT_EQ(m_out, L"/collect?" + SamplePrefix(KVTest::kSecondCacheBuster) + L"sc=end&t=appview&cd=Home");
}

TEST_F(ActivitiesTests, Event_IsAWholeRequest)
{
    EXPECT_TRUE(Activities::Event::CEventActivity(L"Home", kSampleClientId)
                    .BuildRequest(SampleClientInfo(), m_facts, {L"Click", L"Link", L"Help", 2, L"1"}, m_out));
    EXPECT_EQ(m_out, L"/collect?" + SamplePrefix() +
                         L"t=event&ec=Link&ea=Click&el=Help&ev=2&ni=1&cd=Home&cd1=Online#1416096000");
}

TEST_F(ActivitiesTests, Exception_IsAWholeRequestWithoutScreen)
{
    EXPECT_TRUE(Activities::Exception::CExceptionActivity(kSampleClientId)
                    .BuildRequest(SampleClientInfo(), m_facts, L"Boom", false, m_out));
    EXPECT_EQ(m_out, L"/collect?" + SamplePrefix() + L"t=exception&exd=Boom&exf=0&cd1=Online#1416096000");
}
