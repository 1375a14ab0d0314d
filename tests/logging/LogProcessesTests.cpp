#include <windows.h>

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <vector>

#include "tests/logging/LogTest.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Narrow.h"
#include "winapi/base/SystemHandles.h"

namespace
{
using KVWinApi::CUniqueSystemHandle;

constexpr int kWriters = 8;
constexpr int kLines = 1000;
constexpr DWORD kWaitMs = 50000;

CUniqueSystemHandle MakeEvent(const std::wstring& name, const std::wstring& index = L"")
{
    return CUniqueSystemHandle(::CreateEventW(nullptr, TRUE, FALSE, (name + index).c_str()));
}

std::wstring WriterCommandLine(const std::wstring& path, const std::wstring& name, const std::wstring& index)
{
    return L"\"" + KVTest::PathBesideTest(L"kv_log_writer.exe") + L"\" write \"" + path + L"\" " + name + L" " + index +
           L" " + std::to_wstring(kLines);
}

// Eight processes write one file as fast as they can. Each line is there once and whole, each writer's in their order;
// nothing else is in the file but the marker lines of the queues.
TEST(LogProcessesTests, EightWritersOfOneFile_LoseTearAndMixNothing)
{
    const KVTest::TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"shared.log");
    const std::wstring name = L"KVTestWriters" + std::to_wstring(::GetCurrentProcessId());
    const CUniqueSystemHandle start = MakeEvent(name + L"Start");
    std::vector<CUniqueSystemHandle> written;
    std::vector<CUniqueSystemHandle> drain;
    std::vector<std::unique_ptr<KVTest::ChildProcess>> writers;
    for (int i = 0; i < kWriters; ++i)
    {
        const std::wstring index = std::to_wstring(i);
        written.push_back(MakeEvent(name + L"Written", index));
        drain.push_back(MakeEvent(name + L"Drain", index));
        writers.push_back(std::make_unique<KVTest::ChildProcess>(WriterCommandLine(path, name, index)));
    }
    ::SetEvent(start.Get());
    for (const CUniqueSystemHandle& event : written)
    {
        ASSERT_EQ(::WaitForSingleObject(event.Get(), kWaitMs), WAIT_OBJECT_0);
    }
    // One after the other, so that the last line of each meets a free file.
    for (std::size_t i = 0; i < writers.size(); ++i)
    {
        ::SetEvent(drain[i].Get());
        ASSERT_EQ(writers[i]->WaitForExit(kWaitMs), 0u);
    }

    std::vector<int> next(kWriters, 0);
    std::size_t openFrames = 0;
    std::istringstream log(KVTest::Narrow(KVTest::ReadUtf16File(path)));
    for (std::string line; std::getline(log, line);)
    {
        ASSERT_FALSE(line.empty());
        ASSERT_EQ(line.back(), '\r') << line;
        line.pop_back();
        if (line == "--- Queued Lines Start ---")
        {
            ASSERT_EQ(openFrames++, 0u); // a queue is written in one go, while the file is not shared
            continue;
        }
        if (line == "--- Queued Lines End ---")
        {
            ASSERT_EQ(openFrames--, 1u);
            continue;
        }
        int writer = -1;
        int number = -1;
        ASSERT_EQ(std::sscanf(line.c_str(), "(I0) writer %d line %d", &writer, &number), 2) << line;
        ASSERT_EQ(line, "(I0) writer " + std::to_string(writer) + " line " + std::to_string(number) + " end");
        ASSERT_TRUE(writer >= 0 && writer < kWriters) << line;
        ASSERT_EQ(number, next[static_cast<std::size_t>(writer)]++) << line;
    }
    EXPECT_EQ(openFrames, 0u);
    EXPECT_EQ(next, std::vector<int>(kWriters, kLines + 1));
}
} // namespace
