#include "logging/shared/SharedBlock.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "logging/LogModule.h"
#include "logging/settings/SettingsBlock.h"
#include "logging/shared/ExtMonitor.h"
#include "tests/logging/LogTest.h"
#include "tests/logging/SystemCallPatches.h"
#include "tests/support/ChildProcess.h"

namespace
{
using namespace KVLogging;
using KVWinApi::CUniqueMutexHold;
using KVWinApi::CUniqueSystemHandle;
using KVWinApi::CUniqueView;
using KVWinApi::HoldMutex;

constexpr wchar_t kExecutable[] = L"proxy.exe";

struct TestBlock
{
    static constexpr wchar_t kKind[] = L"TestKind";
    static constexpr unsigned long kMappingBytes = 32;
    static constexpr std::uint64_t GetLayout() noexcept { return CombineLayout({sizeof(TestBlock)}); }

    explicit TestBlock(std::wstring executableName) : name(std::move(executableName)) { ++s_liveCount; }
    ~TestBlock() { --s_liveCount; }
    TestBlock(const TestBlock&) = delete;
    TestBlock& operator=(const TestBlock&) = delete;

    std::wstring name;
    static int s_liveCount;
};
int TestBlock::s_liveCount = 0;

std::wstring ObjectName(const wchar_t* suffix)
{
    return L"proxy[" + std::to_wstring(::GetCurrentProcessId()) + L"]" + suffix;
}

bool MutexExists(const std::wstring& name)
{
    const CUniqueSystemHandle mutex(::OpenMutexW(SYNCHRONIZE, FALSE, name.c_str()));
    return mutex.IsValid();
}

CUniqueSystemHandle OpenMapping(const std::wstring& name)
{
    return CUniqueSystemHandle(::OpenFileMappingW(FILE_MAP_READ, FALSE, name.c_str()));
}

// The reference count stands first in the mapping.
std::uint32_t ReadReferenceCount()
{
    const CUniqueSystemHandle mapping = OpenMapping(ObjectName(L"TestKindMappedFile"));
    const CUniqueView view(::MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, 0));
    return view.IsValid() ? *static_cast<const std::uint32_t*>(view.Get()) : 0;
}

// Holds a mutex on a thread of its own.
class HeldMutex
{
public:
    explicit HeldMutex(const std::wstring& name)
        : m_held(::CreateEventW(nullptr, TRUE, FALSE, nullptr)),
          m_release(::CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_thread([this, name] {
              const CUniqueSystemHandle mutex(::CreateMutexW(nullptr, FALSE, name.c_str()));
              const CUniqueMutexHold hold = HoldMutex(mutex.Get(), 10000);
              ::SetEvent(m_held.Get());
              ::WaitForSingleObject(m_release.Get(), 20000);
          })
    {
        ::WaitForSingleObject(m_held.Get(), 10000);
    }
    ~HeldMutex() { Release(); }
    HeldMutex(const HeldMutex&) = delete;
    HeldMutex& operator=(const HeldMutex&) = delete;
    void Release()
    {
        ::SetEvent(m_release.Get());
        if (m_thread.joinable())
        {
            m_thread.join();
        }
    }

private:
    CUniqueSystemHandle m_held;
    CUniqueSystemHandle m_release;
    std::thread m_thread;
};

TEST(SharedBlockTests, Attach_NamesMutexAndMappingAfterProgramAndProcess)
{
    CSharedBlock<TestBlock> block;
    ASSERT_TRUE(block.Attach(kExecutable));
    EXPECT_TRUE(MutexExists(ObjectName(L"TestKindLock")));
    EXPECT_TRUE(OpenMapping(ObjectName(L"TestKindMappedFile")).IsValid());
    block.Detach();
    EXPECT_FALSE(MutexExists(ObjectName(L"TestKindLock")));
    EXPECT_FALSE(OpenMapping(ObjectName(L"TestKindMappedFile")).IsValid());
}

TEST(SharedBlockTests, Attach_FirstMakesTheBlockTheLastDestroysIt)
{
    CSharedBlock<TestBlock> first;
    CSharedBlock<TestBlock> second;
    ASSERT_TRUE(first.Attach(kExecutable));
    ASSERT_TRUE(second.Attach(L"proxy.other"));
    EXPECT_EQ(TestBlock::s_liveCount, 1);
    ASSERT_NE(first.Get(), nullptr);
    EXPECT_EQ(first.Get(), second.Get());
    EXPECT_EQ(second.Get()->name, kExecutable);
    first.Detach();
    EXPECT_EQ(first.Get(), nullptr);
    EXPECT_EQ(TestBlock::s_liveCount, 1);
    second.Detach();
    EXPECT_EQ(TestBlock::s_liveCount, 0);
}

TEST(SharedBlockTests, Attach_Twice_CountsOnce)
{
    CSharedBlock<TestBlock> block;
    ASSERT_TRUE(block.Attach(kExecutable));
    ASSERT_TRUE(block.Attach(kExecutable));
    block.Detach();
    EXPECT_EQ(TestBlock::s_liveCount, 0);
}

// The modules of one image.

TEST(SharedBlockTests, Attach_SecondOfTheImage_OpensNothingAndCounts)
{
    const KVTest::MutexPatch mutexes;
    const KVTest::MappingPatch mappings;
    CSharedBlock<TestBlock> first;
    CSharedBlock<TestBlock> second;
    ASSERT_TRUE(first.Attach(kExecutable));
    ASSERT_TRUE(second.Attach(kExecutable));
    EXPECT_EQ(KVTest::MutexPatch::GetNames(), std::vector{ObjectName(L"TestKindLock")});
    EXPECT_EQ(KVTest::MappingPatch::GetMappings().size(), 1u);
    EXPECT_EQ(ReadReferenceCount(), 2u);
}

TEST(SharedBlockTests, Attach_AfterTheLastHasDetached_OpensAnew)
{
    CSharedBlock<TestBlock> first;
    ASSERT_TRUE(first.Attach(kExecutable));
    first.Detach();
    const KVTest::MutexPatch mutexes;
    const KVTest::MappingPatch mappings;
    CSharedBlock<TestBlock> second;
    ASSERT_TRUE(second.Attach(kExecutable));
    EXPECT_EQ(KVTest::MutexPatch::GetNames().size(), 1u);
    EXPECT_EQ(KVTest::MappingPatch::GetMappings().size(), 1u);
    EXPECT_EQ(ReadReferenceCount(), 1u);
}

struct DetachOrderRow
{
    const char* name;
    std::array<std::size_t, 3> order;
};

class SharedBlockDetachTests : public testing::TestWithParam<DetachOrderRow>
{
};

TEST_P(SharedBlockDetachTests, Detach_OthersKeepTheBlockAndTheNamesUntilTheLast)
{
    std::array<CSharedBlock<TestBlock>, 3> blocks;
    for (CSharedBlock<TestBlock>& block : blocks)
    {
        ASSERT_TRUE(block.Attach(kExecutable));
    }
    std::uint32_t left = 3;
    for (const std::size_t i : GetParam().order)
    {
        EXPECT_EQ(ReadReferenceCount(), left--);
        EXPECT_EQ(blocks.at(i).Get()->name, kExecutable);
        EXPECT_NE(blocks.at(i).GetMutex(), nullptr);
        blocks.at(i).Detach();
        EXPECT_EQ(blocks.at(i).GetMutex(), nullptr);
    }
    EXPECT_EQ(TestBlock::s_liveCount, 0);
    EXPECT_FALSE(MutexExists(ObjectName(L"TestKindLock")));
    EXPECT_FALSE(OpenMapping(ObjectName(L"TestKindMappedFile")).IsValid());
}

INSTANTIATE_TEST_SUITE_P(Rows, SharedBlockDetachTests,
                         testing::Values(DetachOrderRow{"FirstToLast", {0, 1, 2}},
                                         DetachOrderRow{"LastToFirst", {2, 1, 0}},
                                         DetachOrderRow{"MiddleFirst", {1, 0, 2}}),
                         [](const auto& row) { return row.param.name; });

TEST(SharedBlockTests, Attach_MutexTakenFromTheSecondOfTheImage_SucceedsLaterEvenIfTheFirstIsGone)
{
    CSharedBlock<TestBlock> first;
    CSharedBlock<TestBlock> second;
    ASSERT_TRUE(first.Attach(kExecutable));
    {
        const HeldMutex held(ObjectName(L"TestKindLock"));
        EXPECT_FALSE(second.Attach(kExecutable));
    }
    EXPECT_EQ(ReadReferenceCount(), 1u);
    first.Detach();
    EXPECT_EQ(TestBlock::s_liveCount, 0);
    EXPECT_FALSE(OpenMapping(ObjectName(L"TestKindMappedFile")).IsValid());
    EXPECT_TRUE(second.Attach(kExecutable));
    EXPECT_EQ(ReadReferenceCount(), 1u);
}

TEST(SharedBlockTests, Attach_ThatFails_LeavesNothingOpen)
{
    const CUniqueSystemHandle event(::CreateEventW(nullptr, FALSE, FALSE, ObjectName(L"TestKindMappedFile").c_str()));
    CSharedBlock<TestBlock> block;
    EXPECT_FALSE(block.Attach(kExecutable));
    EXPECT_EQ(block.GetMutex(), nullptr);
    EXPECT_FALSE(MutexExists(ObjectName(L"TestKindLock")));
}

TEST(SharedBlockTests, AttachAndDetach_OnManyThreads_EachSeesABlockAndTheLastDestroysIt)
{
    constexpr int kThreads = 3;
    constexpr int kRounds = 40;
    std::atomic<int> attached = 0;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i)
    {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round)
            {
                CSharedBlock<TestBlock> block;
                while (!block.Attach(kExecutable)) // a busy machine may exceed the wait
                {
                }
                attached += block.Get()->name == kExecutable ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(attached, kThreads * kRounds);
    EXPECT_EQ(TestBlock::s_liveCount, 0);
    EXPECT_FALSE(MutexExists(ObjectName(L"TestKindLock")));
    EXPECT_FALSE(OpenMapping(ObjectName(L"TestKindMappedFile")).IsValid());
}

TEST(SharedBlockTests, Attach_MutexTaken_StaysUnattachedAfterTheWaitAndSucceedsLater)
{
    HeldMutex held(ObjectName(L"TestKindLock"));
    CSharedBlock<TestBlock> block;
    const DWORD start = ::GetTickCount();
    EXPECT_FALSE(block.Attach(kExecutable));
    EXPECT_GE(::GetTickCount() - start, 40u); // 50 ms, less the granularity of the count
    EXPECT_FALSE(block.IsAttached());
    EXPECT_EQ(block.Get(), nullptr);
    held.Release();
    EXPECT_TRUE(block.Attach(kExecutable));
}

TEST(SharedBlockTests, Attach_AbandonedMutex_CountsAsObtained)
{
    // The handle here keeps the mutex, the thread that owns it ends.
    const std::wstring name = ObjectName(L"TestKindLock");
    const CUniqueSystemHandle mutex(::CreateMutexW(nullptr, FALSE, name.c_str()));
    std::thread([&] { ::WaitForSingleObject(mutex.Get(), INFINITE); }).join();
    CSharedBlock<TestBlock> block;
    EXPECT_TRUE(block.Attach(kExecutable));
}

// Objects that take the names beforehand, as any program of the session can.

enum class Squat
{
    kImageSection, // of a program file whose first bytes look like the header of a new mapping
    kReservedPages,
    kReadOnlyFile,
    kEventOfTheMappingsName,
    kEventOfTheMutexName,
};

struct SquatRow
{
    const char* name;
    Squat squat;
};

class SquattedNames
{
public:
    SquattedNames(Squat squat, const std::wstring& mutexName, const std::wstring& mappingName)
    {
        switch (squat)
        {
        case Squat::kImageSection:
            Open(WriteProgram());
            Map(PAGE_READONLY | SEC_IMAGE, 0, mappingName);
            break;
        case Squat::kReservedPages:
            Map(PAGE_READWRITE | SEC_RESERVE, 4096, mappingName);
            break;
        case Squat::kReadOnlyFile:
            Open(m_folder.WriteFile(L"zeros", std::string(4096, '\0')));
            Map(PAGE_READONLY, 0, mappingName);
            break;
        case Squat::kEventOfTheMappingsName:
            m_object.Reset(::CreateEventW(nullptr, FALSE, FALSE, mappingName.c_str()));
            break;
        case Squat::kEventOfTheMutexName:
            m_object.Reset(::CreateEventW(nullptr, FALSE, FALSE, mutexName.c_str()));
            break;
        }
        ::CloseHandle(m_file);
    }
    SquattedNames(const SquattedNames&) = delete;
    SquattedNames& operator=(const SquattedNames&) = delete;

    /// False when the system refused the object.
    bool IsMade() const noexcept { return m_object.IsValid(); }

private:
    // Zero where the mapping's header has its pointer to the block; the system does not look at those bytes.
    std::wstring WriteProgram() const
    {
        std::string bytes = KVTest::ReadFileBytes(KVTest::PathBesideTest(L"kv_log_monitor.dll"));
        bytes.replace(8, 8, 8, '\0');
        return m_folder.WriteFile(L"program", bytes);
    }
    void Open(const std::wstring& path)
    {
        m_file = ::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_EXECUTE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                               nullptr);
    }
    void Map(DWORD protection, DWORD byteCount, const std::wstring& name)
    {
        m_object.Reset(::CreateFileMappingW(m_file, nullptr, protection, 0, byteCount, name.c_str()));
    }

    KVTest::TemporaryFolder m_folder;
    HANDLE m_file = INVALID_HANDLE_VALUE;
    CUniqueSystemHandle m_object;
};

class SharedBlockSquatTests : public testing::TestWithParam<SquatRow>
{
};

TEST_P(SharedBlockSquatTests, Attach_StaysUnattachedAndSucceedsOnceTheNameIsFree)
{
    CSharedBlock<TestBlock> block;
    {
        const SquattedNames names(GetParam().squat, ObjectName(L"TestKindLock"), ObjectName(L"TestKindMappedFile"));
        ASSERT_TRUE(names.IsMade()) << ::GetLastError();
        EXPECT_FALSE(block.Attach(kExecutable));
        EXPECT_FALSE(block.IsAttached());
        EXPECT_EQ(block.Get(), nullptr);
        EXPECT_EQ(TestBlock::s_liveCount, 0);
    }
    EXPECT_TRUE(block.Attach(kExecutable));
}

INSTANTIATE_TEST_SUITE_P(Rows, SharedBlockSquatTests,
                         testing::Values(SquatRow{"ImageSection", Squat::kImageSection},
                                         SquatRow{"ReservedPages", Squat::kReservedPages},
                                         SquatRow{"ReadOnlyFile", Squat::kReadOnlyFile},
                                         SquatRow{"EventOfTheMappingsName", Squat::kEventOfTheMappingsName},
                                         SquatRow{"EventOfTheMutexName", Squat::kEventOfTheMutexName}),
                         [](const auto& row) { return row.param.name; });

struct TwoPageBlock : TestBlock
{
    static constexpr unsigned long kMappingBytes = 8192;
    using TestBlock::TestBlock;
};

TEST(SharedBlockTests, Attach_MappingCommittedInPartOnly_StaysUnattached)
{
    const CUniqueSystemHandle mapping(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_RESERVE,
                                                           0, 8192, ObjectName(L"TestKindMappedFile").c_str()));
    const CUniqueView view(::MapViewOfFile(mapping.Get(), FILE_MAP_WRITE, 0, 0, 0));
    ASSERT_NE(::VirtualAlloc(view.Get(), 4096, MEM_COMMIT, PAGE_READWRITE), nullptr);
    CSharedBlock<TwoPageBlock> block;
    EXPECT_FALSE(block.Attach(kExecutable));
    CSharedBlock<TestBlock> onePage; // which the committed page holds
    EXPECT_TRUE(onePage.Attach(kExecutable));
}

// A mapping of the block's name that somebody made before the process did, with a pointer of his own in it.
class TakenMapping
{
public:
    explicit TakenMapping(const void* pointer)
        : m_mapping(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096,
                                         ObjectName(L"TestKindMappedFile").c_str())),
          m_view(::MapViewOfFile(m_mapping.Get(), FILE_MAP_WRITE, 0, 0, 4096))
    {
        SetPointer(pointer);
    }
    // It stands behind the reference count.
    void SetPointer(const void* pointer) { static_cast<const void**>(m_view.Get())[1] = pointer; }
    const void* GetPointer() const { return static_cast<void**>(m_view.Get())[1]; }
    void SetReferenceCount(std::uint32_t count) { *static_cast<std::uint32_t*>(m_view.Get()) = count; }
    void* GetView() const { return m_view.Get(); }

private:
    CUniqueSystemHandle m_mapping;
    CUniqueView m_view;
};

TEST(SharedBlockTests, Attach_PointerOfSomebodyElse_StaysUnattachedAndTouchesNothing)
{
    TakenMapping taken(nullptr);
    alignas(16) static const char s_constant[256] = {};
    alignas(16) static char s_variable[256] = {};
    const auto heap = std::make_unique<std::array<std::uint64_t, 64>>();
    void* const reserved = ::VirtualAlloc(nullptr, 4096, MEM_RESERVE, PAGE_READWRITE);
    void* const unreadable = ::VirtualAlloc(nullptr, 4096, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS);
    for (const void* pointer :
         {reinterpret_cast<const void*>(1), reinterpret_cast<const void*>(0x10000),
          reinterpret_cast<const void*>(0xFFFFFFFFFFFFFFF8), static_cast<const void*>(s_constant),
          static_cast<const void*>(s_variable), static_cast<const void*>(heap.get()),
          static_cast<const void*>(reinterpret_cast<const char*>(heap.get()) + 1), static_cast<const void*>(reserved),
          static_cast<const void*>(unreadable), static_cast<const void*>(taken.GetView())})
    {
        taken.SetPointer(pointer);
        CSharedBlock<TestBlock> block;
        EXPECT_FALSE(block.Attach(kExecutable)) << pointer;
        EXPECT_EQ(block.Get(), nullptr);
    }
    EXPECT_EQ(TestBlock::s_liveCount, 0);
}

TEST(SharedBlockTests, Attach_PointerThatChangesLater_KeepsTheBlock)
{
    TakenMapping taken(nullptr);
    CSharedBlock<TestBlock> block;
    ASSERT_TRUE(block.Attach(kExecutable));
    taken.SetPointer(reinterpret_cast<const void*>(0x10000));
    EXPECT_EQ(block.Get()->name, kExecutable);
    CSharedBlock<TestBlock> late;
    EXPECT_FALSE(late.Attach(kExecutable));
    block.Detach();
    EXPECT_EQ(TestBlock::s_liveCount, 0);
}

TEST(SharedBlockTests, Detach_CountThatSomebodyElseChanged_KeepsTheBlockForTheOthers)
{
    TakenMapping taken(nullptr);
    CSharedBlock<TestBlock> first;
    CSharedBlock<TestBlock> second;
    ASSERT_TRUE(first.Attach(kExecutable));
    ASSERT_TRUE(second.Attach(kExecutable));
    taken.SetReferenceCount(1);
    first.Detach();
    EXPECT_EQ(TestBlock::s_liveCount, 1);
    EXPECT_EQ(second.Get()->name, kExecutable);
}

TEST(SharedBlockTests, Attach_PointerToABlockThatIsGone_StaysUnattached)
{
    TakenMapping taken(nullptr);
    const void* gone = nullptr;
    {
        CSharedBlock<TestBlock> block;
        ASSERT_TRUE(block.Attach(kExecutable));
        gone = taken.GetPointer();
    }
    taken.SetPointer(gone);
    CSharedBlock<TestBlock> late;
    EXPECT_FALSE(late.Attach(kExecutable));
}

// What another version of the code would make of the block.
struct LargerBlock : TestBlock
{
    using TestBlock::TestBlock;
    int added = 0;
};
struct RearrangedBlock : TestBlock
{
    static constexpr std::uint64_t GetLayout() noexcept { return TestBlock::GetLayout() + 1; }
    using TestBlock::TestBlock;
};

template <typename First, typename Second> void ExpectNoSharing()
{
    CSharedBlock<First> first;
    ASSERT_TRUE(first.Attach(kExecutable));
    CSharedBlock<Second> second;
    EXPECT_FALSE(second.Attach(kExecutable));
    first.Detach();
    EXPECT_EQ(TestBlock::s_liveCount, 0);
    EXPECT_TRUE(second.Attach(kExecutable));
}

TEST(SharedBlockTests, Attach_BlockOfAnotherLayout_StaysUnattachedAsLongAsItExists)
{
    ExpectNoSharing<TestBlock, LargerBlock>();
    ExpectNoSharing<LargerBlock, TestBlock>();
    ExpectNoSharing<TestBlock, RearrangedBlock>();
}

TEST(SharedBlockTests, Layouts_DependOnEachValueAndOnTheOrder)
{
    static_assert(CombineLayout({1, 2}) == CombineLayout({1, 2}));
    EXPECT_NE(CombineLayout({1, 2}), CombineLayout({2, 1}));
    EXPECT_NE(CombineLayout({1, 2}), CombineLayout({1, 3}));
    EXPECT_NE(CombineLayout({1, 2}), CombineLayout({1, 2, 0}));
}

TEST(SharedBlockTests, Detach_MutexTaken_LeavesTheBlockAlone)
{
    CSharedBlock<TestBlock> block;
    ASSERT_TRUE(block.Attach(kExecutable));
    CSharedBlock<TestBlock> other;
    ASSERT_TRUE(other.Attach(kExecutable));
    HeldMutex held(ObjectName(L"TestKindLock"));
    block.Detach();
    EXPECT_FALSE(block.IsAttached());
    EXPECT_EQ(TestBlock::s_liveCount, 1);
    held.Release();
    EXPECT_EQ(other.Get()->name, kExecutable);
}

TEST(SharedBlockTests, Waits_AreFiftyMillisecondsLong)
{
    const KVTest::WaitPatch waits;
    CSharedBlock<TestBlock> block;
    ASSERT_TRUE(block.Attach(kExecutable));
    block.Detach();
    EXPECT_EQ(KVTest::WaitPatch::GetTimeouts(), (std::vector<DWORD>{50, 50}));
}

TEST(SharedBlockTests, Module_MakesMappingsOfTheFixedSizes)
{
    const std::wstring executable = KVTest::GetExecutableName();
    const std::wstring base =
        executable.substr(0, executable.rfind(L'.')) + L"[" + std::to_wstring(::GetCurrentProcessId()) + L"]";
    const KVTest::MappingPatch patch;
    const CLogModule module("Test", "");
    const std::vector<KVTest::MappingPatch::Mapping>& mappings = KVTest::MappingPatch::GetMappings();
    ASSERT_EQ(mappings.size(), 2u);
    EXPECT_EQ(mappings[0].name, base + L"RegValuesMappedFile");
    EXPECT_EQ(mappings[0].byteCount, 264u);
    EXPECT_EQ(mappings[1].name, base + L"ExtMonitorMappedFile");
    EXPECT_EQ(mappings[1].byteCount, 128u);
    for (const KVTest::MappingPatch::Mapping& mapping : mappings)
    {
        EXPECT_EQ(mapping.protection, static_cast<DWORD>(PAGE_READWRITE));
    }
}

TEST(SharedBlockTests, Module_OpensItsFourObjectsAndClosesThem)
{
    const std::wstring executable = KVTest::GetExecutableName();
    const std::wstring base =
        executable.substr(0, executable.rfind(L'.')) + L"[" + std::to_wstring(::GetCurrentProcessId()) + L"]";
    {
        const CLogModule first("First", "");
        const CLogModule second("Second", "");
        EXPECT_TRUE(MutexExists(base + L"RegValuesLock"));
        EXPECT_TRUE(MutexExists(base + L"ExtMonitorLock"));
        for (const wchar_t* kind : {L"RegValues", L"ExtMonitor"})
        {
            const CUniqueSystemHandle mapping = OpenMapping(base + kind + L"MappedFile");
            ASSERT_TRUE(mapping.IsValid());
            const CUniqueView view(::MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, 0));
            ASSERT_TRUE(view.IsValid());
            EXPECT_EQ(*static_cast<const std::uint32_t*>(view.Get()), 2u); // the reference count stands first
        }
    }
    EXPECT_FALSE(MutexExists(base + L"RegValuesLock"));
    EXPECT_FALSE(MutexExists(base + L"ExtMonitorLock"));
    EXPECT_FALSE(OpenMapping(base + L"RegValuesMappedFile").IsValid());
    EXPECT_FALSE(OpenMapping(base + L"ExtMonitorMappedFile").IsValid());
}

class SharedBlockModuleTests : public KVTest::LogTest
{
protected:
    static std::wstring NameOf(const wchar_t* suffix)
    {
        const std::wstring executable = KVTest::GetExecutableName();
        return executable.substr(0, executable.rfind(L'.')) + L"[" + std::to_wstring(::GetCurrentProcessId()) + L"]" +
               suffix;
    }
    static std::wstring SettingsMutexName() { return NameOf(L"RegValuesLock"); }
};

class SharedBlockModuleSquatTests : public SharedBlockModuleTests, public testing::WithParamInterface<SquatRow>
{
};

TEST_P(SharedBlockModuleSquatTests, SettingsNames_TheProgramGoesOnWithoutTheLog)
{
    UseFile(0x10);
    const SquattedNames names(GetParam().squat, NameOf(L"RegValuesLock"), NameOf(L"RegValuesMappedFile"));
    ASSERT_TRUE(names.IsMade()) << ::GetLastError();
    Log(0x10, L"lost");
    EndModule();
    EXPECT_EQ(ReadLog(), L"");
}

TEST_P(SharedBlockModuleSquatTests, MonitorNames_TheLogIsWrittenAllTheSame)
{
    UseFile(0xC10);
    const SquattedNames names(GetParam().squat, NameOf(L"ExtMonitorLock"), NameOf(L"ExtMonitorMappedFile"));
    ASSERT_TRUE(names.IsMade()) << ::GetLastError();
    Log(0x10, L"line");
    EndModule();
    EXPECT_EQ(ReadLog(), KVTest::Lines({L"(I0) line"}));
}

INSTANTIATE_TEST_SUITE_P(Rows, SharedBlockModuleSquatTests,
                         testing::Values(SquatRow{"ImageSection", Squat::kImageSection},
                                         SquatRow{"ReservedPages", Squat::kReservedPages},
                                         SquatRow{"ReadOnlyFile", Squat::kReadOnlyFile},
                                         SquatRow{"EventOfTheMappingsName", Squat::kEventOfTheMappingsName},
                                         SquatRow{"EventOfTheMutexName", Squat::kEventOfTheMutexName}),
                         [](const auto& row) { return row.param.name; });

TEST_F(SharedBlockModuleTests, SettingsMutexTaken_TheLineIsSkipped)
{
    UseFile(0x10);
    Log(0x10, L"before");
    {
        const HeldMutex held(SettingsMutexName());
        Log(0x10, L"lost");
    }
    Log(0x10, L"after");
    EXPECT_EQ(ReadLog(), KVTest::Lines({L"(I0) before", L"(I0) after"}));
}

TEST_F(SharedBlockModuleTests, SettingsMutexTaken_LinesThatAreNotWantedDoNotWait)
{
    Log(0x10, L"reads the registry");
    const HeldMutex held(SettingsMutexName());
    const KVTest::WaitPatch waits;
    Log(0x10, L"not wanted");
    EXPECT_EQ(KVTest::WaitPatch::GetTimeouts(), std::vector<DWORD>());
}

TEST_F(SharedBlockModuleTests, SettingsMutexTakenAtConstruction_TheModuleAttachesLater)
{
    UseFile(0x10);
    {
        const HeldMutex held(SettingsMutexName());
        Module();
    }
    Log(0x10, L"line");
    EXPECT_EQ(ReadLog(), KVTest::Lines({L"(I0) line"}));
}

TEST_F(SharedBlockModuleTests, SettingsMutexTakenAtDestruction_TheModuleGoesAllTheSame)
{
    UseFile(0x10);
    Log(0x10, L"line");
    const HeldMutex held(SettingsMutexName());
    EndModule();
    EXPECT_EQ(ReadLog(), KVTest::Lines({L"(I0) line"}));
}

TEST_F(SharedBlockModuleTests, SettingsMutexAbandoned_TheLineIsWritten)
{
    UseFile(0x10);
    Module();
    const CUniqueSystemHandle mutex(::OpenMutexW(SYNCHRONIZE, FALSE, SettingsMutexName().c_str()));
    std::thread([&] { ::WaitForSingleObject(mutex.Get(), INFINITE); }).join();
    Log(0x10, L"line");
    EXPECT_EQ(ReadLog(), KVTest::Lines({L"(I0) line"}));
}
} // namespace
