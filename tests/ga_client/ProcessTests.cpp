#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <random>
#include <regex>

#include "ga_client/DataFolder.h"
#include "tests/ga_client/LoopbackServer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ClientTestSupport.h"
#include "tests/support/ScopedSubstitute.h"

using KVTest::LoopbackServer;
using Answer = LoopbackServer::Answer;
using Request = LoopbackServer::Request;

namespace
{
constexpr int kProcesses = 8;
constexpr int kHits = 10;
constexpr DWORD kEndMs = 40000;

class ProcessTests : public testing::Test
{
protected:
    ProcessTests()
    {
        // Written beforehand, so that all processes have the same id from their start.
        KVTest::ScopedSubstitute<KVWinApi::IWinApi> swap{KVWinApi::g_winApi, m_winApi};
        const std::wstring file = GAClient::GetDataFolder(m_name, L"1.2") + m_name + L".ini";
        EXPECT_TRUE(::WritePrivateProfileStringW(L"Users", L"UUID", KVTest::kSampleClientId, file.c_str()));
    }

    std::unique_ptr<KVTest::ChildProcess> Start(const std::wstring& mode, const std::wstring& name, int count)
    {
        return std::make_unique<KVTest::ChildProcess>(L"\"" + KVTest::PathBesideTest(L"kv_client_program.exe") +
                                                      L"\" " + std::to_wstring(m_server.GetPort()) + L" \"" +
                                                      m_winApi.localFolder.GetPath() + L"\" " + m_name + L" " + mode +
                                                      L" " + name + L" " + std::to_wstring(count));
    }
    // Eight processes at once, which track hits of names that begin with prefix.
    std::vector<std::unique_ptr<KVTest::ChildProcess>> StartAll(const std::wstring& mode, wchar_t prefix)
    {
        std::vector<std::unique_ptr<KVTest::ChildProcess>> processes;
        processes.reserve(kProcesses);
        for (int i = 0; i < kProcesses; ++i)
        {
            processes.push_back(Start(mode, prefix + std::to_wstring(i), kHits));
        }
        return processes;
    }
    // What a process sends that tracks nothing of its own: all that waits in the file.
    void Drain() { EXPECT_EQ(Start(L"send", L"none", 0)->WaitForExit(kEndMs), 0U); }
    std::string FileBytes() const
    {
        return KVTest::ReadFileBytes(m_winApi.DataFolder(m_name, L"1.2") + L"Statlet_RequestQueue.txt");
    }
    // The screen name of a hit that is whole, or the hit itself after a failure.
    static std::string ScreenOf(const std::string& target, const char* end)
    {
        static const std::regex s_form(
            "/collect\\?v=1&z=[0-9]{10}(&ul=[a-zA-Z-]+)?&de=UTF-8&je=0&sd=[0-9]+-bit&sr=[0-9]+x[0-9]+&vp=[0-9]+x[0-9]+&"
            "tid=XX-1&an=[A-Za-z0-9-]+&av=1\\.2&aip=1&cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&t=appview&cd=([ab][0-7]-"
            "[0-9])"
            "(&qt=[0-9.e+]+|#[0-9]{10})");
        std::smatch match;
        const bool isWhole = std::regex_match(target, match, s_form);
        EXPECT_TRUE(isWhole) << target;
        EXPECT_NE(target.find(end), std::string::npos) << target;
        return isWhole ? match[2].str() : target;
    }
    // How often each screen was accepted.
    std::map<std::string, int> AcceptedScreens()
    {
        std::map<std::string, int> screens;
        for (const std::string& target : m_server.Accepted())
        {
            ++screens[ScreenOf(target, "&qt=")];
        }
        return screens;
    }
    static std::map<std::string, int> EachOnce(const std::string& prefixes)
    {
        std::map<std::string, int> screens;
        for (const char prefix : prefixes)
        {
            for (int process = 0; process < kProcesses; ++process)
            {
                for (int hit = 0; hit < kHits; ++hit)
                {
                    screens[prefix + std::to_string(process) + "-" + std::to_string(hit)] = 1;
                }
            }
        }
        return screens;
    }

    std::atomic<int> m_status = 200;
    std::atomic<DWORD> m_delayMs = 0;
    LoopbackServer m_server{[this](const Request&) {
        Answer answer = LoopbackServer::Status(m_status);
        answer.delayMs = m_delayMs;
        return answer;
    }};
    KVTest::LocalFolderApi m_winApi;
    std::wstring m_name = KVTest::UniqueApplicationName();
};
} // namespace

TEST_F(ProcessTests, ProcessThatSendsAll_LeavesAnEmptyFile)
{
    EXPECT_EQ(Start(L"send", L"a0", 3)->WaitForExit(kEndMs), 0U);
    const std::map<std::string, int> expected = {{"a0-0", 1}, {"a0-1", 1}, {"a0-2", 1}};
    EXPECT_EQ(AcceptedScreens(), expected);
    EXPECT_EQ(FileBytes(), "");
}

TEST_F(ProcessTests, ProcessThatCannotSend_LeavesItsHitsToTheNext)
{
    m_status = 503;
    EXPECT_EQ(Start(L"leave", L"a0", 3)->WaitForExit(kEndMs), 0U);
    const std::string left = FileBytes();
    EXPECT_EQ(std::count(left.begin(), left.end(), '\n'), 3);
    EXPECT_TRUE(m_server.Accepted().empty());
    m_status = 200;
    EXPECT_EQ(Start(L"send", L"b0", 1)->WaitForExit(kEndMs), 0U);
    const std::map<std::string, int> expected = {{"a0-0", 1}, {"a0-1", 1}, {"a0-2", 1}, {"b0-0", 1}};
    EXPECT_EQ(AcceptedScreens(), expected);
    EXPECT_EQ(FileBytes(), "");
}

TEST_F(ProcessTests, ProcessThatLeavesAnExchangeBehind_EndsInTimeAndWhole)
{
    m_delayMs = 500;
    const ULONGLONG begin = ::GetTickCount64();
    EXPECT_EQ(Start(L"abandon", L"a0", 2)->WaitForExit(kEndMs), 0U);
    EXPECT_LT(::GetTickCount64() - begin, 20000U);
    EXPECT_LE(m_server.Arrived().size(), 1U); // no other exchange was begun
    // The worker came back before the process had ended, and touched nothing any more: it saved nothing either.
    EXPECT_EQ(::GetFileAttributesW((m_winApi.DataFolder(m_name, L"1.2") + L"Statlet_RequestQueue.txt").c_str()),
              INVALID_FILE_ATTRIBUTES);
}

// The network fails while eight processes track, save and take over each other's hits, and is healthy afterwards.
TEST_F(ProcessTests, EightProcesses_WithAFailingThenHealthyNetwork_DeliverEachHitOnce)
{
    m_status = 503;
    for (const auto& process : StartAll(L"leave", L'a'))
    {
        EXPECT_EQ(process->WaitForExit(kEndMs), 0U);
    }
    EXPECT_TRUE(m_server.Accepted().empty());
    const auto second = StartAll(L"send", L'b');
    ::Sleep(150);
    m_status = 200;
    for (const auto& process : second)
    {
        EXPECT_EQ(process->WaitForExit(kEndMs), 0U);
    }
    Drain();
    EXPECT_EQ(AcceptedScreens(), EachOnce("ab"));
    EXPECT_EQ(FileBytes(), "");
}

namespace
{
class AbruptEndTests : public ProcessTests, public testing::WithParamInterface<unsigned>
{
};
} // namespace

// Some of the processes are ended abruptly, at moments that the seed decides.
TEST_P(AbruptEndTests, EightProcesses_TearNothingAndSendNothingTwice)
{
    std::mt19937 random(GetParam());
    m_status = 503;
    const auto first = StartAll(L"send", L'a');
    ::Sleep(100);
    for (int i = 0; i < kProcesses; i += 2)
    {
        ::Sleep(static_cast<DWORD>(random() % 80));
        first[static_cast<std::size_t>(i)]->Terminate();
    }
    m_status = 200;
    for (int i = 1; i < kProcesses; i += 2)
    {
        EXPECT_EQ(first[static_cast<std::size_t>(i)]->WaitForExit(kEndMs), 0U);
    }
    m_delayMs = 5;
    const auto second = StartAll(L"send", L'b');
    for (int i = 0; i < kProcesses; i += 2)
    {
        ::Sleep(static_cast<DWORD>(random() % 120));
        second[static_cast<std::size_t>(i)]->Terminate();
    }
    for (int i = 1; i < kProcesses; i += 2)
    {
        EXPECT_EQ(second[static_cast<std::size_t>(i)]->WaitForExit(kEndMs), 0U);
    }
    Drain();
    EXPECT_EQ(FileBytes(), "");
    const std::map<std::string, int> tracked = EachOnce("ab");
    std::map<std::string, int> accepted = AcceptedScreens(); // each whole, or this fails
    for (const auto& [screen, times] : accepted)
    {
        EXPECT_TRUE(tracked.contains(screen)) << screen;
        EXPECT_EQ(times, 1) << screen;
    }
    // Processes that ended by themselves lose nothing of their own.
    for (const auto& [screen, times] : tracked)
    {
        if ((screen[1] - '0') % 2 == 1)
        {
            EXPECT_EQ(accepted[screen], 1) << screen;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, AbruptEndTests, testing::Range(1U, 4U));
