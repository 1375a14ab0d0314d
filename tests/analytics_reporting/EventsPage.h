#pragma once

#include <string>
#include <vector>

namespace KVTest
{
/// The page docs/events.md of the source tree. Throws std::runtime_error if it cannot be read or a heading is
/// missing. Texts are without the page's backticks.
class EventsPage
{
public:
    EventsPage();

    using Row = std::vector<std::wstring>; // of cells

    /// The first table behind a heading ("## Operations"), without its head.
    std::vector<Row> GetTable(const std::wstring& heading) const;

    struct Example
    {
        std::wstring title;             // its own heading, for example a call
        std::vector<std::wstring> hits; // the indented lines below it
    };
    /// The headings of the third level below one of the second, each with the indented lines below it.
    std::vector<Example> GetExamples(const std::wstring& heading) const;
    /// The hits of the example with that title; throws std::runtime_error unless there is exactly one.
    std::vector<std::wstring> GetHits(const std::wstring& heading, const std::wstring& title) const;

private:
    std::vector<std::wstring>::const_iterator Find(const std::wstring& heading) const;

    std::vector<std::wstring> m_lines;
};
} // namespace KVTest
