#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <string_view>

namespace KVTest
{
/// Source of random test cases. The seed is fixed, so that a test that passes once always passes. It is printed, and
/// the environment variable KV_TEST_SEED replaces it. Tests that share the work have each a part of its own, with other
/// cases.
class RandomCases
{
public:
    explicit RandomCases(std::uint32_t part = 0) : m_engine(ReadSeed() + part) {}

    /// Uniformly distributed from 0 up to, and not including, the bound.
    std::size_t Below(std::size_t bound) { return std::uniform_int_distribution<std::size_t>(0, bound - 1)(m_engine); }
    /// True once in so many times.
    bool OneIn(std::size_t count) { return Below(count) == 0; }
    template <typename Range> const auto& PickFrom(const Range& range) { return range[Below(std::size(range))]; }
    std::wstring Text(std::size_t length, std::wstring_view alphabet)
    {
        std::wstring text(length, L'\0');
        for (wchar_t& character : text)
        {
            character = PickFrom(alphabet);
        }
        return text;
    }

private:
    static std::uint32_t ReadSeed()
    {
        constexpr std::uint32_t kSeed = 20260417;
        const char* const given = std::getenv("KV_TEST_SEED");
        const auto seed = given != nullptr ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10)) : kSeed;
        std::cout << "seed " << seed << std::endl;
        return seed;
    }

    std::mt19937 m_engine;
};
} // namespace KVTest
