#include "logging/line/FunctionName.h"

#include <gtest/gtest.h>

namespace
{
struct NameRow
{
    const char* name;
    std::wstring fullName;
    std::wstring className;
    std::wstring shortName;
};

class FunctionNameTests : public testing::TestWithParam<NameRow>
{
};

TEST_P(FunctionNameTests, Split_GivesClassAndShortName)
{
    const KVLogging::FunctionName name = KVLogging::SplitFunctionName(GetParam().fullName.c_str());
    EXPECT_EQ(name.className, GetParam().className);
    EXPECT_EQ(name.shortName, GetParam().shortName);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, FunctionNameTests,
    testing::Values(NameRow{"Empty", L"", L"", L""}, NameRow{"OneComponent", L"wWinMain", L"", L"wWinMain"},
                    NameRow{"OneTemplate", L"Run<int>", L"", L"Run"},
                    NameRow{"TwoComponents", L"CSxSConfig::_GetIniFile", L"CSxSConfig", L"CSxSConfig::_GetIniFile"},
                    NameRow{"ThreeComponents", L"KVUtils::CSxSConfig::_GetIniFile", L"CSxSConfig",
                            L"CSxSConfig::_GetIniFile"},
                    NameRow{"FourComponents", L"A::B::C::D", L"C", L"C::D"},
                    NameRow{"TemplateClass", L"NS::Tpl<int>::Run", L"Tpl", L"Tpl::Run"},
                    NameRow{"NestedTemplate", L"NS::Tpl<std::map<A::B, C>>::Run", L"Tpl", L"Tpl::Run"},
                    NameRow{"TemplateMethod", L"NS::Cls::Run<X::Y>", L"Cls", L"Cls::Run"},
                    NameRow{"LeadingColonsOne", L"::main", L"", L"::main"},
                    NameRow{"LeadingColonsTwo", L"::Cls::Run", L"Cls", L"Cls::Run"},
                    NameRow{"LeadingColonOne", L":main", L"", L":main"}, NameRow{"SingleColon", L"A:B", L"", L"A:B"},
                    NameRow{"ThirdColon", L"A:::B", L"A", L"A:::B"}, NameRow{"TrailingColons", L"A::", L"A", L"A::"},
                    NameRow{"ArrowOperator", L"NS::Ptr::operator->", L"Ptr", L"Ptr::operator-"},
                    NameRow{"BehindTheArrow", L"NS::Ptr::operator->() const", L"Ptr", L"Ptr::operator-() const"},
                    NameRow{"UnclosedBracket", L"NS::Cls::operator<", L"Cls", L"Cls::operator"},
                    NameRow{"Exactly255", L"A::" + std::wstring(252, L'x'), L"A", L"A::" + std::wstring(252, L'x')},
                    NameRow{"Beyond255", L"A::" + std::wstring(300, L'x'), L"A", L"A::" + std::wstring(252, L'x')},
                    // What is skipped counts: the walk ends in the template arguments.
                    NameRow{"Beyond255InTemplate", L"A<" + std::wstring(300, L'x') + L">::B", L"", L"A"}),
    [](const auto& row) { return row.param.name; });

TEST(FunctionNameResultTests, Split_LaterSplits_LeaveEarlierResultsAlone)
{
    const KVLogging::FunctionName first = KVLogging::SplitFunctionName(L"First::Run");
    KVLogging::SplitFunctionName(L"Second::Other");
    EXPECT_EQ(first.shortName, L"First::Run");
    EXPECT_EQ(first.className, L"First");
}
} // namespace
