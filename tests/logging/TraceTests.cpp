#include "logging/Trace.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "tests/logging/LogTest.h"
#include "tests/support/Narrow.h"

namespace
{
std::atomic<int> s_allocationCount;
} // namespace

// Count what this program allocates.
void* operator new(std::size_t size)
{
    ++s_allocationCount;
    void* const memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

// The short form, used as a library uses it.
namespace TracedLibrary
{
KVLogging::CLogModule g_logModule("TracedLibrary", "01:02:03");

namespace
{
KV_TRACE_SOURCE(g_logModule, L"C:\\Source\\TraceTests.cpp");
} // namespace

int g_firstLine = 0;

void Traced()
{
    g_firstLine = __LINE__ + 1;
    KV_TRACE(L"TracedLibrary::CClass::Traced");
    KV_LOG(kLogWarning, L"plain");
    KV_LOGF(kLogInfo + 7, L"%s = %d", L"value", 5);
    if (g_firstLine > 0)
        KV_LOG(kLogError, L"in a statement without braces");
    else
        KV_LOGF(kLogError, L"no arguments");
}
} // namespace TracedLibrary

namespace
{
class TraceTests : public KVTest::LogTest
{
};

TEST_F(TraceTests, ShortForm_SuppliesModuleSourceFileNameAndLine)
{
    SetBase(L"LogInfoDetailLevel", 7);
    UseFile(0xCF0, 0x20000000);
    TracedLibrary::Traced();
    const auto number = [](int offset) {
        return "0" + std::to_string(1000 + TracedLibrary::g_firstLine + offset).substr(1);
    };
    EXPECT_TRUE(KVTest::Matches(
        ReadLog(), "\\d{10} " + number(0) + ": \\(->\\) CClass::Traced\r\n\\d{10} " + number(1) +
                       ": \\(WN\\) plain\r\n\\d{10} " + number(2) + ": \\(I7\\) value = 5\r\n\\d{10} " + number(4) +
                       ": \\(##\\) in a statement without braces\r\n" + "\\d{10}       \\(<-\\) CClass::Traced\r\n"))
        << KVTest::Narrow(ReadLog());
}

TEST_F(TraceTests, SourceFileKey_IsFoundByTheFilesName)
{
    UseFile(0xCF0);
    m_registry.SetDword(KVTest::ModuleKey(L"TracedLibrary") + L"\\TraceTests.CPP", L"LogCategories", 0x40);
    TracedLibrary::Traced();
    EXPECT_EQ(ReadLog(), KVTest::Lines({L"(WN) plain"}));
}

TEST_F(TraceTests, LineNotWanted_AllocatesNothing)
{
    SetBase(L"LogCategories", 0);
    m_registry.SetDword(KVTest::ModuleKey(L"TracedLibrary") + L"\\other.cpp", L"LogCategories", 0x40);
    TracedLibrary::Traced(); // reads the registry
    const int before = s_allocationCount;
    for (int i = 0; i < 10; ++i)
    {
        TracedLibrary::Traced();
    }
    EXPECT_EQ(s_allocationCount, before);
    EXPECT_GT(before, 0);
}
} // namespace
