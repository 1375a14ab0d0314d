#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>

namespace Protocols::MeasurementParams
{
/// Appends the number in decimal, without a temporary string.
inline void AppendDecimal(std::wstring& out, std::int64_t number)
{
    constexpr std::size_t kLongest = 20; // -9223372036854775808
    char digits[kLongest];
    wchar_t wideDigits[kLongest];
    const char* const end = std::to_chars(digits, digits + kLongest, number).ptr;
    const wchar_t* const wideEnd = std::copy(static_cast<const char*>(digits), end, wideDigits);
    out.append(wideDigits, static_cast<std::size_t>(wideEnd - wideDigits));
}
} // namespace Protocols::MeasurementParams
