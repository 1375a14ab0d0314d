#include "ga_client/protocols/CacheBuster.h"

#include <gtest/gtest.h>

using Protocols::MeasurementParams::NextCacheBuster;

TEST(CacheBusterTests, FreshProcess_StartsTheSequenceThatEveryProcessHas)
{
    EXPECT_EQ(NextCacheBuster(), 6093677622);
    EXPECT_EQ(NextCacheBuster(), 7322882386);
    EXPECT_EQ(NextCacheBuster(), 8228121895);
}

// An independent generator of the documented kind: state 1, multiplier 214013, increment 2531011, bits 16 to 30.
TEST(CacheBusterTests, Sequence_IsThatOfTheDocumentedGenerator)
{
    std::uint32_t state = 1;
    const auto next = [&state] {
        state = state * 214013U + 2531011U;
        return std::uint64_t{(state >> 16) & 0x7FFF};
    };
    for (int i = 0; i < 10000; ++i)
    {
        const std::uint64_t high = next();
        const std::uint64_t low = next();
        const std::uint64_t expected = (high * 0x100000000U + low) % 8999999999U + 1000000000U;
        ASSERT_GE(expected, 1000000000U);
        ASSERT_LE(expected, 9999999998U);
        ASSERT_EQ(NextCacheBuster(), static_cast<std::int64_t>(expected)) << i;
    }
}
