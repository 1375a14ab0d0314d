#include "utils/base/AccessViolation.h"
#include "utils/base/Win32Exception.h"

#include <gtest/gtest.h>

#include "tests/support/VirtualSlots.h"

namespace
{
using KVUtils::CAccessViolation;
using KVUtils::CWin32Exception;

EXCEPTION_RECORD MakeRecord(DWORD code)
{
    EXCEPTION_RECORD record{};
    record.ExceptionCode = code;
    record.ExceptionAddress = reinterpret_cast<void*>(0x1234);
    return record;
}

TEST(Win32ExceptionTests, MessageText_ByCode)
{
    EXPECT_STREQ(CWin32Exception(MakeRecord(0xC0000005)).GetMessageText(), L"Access violation");
    EXPECT_STREQ(CWin32Exception(MakeRecord(0xC0000094)).GetMessageText(), L"Division by zero");
    EXPECT_STREQ(CWin32Exception(MakeRecord(0xC000001D)).GetMessageText(), L"Win32 exception");
    EXPECT_STREQ(CWin32Exception(MakeRecord(0xE0000001)).GetMessageText(), L"Win32 exception");
    EXPECT_STREQ(CWin32Exception(MakeRecord(0xC000008E)).GetMessageText(), L"Win32 exception"); // floating point
}

TEST(Win32ExceptionTests, CodeAndAddress_ComeFromTheRecord)
{
    const CWin32Exception exception(MakeRecord(0xC000001D));
    EXPECT_EQ(exception.GetExceptionCode(), 0xC000001Du);
    EXPECT_EQ(exception.GetExceptionAddress(), reinterpret_cast<void*>(0x1234));
}

TEST(Win32ExceptionTests, What_IsTheInheritedOne)
{
    const CWin32Exception exception(MakeRecord(0xC0000005));
    EXPECT_STREQ(exception.what(), std::exception().what());
}

TEST(Win32ExceptionTests, MessageText_IsDeclaredAfterDestructorAndWhat)
{
    EXPECT_EQ(KVTest::SlotOf(&CWin32Exception::what), KVTest::kDestructorSlots);
    EXPECT_EQ(KVTest::SlotOf(&CWin32Exception::GetMessageText), KVTest::kDestructorSlots + 1);
    EXPECT_EQ(KVTest::SlotCountOf<CAccessViolation>(), KVTest::kDestructorSlots + 2);
}

TEST(Win32ExceptionTests, LiveCount_FollowsConstructionCopyAndDestruction)
{
    const auto before = CWin32Exception::GetLiveCount();
    {
        CWin32Exception one(MakeRecord(0xC0000005));
        EXPECT_EQ(CWin32Exception::GetLiveCount(), before + 1);
        {
            const CWin32Exception copy(one);
            const CAccessViolation derived(MakeRecord(0xC0000005));
            EXPECT_EQ(CWin32Exception::GetLiveCount(), before + 3);
            one = copy;
            EXPECT_EQ(CWin32Exception::GetLiveCount(), before + 3);
        }
        EXPECT_EQ(CWin32Exception::GetLiveCount(), before + 1);
    }
    EXPECT_EQ(CWin32Exception::GetLiveCount(), before);
}

TEST(Win32ExceptionTests, LiveCount_IsZeroInAFreshProcess)
{
    EXPECT_EQ(CWin32Exception::GetLiveCount(), 0);
}

TEST(AccessViolationTests, WriteFlagAndAddress_ComeFromTheInformationWords)
{
    EXCEPTION_RECORD record = MakeRecord(0xC0000005);
    record.NumberParameters = 2;
    record.ExceptionInformation[0] = 1;
    record.ExceptionInformation[1] = 0xABCD;
    const CAccessViolation write(record);
    EXPECT_TRUE(write.IsWriteAccess());
    EXPECT_EQ(write.GetInaccessibleAddress(), reinterpret_cast<void*>(0xABCD));
    EXPECT_STREQ(write.GetMessageText(), L"Access violation");

    record.ExceptionInformation[0] = 0;
    EXPECT_FALSE(CAccessViolation(record).IsWriteAccess());
    record.ExceptionInformation[0] = 8; // an attempt to execute
    EXPECT_FALSE(CAccessViolation(record).IsWriteAccess());
}

TEST(AccessViolationTests, RecordWithoutInformationWords_IsARead)
{
    EXCEPTION_RECORD record = MakeRecord(0xC0000005);
    record.ExceptionInformation[0] = 1; // not counted, hence not there
    record.ExceptionInformation[1] = 0xABCD;
    const CAccessViolation exception(record);
    EXPECT_FALSE(exception.IsWriteAccess());
    EXPECT_EQ(exception.GetInaccessibleAddress(), nullptr);
}
} // namespace
