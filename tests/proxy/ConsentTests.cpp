#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "proxy/AnalyticsProxy.h"
#include "tests/logging/TraceCapture.h"
#include "tests/proxy/Surroundings.h"

namespace
{
class ConsentTests : public testing::Test
{
protected:
    bool Check()
    {
        m_trace.Enable(KVLogging::kLogInfo);
        return KVAnalyticsProxy::CAnalyticsProxy().IsOptInForAnalytics();
    }
    std::wstring LastLine() const
    {
        const std::wstring text = m_trace.GetText();
        return text.substr(text.rfind(L"(I0) "));
    }
    // The two paths that were looked at, without the long-path prefix.
    std::vector<std::wstring> LookedAt() const
    {
        std::vector<std::wstring> paths;
        for (const std::wstring& path : m_around.attributeCalls)
        {
            paths.push_back(path.starts_with(L"\\\\?\\") ? path.substr(4) : path);
        }
        return paths;
    }

    KVTest::Surroundings m_around;
    KVTest::TraceCapture m_trace;
};

constexpr wchar_t kYes[] = L"(I0) CAnalyticsProxy::IsOptInForAnalytics - bAnalyticsOptIn is true\r\n";
constexpr wchar_t kNo[] = L"(I0) CAnalyticsProxy::IsOptInForAnalytics - bAnalyticsOptIn is false\r\n";

// A long path as the system resolves it; doubled backslashes are its business.
std::wstring Resolve(const wchar_t* path)
{
    wchar_t resolved[MAX_PATH] = {};
    ::GetFullPathNameW(path, MAX_PATH, resolved, nullptr);
    return resolved;
}

TEST_F(ConsentTests, ProgramPresentWithoutMark_IsConsent)
{
    EXPECT_TRUE(Check());
    EXPECT_EQ(LastLine(), kYes);
}

TEST_F(ConsentTests, ProgramPresentWithMark_IsNoConsent)
{
    m_around.OptOut();
    EXPECT_FALSE(Check());
    EXPECT_EQ(LastLine(), kNo);
}

TEST_F(ConsentTests, ProgramAbsent_IsNoConsent)
{
    m_around.RemoveParticipationProgram();
    EXPECT_FALSE(Check());
    EXPECT_EQ(LastLine(), kNo);
}

TEST_F(ConsentTests, ProgramAbsentWithMark_IsNoConsent)
{
    m_around.RemoveParticipationProgram();
    m_around.OptOut();
    EXPECT_FALSE(Check());
    EXPECT_EQ(LastLine(), kNo);
}

TEST_F(ConsentTests, AFolderInThePlaceOfTheProgram_IsNoConsent)
{
    m_around.RemoveParticipationProgram();
    m_around.GetProductFolder().MakeFolder(L"bin\\NorvikCustPartic.exe");
    EXPECT_FALSE(Check());
}

TEST_F(ConsentTests, AFolderInThePlaceOfTheMark_IsNoOptOut)
{
    m_around.GetProductFolder().MakeFolder(L"data");
    m_around.GetProductFolder().MakeFolder(L"data\\NorvikCustPartic");
    m_around.GetProductFolder().MakeFolder(L"data\\NorvikCustPartic\\OptedOut");
    EXPECT_TRUE(Check());
}

TEST_F(ConsentTests, BothFilesAreLookedAtWhateverTheFirstSays)
{
    const std::wstring product = m_around.GetProductFolder().GetPath();
    m_around.RemoveParticipationProgram();
    Check();
    EXPECT_EQ(LookedAt(), (std::vector<std::wstring>{product + L"\\bin\\NorvikCustPartic.exe",
                                                     product + L"\\data\\NorvikCustPartic\\OptedOut"}));
}

TEST_F(ConsentTests, AProgramInARootFolder_IsLookedForAsThePathComesOut)
{
    class Attributes : public KVWinApi::CKernelApi
    {
    public:
        DWORD GetFileAttributesW(LPCWSTR path) override
        {
            if (first.empty())
            {
                first = path;
            }
            return INVALID_FILE_ATTRIBUTES;
        }
        std::wstring first;
    };
    Attributes kernel;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    KVUtils::g_pathOfExecutableOverride = L"C:\\";
    Check();
    EXPECT_EQ(kernel.first, Resolve(L"\\\\?\\C:\\\\NorvikCustPartic.exe"));
}

TEST_F(ConsentTests, WithoutADataFolder_TheBareMarkIsLookedFor)
{
    m_around.RemoveConfig();
    m_around.shellAnswers = false;
    EXPECT_TRUE(Check());
    EXPECT_EQ(m_around.attributeCalls.at(1), Resolve(L"\\\\?\\\\NorvikCustPartic\\OptedOut"));
}

TEST_F(ConsentTests, WithoutAConfiguredDataFolder_TheMarkIsLookedForInTheCommonData)
{
    m_around.RemoveConfig();
    Check();
    const std::wstring product = m_around.GetProductFolder().GetPath();
    EXPECT_EQ(LookedAt().at(1),
              L"C:\\Shell\\Folder\\Norvik" + product.substr(product.rfind(L'\\')) + L"\\NorvikCustPartic\\OptedOut");
}

TEST_F(ConsentTests, Check_IsTracedByItsName)
{
    m_trace.Enable(0xC00);
    KVAnalyticsProxy::CAnalyticsProxy().IsOptInForAnalytics();
    const std::wstring text = m_trace.GetText();
    EXPECT_TRUE(text.starts_with(L"(->) CAnalyticsProxy::IsOptInForAnalytics\r\n"));
    EXPECT_TRUE(text.ends_with(L"(<-) CAnalyticsProxy::IsOptInForAnalytics\r\n"));
}
} // namespace
