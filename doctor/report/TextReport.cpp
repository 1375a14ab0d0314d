#include "doctor/report/TextReport.h"

#include <algorithm>

namespace KVAnalyticsDoctor
{
namespace
{
constexpr wchar_t kLineEnd[] = L"\r\n";
constexpr std::size_t kIndentation = 2; // per depth
constexpr std::size_t kLabelWidth = 30; // indentation included
constexpr std::size_t kLongestValue = 400;

std::wstring Hexadecimal(std::uint32_t value, int digits)
{
    std::wstring text;
    for (int digit = digits - 1; digit >= 0; --digit)
    {
        text += L"0123456789ABCDEF"[(value >> (4 * digit)) & 0xF];
    }
    return text;
}

bool IsIn(wchar_t unit, wchar_t first, wchar_t last)
{
    return unit >= first && unit <= last;
}

bool IsControl(wchar_t unit)
{
    return unit < 0x20 || IsIn(unit, 0x7F, 0x9F) || unit == 0x61C || IsIn(unit, 0x200E, 0x200F) ||
           IsIn(unit, 0x2028, 0x202E) || IsIn(unit, 0x2066, 0x2069);
}

std::wstring Printable(std::wstring_view value)
{
    std::wstring text;
    for (const wchar_t unit : value.substr(0, kLongestValue))
    {
        if (IsControl(unit))
        {
            text += L"\\u" + Hexadecimal(unit, 4);
        }
        else
        {
            text += unit;
        }
    }
    if (value.size() > kLongestValue)
    {
        text += L"... (" + std::to_wstring(value.size()) + L" characters)";
    }
    return text;
}
} // namespace

void CTextReport::BeginSection(const wchar_t* /*member*/, const wchar_t* title)
{
    m_text += (m_text.empty() ? L"" : kLineEnd) + std::wstring(title) + kLineEnd;
    m_depth = 1;
}

void CTextReport::EndSection()
{
    m_depth = 0;
}

void CTextReport::BeginList(const wchar_t* /*member*/, const wchar_t* label)
{
    Line(label, L"");
    ++m_depth;
    m_isListEmpty = true;
}

void CTextReport::EndList()
{
    if (m_isListEmpty)
    {
        Line(L"none", L"");
    }
    m_isListEmpty = false;
    --m_depth;
}

void CTextReport::BeginItem()
{
    m_isListEmpty = false;
    Line(L"-", L"");
    ++m_depth;
}

void CTextReport::EndItem()
{
    --m_depth;
}

void CTextReport::Text(const wchar_t* /*member*/, const wchar_t* label, std::wstring_view value)
{
    Line(label, value.empty() ? std::wstring(L"(empty)") : Printable(value));
}

void CTextReport::Number(const wchar_t* /*member*/, const wchar_t* label, std::int64_t value, const wchar_t* unit)
{
    Line(label, std::to_wstring(value) + unit);
}

void CTextReport::Bits(const wchar_t* /*member*/, const wchar_t* label, std::uint32_t value)
{
    Line(label, L"0x" + Hexadecimal(value, 8));
}

void CTextReport::Flag(const wchar_t* /*member*/, const wchar_t* label, bool value)
{
    Line(label, value ? L"yes" : L"no");
}

void CTextReport::Missing(const wchar_t* /*member*/, const wchar_t* label, const wchar_t* why)
{
    Line(label, why);
}

void CTextReport::Hint(std::wstring_view text)
{
    Line(L"", text);
}

void CTextReport::Line(std::wstring_view label, std::wstring_view value)
{
    std::wstring line = std::wstring(kIndentation * m_depth, L' ').append(label);
    if (!value.empty())
    {
        line.resize(std::max(line.size() + 1, kLabelWidth), L' ');
        line += value;
    }
    m_text += line + kLineEnd;
}
} // namespace KVAnalyticsDoctor
