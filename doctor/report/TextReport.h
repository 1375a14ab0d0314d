#pragma once

#include "doctor/report/Report.h"

namespace KVAnalyticsDoctor
{
/// The report for people: a line for each value, in lines that end as those of Windows do. Values come from files and
/// the registry: characters that control a console or the direction of writing are shown as their number, and of a very
/// long value only its beginning and its length.
class CTextReport : public IReport
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
    std::wstring GetText() const override { return m_text; }

private:
    void Line(std::wstring_view label, std::wstring_view value);

    std::wstring m_text;
    std::size_t m_depth = 0;
    bool m_isListEmpty = false;
};
} // namespace KVAnalyticsDoctor
