// kv_system_facts: prints what the system reports about itself, so tests do not depend on the machine:
// the width and height of the screen in pixels, the bits per pixel, and the user's language and country.

#include <windows.h>

#include <cstdio>

namespace
{
struct LocaleText
{
    wchar_t text[32] = {};
    explicit LocaleText(LCTYPE type)
    {
        ::GetLocaleInfoW(LOCALE_USER_DEFAULT, type, text, static_cast<int>(sizeof(text) / sizeof(text[0])));
    }
};
} // namespace

int wmain()
{
    const HDC screen = ::GetDC(nullptr);
    const int bitsPerPixel = ::GetDeviceCaps(screen, BITSPIXEL);
    ::ReleaseDC(nullptr, screen);
    std::printf("%d %d %d %ls %ls\n", ::GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CYSCREEN), bitsPerPixel,
                LocaleText(LOCALE_SISO639LANGNAME).text, LocaleText(LOCALE_SISO3166CTRYNAME).text);
    return 0;
}
