#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace KVFuzz
{
/// Ends the process, which the fuzzer reports as a finding.
inline void Require(bool holds, const char* what)
{
    if (!holds)
    {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

/// The values that a target derives from the fuzzer's bytes.
class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size) : m_provider(data, size) {}

    bool IsOver() { return m_provider.remaining_bytes() == 0; }
    bool Flag() { return m_provider.ConsumeBool(); }
    template <typename Number> Number Any() { return m_provider.ConsumeIntegral<Number>(); }
    template <typename Number> Number Between(Number low, Number high)
    {
        return m_provider.ConsumeIntegralInRange<Number>(low, high);
    }
    std::string Bytes(std::size_t longest = 200) { return m_provider.ConsumeRandomLengthString(longest); }
    std::string RestOfBytes() { return m_provider.ConsumeRemainingBytesAsString(); }

    /// Code units: bytes as they are, and with the escape 0xFF two bytes for one unit.
    std::wstring Text(std::size_t longest = 200)
    {
        std::wstring text;
        const std::string bytes = Bytes(longest);
        for (std::size_t i = 0; i < bytes.size(); ++i)
        {
            auto unit = static_cast<unsigned char>(bytes[i]);
            if (unit == 0xFF && i + 2 < bytes.size())
            {
                const auto high = static_cast<unsigned char>(bytes[i + 1]);
                const auto low = static_cast<unsigned char>(bytes[i + 2]);
                text += static_cast<wchar_t>(high * 256 + low);
                i += 2;
                continue;
            }
            text += static_cast<wchar_t>(unit);
        }
        return text;
    }

private:
    FuzzedDataProvider m_provider;
};
} // namespace KVFuzz
