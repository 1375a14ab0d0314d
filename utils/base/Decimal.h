#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace KVUtils
{
/// A number in decimal, with a sign only if it is negative, in a buffer of its own: formatting allocates nothing and
/// follows no locale. Used instead of `std::to_wstring` and `swprintf`, which add 34 KB to a program with g++.
class CDecimalText
{
public:
    explicit CDecimalText(std::int64_t number) noexcept;

    std::wstring_view View() const noexcept;
    /// Zero-terminated; valid as long as this object.
    const wchar_t* ZeroTerminated() const noexcept { return m_text.data() + m_begin; }

private:
    static constexpr std::size_t kRoom = 21; // -9223372036854775808 and the terminator
    std::array<wchar_t, kRoom> m_text{};     // filled from its end
    std::size_t m_begin = kRoom - 1;
};

/// Appends the number in decimal, without a temporary string.
void AppendDecimal(std::wstring& out, std::int64_t number);

std::wstring ToDecimal(std::int64_t number);
} // namespace KVUtils
