#include "tests/support/ScopedSubstitute.h"

#include <gtest/gtest.h>

namespace
{
struct Interface
{
    virtual ~Interface() = default;
};
struct Derived : Interface
{
};

TEST(ScopedSubstituteTests, Scope_SwapsThePointerAndRestoresIt)
{
    Interface original;
    Derived substitute;
    Interface* pointer = &original;
    {
        const KVTest::ScopedSubstitute swap(pointer, substitute);
        EXPECT_EQ(pointer, &substitute);
    }
    EXPECT_EQ(pointer, &original);
}

TEST(ScopedSubstituteTests, NestedScopes_RestoreOneAfterTheOther)
{
    Interface original;
    Interface outer;
    Interface inner;
    Interface* pointer = &original;
    const KVTest::ScopedSubstitute outerSwap(pointer, outer);
    {
        const KVTest::ScopedSubstitute innerSwap(pointer, inner);
        EXPECT_EQ(pointer, &inner);
    }
    EXPECT_EQ(pointer, &outer);
}
} // namespace
