#pragma once

#include "doctor/report/Report.h"

namespace KVAnalyticsDoctor
{
/// The report for tools: one JSON object with a member for each section. ASCII only, whatever the values hold: every
/// other UTF-16 unit is escaped, so that no encoding can damage the report. Values are whole.
class CJsonReport : public IReport
{
public:
    void BeginSection(const wchar_t* member, const wchar_t* title) override;
    void EndSection() override;
    void BeginList(const wchar_t* member, const wchar_t* label) override;
    void EndList() override;
    void BeginItem() override;
    void EndItem() override;
    void Text(const wchar_t* member, const wchar_t* label, std::wstring_view value) override;
    void Number(const wchar_t* member, const wchar_t* label, std::int64_t value, const wchar_t* unit) override;
    void Bits(const wchar_t* member, const wchar_t* label, std::uint32_t value) override;
    void Flag(const wchar_t* member, const wchar_t* label, bool value) override;
    void Missing(const wchar_t* member, const wchar_t* label, const wchar_t* why) override;
    void Hint(std::wstring_view text) override;
    std::wstring GetText() const override { return m_text + L"\n}\n"; }

private:
    void BeginMember(const wchar_t* member);
    void BeginLine();
    void End(wchar_t bracket);
    void Quote(std::wstring_view text);

    std::wstring m_text = L"{";
    std::size_t m_depth = 1;
    bool m_isFirst = true; // no comma yet
};
} // namespace KVAnalyticsDoctor
