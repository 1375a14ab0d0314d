#include "logging/LastErrorRestore.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace
{
using KVLogging::CLastErrorRestore;

TEST(LastErrorRestoreTests, Destruction_RestoresWhatWasThereAtConstruction)
{
    ::SetLastError(4711);
    {
        const CLastErrorRestore lastError;
        ::SetLastError(5);
        EXPECT_EQ(lastError.GetSaved(), 4711u);
    }
    EXPECT_EQ(::GetLastError(), 4711u);
}

TEST(LastErrorRestoreTests, Nested_EachRestoresItsOwn)
{
    ::SetLastError(1);
    {
        const CLastErrorRestore outer;
        ::SetLastError(2);
        {
            const CLastErrorRestore inner;
            ::SetLastError(3);
        }
        EXPECT_EQ(::GetLastError(), 2u);
    }
    EXPECT_EQ(::GetLastError(), 1u);
}

TEST(LastErrorRestoreTests, Class_HasAVirtualDestructor)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<CLastErrorRestore>);
}
} // namespace
