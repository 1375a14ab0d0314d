#include "doctor/report/HitParameters.h"

#include <gtest/gtest.h>

namespace
{
using KVAnalyticsDoctor::DecodeHit;
using KVAnalyticsDoctor::HitParameter;

// Key, name and value of each, for comparison.
std::wstring Decoded(const std::wstring& request)
{
    std::wstring text;
    for (const HitParameter& parameter : DecodeHit(request))
    {
        text += parameter.key + L":" + parameter.name + L":" + parameter.value + L"|";
    }
    return text;
}

TEST(HitParametersTests, HitOfThisProduct)
{
    EXPECT_EQ(Decoded(L"/collect?v=1&tid=NV-3&cd=Scan&cd3=USB#1416096000"),
              L"v:protocol version:1|tid:property ID:NV-3|cd:screen name:Scan|cd3:ConnectionType:USB|");
}

TEST(HitParametersTests, UnknownKey)
{
    EXPECT_EQ(Decoded(L"/collect?xy=1&cd7=2"), L"xy:?:1|cd7:?:2|");
}

TEST(HitParametersTests, ValuesAreNotUnescaped)
{
    EXPECT_EQ(Decoded(L"/collect?cd=a=b%20c+d"), L"cd:screen name:a=b%20c+d|");
}

TEST(HitParametersTests, OddItems)
{
    EXPECT_EQ(Decoded(L"/collect?&v&&=1&t="), L"v:protocol version:|:?:1|t:hit type:|");
}

TEST(HitParametersTests, TextThatIsNoHit)
{
    EXPECT_EQ(Decoded(L""), L"");
    EXPECT_EQ(Decoded(L"no question mark&v=1"), L"");
    EXPECT_EQ(Decoded(L"#?v=1"), L"");
    EXPECT_EQ(Decoded(L"?"), L"");
}

TEST(HitParametersTests, BytesOfTheFileWithoutTheirExtendedSign)
{
    EXPECT_EQ(Decoded(L"?cd=\xFFE9"), L"cd:screen name:\xE9|");
}
} // namespace
