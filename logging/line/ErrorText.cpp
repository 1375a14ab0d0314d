#include "logging/line/ErrorText.h"

#include <windows.h>

#include <algorithm>
#include <optional>

#include "logging/line/TextFormat.h"
#include "winapi/base/LocalMemory.h"

namespace KVLogging
{
namespace
{
std::optional<std::wstring> GetSystemText(std::uint32_t errorCode)
{
    // Without FORMAT_MESSAGE_IGNORE_INSERTS: a text with inserts, for which there are no arguments, counts as none.
    constexpr DWORD kFlags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM;
    constexpr DWORD kUserLanguage = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT);
    static_assert(kUserLanguage == 0x400);
    wchar_t* text = nullptr;
    const DWORD length =
        ::FormatMessageW(kFlags, nullptr, errorCode, kUserLanguage, reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    const KVWinApi::CUniqueLocalMemory<wchar_t> owner(text);
    if (length == 0 || text == nullptr)
    {
        return std::nullopt;
    }
    return std::wstring(text, length);
}

void RemoveLastTwo(std::wstring& text)
{
    text.resize(text.size() - std::min<std::size_t>(text.size(), 2));
}

// Lets the formatter write behind what the buffer holds. False if it does not know the code.
bool AppendByFormatter(std::wstring& text, std::uint32_t errorCode, ErrorTextFormatter formatter, ScratchBuffer& buffer)
{
    if (formatter == nullptr)
    {
        return false;
    }
    const std::size_t start = std::min(text.size(), buffer.size());
    const std::size_t room = buffer.size() - start;
    const std::size_t written = formatter(errorCode, buffer.data() + start, static_cast<std::uint32_t>(room));
    text.append(buffer.data() + start, std::min(written, room));
    return written != 0;
}
} // namespace

std::wstring ComposeErrorText(std::uint32_t errorCode, ErrorTextFormatter formatter, ScratchBuffer& buffer)
{
    std::wstring result;
    AppendFormatted(result, buffer, L"[Err: 0x%08X] ", errorCode);
    if (AppendByFormatter(result, errorCode, formatter, buffer))
    {
        return result;
    }
    std::optional<std::wstring> text = GetSystemText(errorCode);
    // Read after the look-up: a successful look-up leaves the last error alone, a failed one leaves its reason here.
    const DWORD lastError = ::GetLastError();
    if (text)
    {
        RemoveLastTwo(*text); // its line end
        result += *text;
    }
    if (lastError == errorCode)
    {
        return result;
    }
    if (const std::optional<std::wstring> lastErrorText = GetSystemText(lastError))
    {
        result += FormatText(L", [GLE: 0x%08X] %s ", static_cast<unsigned>(lastError), lastErrorText->c_str());
        // Deliberate: this removes the blank and the line feed, while the carriage return stays. The format is fixed.
        RemoveLastTwo(result);
    }
    return result;
}
} // namespace KVLogging
