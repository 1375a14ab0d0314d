#include "utils/base/Decimal.h"

namespace KVUtils
{
CDecimalText::CDecimalText(std::int64_t number) noexcept
{
    constexpr std::uint64_t kTen = 10;
    const bool isNegative = number < 0;
    // In unsigned arithmetic, since the smallest number has no positive counterpart.
    std::uint64_t magnitude = isNegative ? 0 - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number);
    do
    {
        m_text[--m_begin] = static_cast<wchar_t>(L'0' + magnitude % kTen);
        magnitude /= kTen;
    } while (magnitude != 0);
    if (isNegative)
    {
        m_text[--m_begin] = L'-';
    }
}

std::wstring_view CDecimalText::View() const noexcept
{
    return {ZeroTerminated(), kRoom - 1 - m_begin};
}

void AppendDecimal(std::wstring& out, std::int64_t number)
{
    out += CDecimalText(number).View();
}

std::wstring ToDecimal(std::int64_t number)
{
    return std::wstring(CDecimalText(number).View());
}
} // namespace KVUtils
