#include "doctor/report/JsonReport.h"

namespace KVAnalyticsDoctor
{
void CJsonReport::BeginSection(const wchar_t* member, const wchar_t* /*title*/)
{
    BeginMember(member);
    m_text += L'{';
    ++m_depth;
    m_isFirst = true;
}

void CJsonReport::EndSection()
{
    End(L'}');
}

void CJsonReport::BeginList(const wchar_t* member, const wchar_t* /*label*/)
{
    BeginMember(member);
    m_text += L'[';
    ++m_depth;
    m_isFirst = true;
}

void CJsonReport::EndList()
{
    End(L']');
}

void CJsonReport::BeginItem()
{
    BeginLine();
    m_text += L'{';
    ++m_depth;
    m_isFirst = true;
}

void CJsonReport::EndItem()
{
    End(L'}');
}

void CJsonReport::Text(const wchar_t* member, const wchar_t* /*label*/, std::wstring_view value)
{
    BeginMember(member);
    Quote(value);
}

void CJsonReport::Number(const wchar_t* member, const wchar_t* /*label*/, std::int64_t value, const wchar_t* /*unit*/)
{
    BeginMember(member);
    m_text += std::to_wstring(value);
}

void CJsonReport::Bits(const wchar_t* member, const wchar_t* label, std::uint32_t value)
{
    Number(member, label, value, L"");
}

void CJsonReport::Flag(const wchar_t* member, const wchar_t* /*label*/, bool value)
{
    BeginMember(member);
    m_text += value ? L"true" : L"false";
}

void CJsonReport::Missing(const wchar_t* member, const wchar_t* /*label*/, const wchar_t* /*why*/)
{
    BeginMember(member);
    m_text += L"null";
}

void CJsonReport::Hint(std::wstring_view /*text*/)
{
}

void CJsonReport::BeginMember(const wchar_t* member)
{
    BeginLine();
    Quote(member);
    m_text += L": ";
}

void CJsonReport::BeginLine()
{
    m_text += m_isFirst ? L"\n" : L",\n";
    m_text.append(2 * m_depth, L' ');
    m_isFirst = false;
}

void CJsonReport::End(wchar_t bracket)
{
    --m_depth;
    if (!m_isFirst)
    {
        m_text += L'\n';
        m_text.append(2 * m_depth, L' ');
    }
    m_text += bracket;
    m_isFirst = false;
}

void CJsonReport::Quote(std::wstring_view text)
{
    m_text += L'"';
    for (const wchar_t unit : text)
    {
        if (unit == L'"' || unit == L'\\')
        {
            m_text += L'\\';
            m_text += unit;
        }
        else if (unit >= 0x20 && unit < 0x7F)
        {
            m_text += unit;
        }
        else
        {
            m_text += L"\\u";
            for (int shift = 12; shift >= 0; shift -= 4)
            {
                m_text += L"0123456789abcdef"[(unit >> shift) & 0xF];
            }
        }
    }
    m_text += L'"';
}
} // namespace KVAnalyticsDoctor
