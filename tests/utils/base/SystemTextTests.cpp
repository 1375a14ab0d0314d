#include "utils/base/SystemText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
using KVUtils::ReadSystemText;

// A text of the system: written if it fits, otherwise its length is reported in one of the two ways of the system.
class SystemTextSource
{
public:
    SystemTextSource(std::wstring text, bool isLengthKnown) : m_text(std::move(text)), m_isLengthKnown(isLengthKnown) {}

    std::optional<std::wstring> Read()
    {
        return ReadSystemText([this](wchar_t* buffer, DWORD room) -> std::size_t {
            m_rooms.push_back(room);
            if (m_text.size() < room)
            {
                m_text.copy(buffer, m_text.size());
                return m_text.size();
            }
            return m_isLengthKnown ? m_text.size() + 1 : room;
        });
    }
    const std::vector<std::size_t>& GetRooms() const { return m_rooms; }

private:
    std::wstring m_text;
    bool m_isLengthKnown;
    std::vector<std::size_t> m_rooms;
};

TEST(SystemTextTests, TextThatFits_IsReadAtOnce)
{
    SystemTextSource source(L"text", true);
    EXPECT_EQ(source.Read(), L"text");
    EXPECT_EQ(source.GetRooms(), std::vector<std::size_t>{260});
}

TEST(SystemTextTests, TextThatJustFits_IsWhole)
{
    const std::wstring text(259, L'x');
    EXPECT_EQ(SystemTextSource(text, false).Read(), text);
}

TEST(SystemTextTests, LongerText_IsReadAgainWithMoreRoom)
{
    for (const std::size_t length : {260u, 261u, 5000u, 32767u})
    {
        const std::wstring text(length, L'x');
        EXPECT_EQ(SystemTextSource(text, true).Read(), text) << length;
        EXPECT_EQ(SystemTextSource(text, false).Read(), text) << length;
    }
}

TEST(SystemTextTests, LongerThanAnyText_IsNothingAfterABoundedNumberOfCalls)
{
    for (const bool isLengthKnown : {true, false})
    {
        SystemTextSource source(std::wstring(32768, L'x'), isLengthKnown);
        EXPECT_EQ(source.Read(), std::nullopt);
        EXPECT_LE(source.GetRooms().size(), 8u);
    }
}

TEST(SystemTextTests, Failure_IsNothing)
{
    EXPECT_EQ(ReadSystemText([](wchar_t*, DWORD) { return DWORD{0}; }), std::nullopt);
}
} // namespace
