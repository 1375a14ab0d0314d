#include "tests/support/DebugOutputCapture.h"

#include <gmock/gmock.h>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

TEST(DebugOutputCaptureTests, GetLines_GivesOneEntryACallInOrder)
{
    KVTest::DebugOutputCapture capture;
    ::OutputDebugStringW(L"first");
    ::OutputDebugStringW(L"");
    ::OutputDebugStringA("third\r\n");
    EXPECT_THAT(capture.GetLines(), ElementsAre("first", "", "third\r\n"));
    ::OutputDebugStringW(L"fourth");
    EXPECT_THAT(capture.GetLines(), ElementsAre("first", "", "third\r\n", "fourth"));
    EXPECT_EQ(capture.GetText(), "firstthird\r\nfourth");
}

TEST(DebugOutputCaptureTests, GetLines_WithoutOutput_GivesNone)
{
    ::OutputDebugStringW(L"before the capture");
    KVTest::DebugOutputCapture capture;
    EXPECT_THAT(capture.GetLines(), IsEmpty());
}

TEST(DebugOutputCaptureTests, TwoCaptures_OneAfterTheOther)
{
    {
        KVTest::DebugOutputCapture capture;
        ::OutputDebugStringW(L"one");
        EXPECT_THAT(capture.GetLines(), ElementsAre("one"));
    }
    KVTest::DebugOutputCapture capture;
    ::OutputDebugStringW(L"two");
    EXPECT_THAT(capture.GetLines(), ElementsAre("two"));
}
} // namespace
