// Run by with_https_server.py, which names its servers in the environment.

#include <windows.h>

#include <wincrypt.h>

#include <gtest/gtest.h>

#include <cstdlib>

#include "ga_client/http/HttpPostRequest.h"
#include "ga_client/SyncRequestTracker.h"
#include "tests/ga_client/RedirectedInternet.h"
#include "tests/support/ClientTestSupport.h"
#include "tests/support/ScopedSubstitute.h"

namespace
{
std::string Environment(const std::string& name)
{
    const char* value = std::getenv(("KV_HTTPS_" + name).c_str());
    return value != nullptr ? value : "";
}

std::vector<BYTE> FromHexadecimal(const std::string& text)
{
    constexpr int kHexadecimal = 16;
    std::vector<BYTE> bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
    {
        bytes.push_back(static_cast<BYTE>(std::stoi(text.substr(i, 2), nullptr, kHexadecimal)));
    }
    return bytes;
}

// The test's certificate authority is trusted while the object lives.
class TrustedAuthority
{
public:
    TrustedAuthority()
    {
        const std::vector<BYTE> bytes = FromHexadecimal(Environment("CA"));
        m_certificate =
            ::CertCreateCertificateContext(X509_ASN_ENCODING, bytes.data(), static_cast<DWORD>(bytes.size()));
        const HCERTSTORE store = ::CertOpenSystemStoreW(0, L"ROOT");
        m_isTrusted =
            ::CertAddCertificateContextToStore(store, m_certificate, CERT_STORE_ADD_REPLACE_EXISTING, nullptr) != FALSE;
        ::CertCloseStore(store, 0); // writes it; other programs read the written store
    }
    ~TrustedAuthority()
    {
        const HCERTSTORE store = ::CertOpenSystemStoreW(0, L"ROOT");
        const PCCERT_CONTEXT added =
            ::CertFindCertificateInStore(store, X509_ASN_ENCODING, 0, CERT_FIND_EXISTING, m_certificate, nullptr);
        if (added != nullptr)
        {
            ::CertDeleteCertificateFromStore(added);
        }
        ::CertCloseStore(store, 0);
        ::CertFreeCertificateContext(m_certificate);
    }
    TrustedAuthority(const TrustedAuthority&) = delete;
    TrustedAuthority& operator=(const TrustedAuthority&) = delete;

    bool IsTrusted() const noexcept { return m_isTrusted; }

private:
    PCCERT_CONTEXT m_certificate = nullptr;
    bool m_isTrusted = false;
};

class HttpsTests : public testing::Test
{
protected:
    HttpsTests() { EXPECT_TRUE(m_authority.IsTrusted()); }

    // Sends two hits to the server with this kind of certificate: the transport's results, and the hits that arrived.
    static bool SendTwo(const std::string& kind)
    {
        KVTest::RedirectedInternet<KVTest::LocalFolderApi> winApi(
            static_cast<INTERNET_PORT>(std::stoi(Environment("PORT_" + kind))));
        KVTest::ScopedSubstitute<KVWinApi::IWinApi> swap{KVWinApi::g_winApi, winApi};
        Http::CHttpPostRequest transport;
        const bool first = transport.Send(L"/collect?n=1", true);
        const bool second = transport.Send(L"/collect?n=2", true);
        EXPECT_EQ(first, second);
        return first && second;
    }
    static std::string Record()
    {
        const std::string path = "Z:" + Environment("RECORD");
        return KVTest::ReadFileBytes(std::wstring(path.begin(), path.end()));
    }
    static std::string BothOf(const std::string& kind)
    {
        return kind + " POST /collect?n=1\n" + kind + " POST /collect?n=2\n";
    }

    TrustedAuthority m_authority;
};
} // namespace

TEST_F(HttpsTests, RightCertificate_IsAccepted)
{
    EXPECT_TRUE(SendTwo("GOOD"));
    EXPECT_EQ(Record(), BothOf("GOOD"));
}

TEST_F(HttpsTests, CertificateOfAnotherHost_IsTolerated)
{
    EXPECT_TRUE(SendTwo("NAME"));
    EXPECT_EQ(Record(), BothOf("NAME"));
}

TEST_F(HttpsTests, ExpiredCertificate_IsTolerated)
{
    EXPECT_TRUE(SendTwo("DATE"));
    EXPECT_EQ(Record(), BothOf("DATE"));
}

TEST_F(HttpsTests, CertificateOfAnUnknownAuthority_IsRefused)
{
    EXPECT_FALSE(SendTwo("UNKNOWN"));
    EXPECT_EQ(Record(), "");
}

TEST_F(HttpsTests, Tracker_WithAServerThatIsNotTrusted_KeepsItsHits)
{
    const std::wstring name = KVTest::UniqueApplicationName();
    std::list<std::wstring> queue;
    {
        KVTest::RedirectedInternet<KVTest::LocalFolderApi> winApi(
            static_cast<INTERNET_PORT>(std::stoi(Environment("PORT_UNKNOWN"))));
        KVTest::ScopedSubstitute<KVWinApi::IWinApi> swap{KVWinApi::g_winApi, winApi};
        GAClient::CSyncRequestTracker tracker(name, L"1", true);
        tracker.SetDispatchHeld(false);
        EXPECT_FALSE(tracker.TrackRequest(L"/collect?n=1"));
        EXPECT_EQ(tracker.Dispatch(1), -1);
        tracker.GetQueuedRequests(queue);
    }
    EXPECT_EQ(queue, std::list<std::wstring>({L"/collect?n=1"}));
    EXPECT_EQ(Record(), "");
}
