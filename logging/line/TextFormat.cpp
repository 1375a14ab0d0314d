#include "logging/line/TextFormat.h"

#include <cstddef>
#include <cwchar>

#if defined(_MSC_VER)
#include <cstdint>
#include <cstdlib>
#endif

namespace KVLogging
{
namespace
{
#if defined(_MSC_VER)
// Has a format that the runtime refuses fail, where this runtime would end the process.
class CRefusedFormatScope
{
public:
    CRefusedFormatScope() noexcept : m_previous(_set_thread_local_invalid_parameter_handler(&Ignore)) {}
    ~CRefusedFormatScope() { _set_thread_local_invalid_parameter_handler(m_previous); }
    CRefusedFormatScope(const CRefusedFormatScope&) = delete;
    CRefusedFormatScope& operator=(const CRefusedFormatScope&) = delete;

private:
    static void Ignore(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int, std::uintptr_t) noexcept {}

    _invalid_parameter_handler m_previous;
};
#else
class CRefusedFormatScope // msvcrt.dll answers with a failure by itself
{
};
#endif
} // namespace

// Counting first, so that a bad argument faults before anything is allocated that a fault would leave behind.
std::optional<std::wstring> FormatText(const wchar_t* format, va_list arguments)
{
    [[maybe_unused]] const CRefusedFormatScope refusedFormat{};
    va_list counted;
    va_copy(counted, arguments);
    const int length = _vscwprintf(format, counted);
    va_end(counted);
    if (length < 0)
    {
        return std::nullopt;
    }
    // Room for a text that another thread makes a little longer between counting and formatting; past that it is cut.
    constexpr std::size_t kSlack = 10;
    const std::size_t room = static_cast<std::size_t>(length) + kSlack;
    std::wstring text(room + 1, L'\0');
    // _vsnwprintf does not terminate what fills its room; the character after it does.
    const int written = _vsnwprintf(text.data(), room, format, arguments);
    text.resize(written >= 0 ? static_cast<std::size_t>(written) : ::wcslen(text.c_str()));
    return text;
}

std::wstring FormatText(const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::optional<std::wstring> text = FormatText(format, arguments);
    va_end(arguments);
    return std::move(text).value_or(std::wstring());
}

void AppendFormatted(std::wstring& text, ScratchBuffer& buffer, const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    _vsnwprintf(buffer.data(), buffer.size() - 1, format, arguments);
    va_end(arguments);
    buffer.back() = L'\0'; // where a text that fills the buffer ends
    text.append(buffer.data());
}
} // namespace KVLogging
