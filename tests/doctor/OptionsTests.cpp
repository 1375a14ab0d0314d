#include "doctor/Options.h"

#include <gtest/gtest.h>

namespace
{
using KVAnalyticsDoctor::Options;
using KVAnalyticsDoctor::ReadOptions;

TEST(DoctorOptionsTests, NoArgument_AsksForTheUsualReport)
{
    const Options options = ReadOptions({});
    EXPECT_FALSE(options.json || options.hits || options.id || options.connect || options.help);
    EXPECT_EQ(options.unknown, L"");
}

TEST(DoctorOptionsTests, EachSwitch_IsReadInAnyLetterCaseAndWithAHyphen)
{
    const Options options = ReadOptions({L"/JSON", L"-hits", L"/Id", L"-CONNECT"});
    EXPECT_TRUE(options.json && options.hits && options.id && options.connect);
    EXPECT_FALSE(options.help);
    EXPECT_EQ(options.unknown, L"");
}

TEST(DoctorOptionsTests, BothSpellingsOfHelp)
{
    EXPECT_TRUE(ReadOptions({L"/?"}).help);
    EXPECT_TRUE(ReadOptions({L"-help"}).help);
}

TEST(DoctorOptionsTests, FirstUnknownArgument_IsNamed)
{
    EXPECT_EQ(ReadOptions({L"/json", L"/jsonx", L"/other"}).unknown, L"/jsonx");
    EXPECT_EQ(ReadOptions({L"json"}).unknown, L"json");
    EXPECT_EQ(ReadOptions({L"/"}).unknown, L"/");
    EXPECT_EQ(ReadOptions({L"/json=1"}).unknown, L"/json=1");
    EXPECT_EQ(ReadOptions({L""}).unknown, L"\"\"");
}
} // namespace
