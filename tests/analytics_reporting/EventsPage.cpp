#include "tests/analytics_reporting/EventsPage.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "tests/support/BuiltFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace KVTest
{
namespace
{
constexpr wchar_t kIndentation[] = L"    ";

std::wstring Plain(std::wstring text)
{
    text.erase(std::remove(text.begin(), text.end(), L'`'), text.end());
    const std::size_t begin = text.find_first_not_of(L' ');
    return begin == std::wstring::npos ? L"" : text.substr(begin, text.find_last_not_of(L' ') - begin + 1);
}

// "| a | b |" has the cells "a" and "b".
EventsPage::Row CellsOf(const std::wstring& line)
{
    EventsPage::Row cells;
    std::wistringstream stream(line.substr(1));
    for (std::wstring cell; std::getline(stream, cell, L'|');)
    {
        cells.push_back(Plain(cell));
    }
    return cells;
}
} // namespace

EventsPage::EventsPage()
{
    std::istringstream stream(ReadFileBytes(PathInSources(L"docs/events.md")));
    for (std::string line; std::getline(stream, line);)
    {
        if (!line.empty() && line.back() == '\r')
        {
            line.pop_back();
        }
        m_lines.emplace_back(line.begin(), line.end()); // ASCII
    }
}

std::vector<EventsPage::Row> EventsPage::GetTable(const std::wstring& heading) const
{
    const auto isRow = [](const std::wstring& line) { return line.starts_with(L"|"); };
    const auto head = std::find_if(Find(heading), m_lines.end(), isRow);
    const auto end = std::find_if_not(head, m_lines.end(), isRow);
    std::vector<Row> rows;
    std::transform(head, end, std::back_inserter(rows), &CellsOf);
    if (rows.size() < 3)
    {
        throw std::runtime_error("a table without rows");
    }
    rows.erase(rows.begin(), rows.begin() + 2); // its head, and the line below that
    return rows;
}

std::vector<EventsPage::Example> EventsPage::GetExamples(const std::wstring& heading) const
{
    std::vector<Example> examples;
    for (auto line = std::next(Find(heading)); line != m_lines.end() && !line->starts_with(L"## "); ++line)
    {
        if (line->starts_with(L"### "))
        {
            examples.push_back({Plain(line->substr(4)), {}});
        }
        else if (line->starts_with(kIndentation))
        {
            examples.at(examples.size() - 1).hits.push_back(line->substr(4));
        }
    }
    return examples;
}

std::vector<std::wstring> EventsPage::GetHits(const std::wstring& heading, const std::wstring& title) const
{
    const std::vector<Example> examples = GetExamples(heading);
    const auto hasTitle = [&](const Example& example) { return example.title == title; };
    if (std::count_if(examples.begin(), examples.end(), hasTitle) != 1)
    {
        throw std::runtime_error("not exactly one example of that title");
    }
    return std::find_if(examples.begin(), examples.end(), hasTitle)->hits;
}

std::vector<std::wstring>::const_iterator EventsPage::Find(const std::wstring& heading) const
{
    auto found = std::find(m_lines.begin(), m_lines.end(), heading);
    if (found == m_lines.end())
    {
        throw std::runtime_error("no such heading");
    }
    return found;
}
} // namespace KVTest
