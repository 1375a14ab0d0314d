#include "fuzz/Input.h"
#include "utils/base/AsciiCase.h"
#include "utils/StringUtils.h"

using KVFuzz::Require;

namespace
{
bool IsWhite(wchar_t character)
{
    return character == L' ' || (character >= L'\t' && character <= L'\r');
}

// The straightforward implementation.
std::wstring TrimPlainly(std::wstring text)
{
    while (!text.empty() && IsWhite(text.front()))
    {
        text.erase(0, 1);
    }
    while (!text.empty() && IsWhite(text.back()))
    {
        text.pop_back();
    }
    return text;
}

std::wstring ReplacePlainly(const std::wstring& text, const std::wstring& from, const std::wstring& to)
{
    std::wstring result;
    for (std::size_t i = 0; i < text.size();)
    {
        if (!from.empty() && text.compare(i, from.size(), from) == 0)
        {
            result += to;
            i += from.size();
        }
        else
        {
            result += text[i++];
        }
    }
    return result;
}

int Sign(int value)
{
    return (value > 0) - (value < 0);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    KVFuzz::Input input(data, size);
    const std::wstring text = input.Text();
    const std::wstring from = input.Text(8);
    const std::wstring to = input.Text(8);

    Require(KVUtils::Trim(text) == TrimPlainly(text), "Trim takes white space off both ends");
    Require(KVUtils::Trim(text) == KVUtils::TrimLeft(KVUtils::TrimRight(text)),
            "the sides do not matter to each other");
    Require(KVUtils::ReplaceAll(text, from, to) == ReplacePlainly(text, from, to),
            "ReplaceAll replaces every occurrence");
    Require(KVUtils::StartsWith(from + text, from), "StartsWith sees a beginning");
    Require(KVUtils::EndsWith(text + from, from), "EndsWith sees an end");
    Require(KVUtils::StartsWith(text, from) == (text.compare(0, from.size(), from) == 0), "StartsWith is exact");
    Require(KVUtils::EndsWith(text, from) ==
                (text.size() >= from.size() && text.compare(text.size() - from.size(), from.size(), from) == 0),
            "EndsWith is exact");
    Require(KVUtils::CompareIgnoringAsciiCase(text, text) == 0, "a text is equal to itself");
    Require(Sign(KVUtils::CompareIgnoringAsciiCase(text, from)) == -Sign(KVUtils::CompareIgnoringAsciiCase(from, text)),
            "the order is the same from both sides");
    return 0;
}
