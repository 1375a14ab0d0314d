#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace KVAnalyticsDoctor
{
/// A report as it is written, value by value. member names a value for tools, label for people; both are literals.
///
/// A report is a sequence of sections; a section has values and lists; a list has items; an item has values and lists.
class IReport
{
public:
    virtual ~IReport() = default;

    virtual void BeginSection(const wchar_t* member, const wchar_t* title) = 0;
    virtual void EndSection() = 0;
    virtual void BeginList(const wchar_t* member, const wchar_t* label) = 0;
    virtual void EndList() = 0;
    virtual void BeginItem() = 0;
    virtual void EndItem() = 0;

    /// Any text, of any length.
    virtual void Text(const wchar_t* member, const wchar_t* label, std::wstring_view value) = 0;
    /// unit: for people, a literal with a blank in front, or empty.
    virtual void Number(const wchar_t* member, const wchar_t* label, std::int64_t value, const wchar_t* unit) = 0;
    /// For people in hexadecimal digits.
    virtual void Bits(const wchar_t* member, const wchar_t* label, std::uint32_t value) = 0;
    virtual void Flag(const wchar_t* member, const wchar_t* label, bool value) = 0;
    /// There is no value. why: for people.
    virtual void Missing(const wchar_t* member, const wchar_t* label, const wchar_t* why) = 0;
    /// A remark for people only.
    virtual void Hint(std::wstring_view text) = 0;

    /// The report so far.
    virtual std::wstring GetText() const = 0;
};
} // namespace KVAnalyticsDoctor
