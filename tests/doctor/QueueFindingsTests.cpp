#include "doctor/findings/QueueFindings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/ClientTestSupport.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TemporaryFolder.h"
#include "winapi/handles/KernelHandles.h"

namespace
{
using KVAnalyticsDoctor::FindQueue;
using KVAnalyticsDoctor::QueueFindings;
using State = GAClient::QueueFileView::State;

constexpr wchar_t kFileName[] = L"Statlet_RequestQueue.txt";

class QueueFindingsTests : public testing::Test
{
protected:
    QueueFindings Find() const { return FindQueue(m_folder.GetPath() + L"\\"); }
    QueueFindings FindIn(const std::string& content) const
    {
        m_folder.WriteFile(kFileName, content);
        return Find();
    }

    KVTest::TemporaryFolder m_folder;
    KVTest::FixedTimeApi m_kernelApi{1000000};
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_swap{KVWinApi::g_kernelApi, m_kernelApi};
};

TEST_F(QueueFindingsTests, NoFolder_IsNoFile)
{
    const QueueFindings findings = FindQueue(L"");
    EXPECT_EQ(findings.path, L"");
    EXPECT_EQ(findings.view.state, State::kAbsent);
}

TEST_F(QueueFindingsTests, NoFile)
{
    const QueueFindings findings = Find();
    EXPECT_EQ(findings.path, m_folder.PathOf(kFileName));
    EXPECT_EQ(findings.view.state, State::kAbsent);
    EXPECT_FALSE(findings.oldestAgeSeconds);
}

TEST_F(QueueFindingsTests, File_IsReadAndLeftAsItIs)
{
    const QueueFindings findings = FindIn("/a#999000\n/b\n/c#999990\nhalf");
    EXPECT_EQ(findings.view.state, State::kRead);
    EXPECT_EQ(findings.view.requests, (std::vector<std::wstring>{L"/a#999000", L"/b", L"/c#999990", L"half"}));
    EXPECT_EQ(findings.view.size, 27);
    EXPECT_EQ(findings.oldestAgeSeconds, 1000);
    EXPECT_FALSE(findings.isFull);
    EXPECT_EQ(KVTest::ReadFileBytes(findings.path), "/a#999000\n/b\n/c#999990\nhalf");
}

TEST_F(QueueFindingsTests, TimesThatAreNoTimes)
{
    EXPECT_FALSE(FindIn("/a#\n/b\n").oldestAgeSeconds);
    EXPECT_EQ(FindIn("/a#1000001\n").oldestAgeSeconds, 0);                    // in the future
    EXPECT_EQ(FindIn("/a#-9223372036854775808\n").oldestAgeSeconds, 1000000); // before 1970
    EXPECT_EQ(FindIn("/a#99999999999999999999999\n").oldestAgeSeconds, 0);
}

TEST_F(QueueFindingsTests, NoMoreHitsThanARunTakes)
{
    std::string content;
    for (int i = 0; i < 600; ++i)
    {
        content += "/a\n";
    }
    EXPECT_EQ(FindIn(content).view.requests.size(), 500U);
}

TEST_F(QueueFindingsTests, FileToWhichNothingIsAppended)
{
    EXPECT_FALSE(FindIn(std::string(1048575, 'x')).isFull);
    EXPECT_TRUE(FindIn(std::string(1048576, 'x')).isFull);
}

TEST_F(QueueFindingsTests, FolderInItsPlace_IsUnreadable)
{
    m_folder.MakeFolder(kFileName);
    const QueueFindings findings = Find();
    EXPECT_EQ(findings.view.state, State::kUnreadable);
    EXPECT_NE(findings.view.error, static_cast<DWORD>(ERROR_SUCCESS));
}

TEST_F(QueueFindingsTests, FileThatAnotherProgramHolds_IsUnreadable)
{
    const std::wstring path = m_folder.WriteFile(kFileName, "/a\n");
    const KVWinApi::CUniqueFile held(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(held.IsValid());
    EXPECT_EQ(Find().view.state, State::kUnreadable);
    EXPECT_EQ(Find().view.error, static_cast<DWORD>(ERROR_SHARING_VIOLATION));
}

TEST_F(QueueFindingsTests, FileThatARunHasOpen_IsRead)
{
    const std::wstring path = m_folder.WriteFile(kFileName, "/a\n");
    const KVWinApi::CUniqueFile held(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                                   FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                                   FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(held.IsValid());
    EXPECT_EQ(Find().view.state, State::kRead);
}
} // namespace
