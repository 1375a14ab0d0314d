#include "doctor/findings/ConnectionFindings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ga_client/http/CollectionHost.h"
#include "tests/support/ClientTestSupport.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScopedSubstitute.h"

namespace
{
using KVAnalyticsDoctor::ConnectionFindings;
using KVAnalyticsDoctor::FindConnection;

constexpr wchar_t kSettings[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings";

class ConnectionFindingsTests : public testing::Test
{
protected:
    KVTest::RegistrySandbox m_registry;
    KVTest::FakeInternetApi m_winApi;
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_swap{KVWinApi::g_winApi, m_winApi};
};

TEST_F(ConnectionFindingsTests, AsksTheSystemAndConnectsToNothing)
{
    const ConnectionFindings findings = FindConnection(true);
    EXPECT_EQ(findings.host, Http::kCollectionHost);
    EXPECT_EQ(findings.port, 443);
    EXPECT_TRUE(findings.isConnected);
    EXPECT_EQ(findings.proxy + findings.proxyBypass + findings.autoConfigUrl, L"");
    EXPECT_EQ(m_winApi.TakeCalls(), (std::vector<std::wstring>{L"connected 0"}));
    EXPECT_FALSE(m_registry.KeyExists(kSettings));
    m_winApi.isConnected = false;
    EXPECT_FALSE(FindConnection(true).isConnected);
    EXPECT_EQ(FindConnection(false).port, 80);
}

TEST_F(ConnectionFindingsTests, ProxyOfTheUser)
{
    m_registry.SetString(kSettings, L"ProxyServer", L"proxy.example:8080");
    m_registry.SetString(kSettings, L"ProxyOverride", L"<local>");
    m_registry.SetDword(kSettings, L"ProxyEnable", 1);
    ConnectionFindings findings = FindConnection(true);
    EXPECT_EQ(findings.proxy, L"proxy.example:8080");
    EXPECT_EQ(findings.proxyBypass, L"<local>");
    EXPECT_FALSE(findings.isProxyForComputer);
    m_registry.SetDword(kSettings, L"ProxyEnable", 0);
    findings = FindConnection(true);
    EXPECT_EQ(findings.proxy + findings.proxyBypass, L"");
}

TEST_F(ConnectionFindingsTests, ScriptThatChoosesTheProxy)
{
    m_registry.SetString(kSettings, L"AutoConfigURL", L"http://proxy.example/proxy.pac");
    EXPECT_EQ(FindConnection(true).autoConfigUrl, L"http://proxy.example/proxy.pac");
}

TEST_F(ConnectionFindingsTests, ValuesOfDifferentTypes_CountAsAbsent)
{
    m_registry.SetString(kSettings, L"ProxyEnable", L"yes");
    m_registry.SetDword(kSettings, L"AutoConfigURL", 1);
    m_registry.SetString(kSettings, L"ProxyServer", L"proxy.example:8080");
    const ConnectionFindings findings = FindConnection(true);
    EXPECT_EQ(findings.proxy + findings.autoConfigUrl, L"");
}
} // namespace
