#pragma once

#include <string>

namespace GAClient
{
/// Facts about the computer in the form that hits carry; empty if they cannot be read. Safe on any thread; nothing is
/// cached.

/// Width and height of the desktop window in pixels, for example 1920x1080 (`GetDeviceCaps`).
std::wstring GetScreenResolution();
/// Bits per pixel of the whole screen, for example 32-bit (`GetDeviceCaps`).
std::wstring GetColourDepth();
/// Language and country of the user's locale, for example en-US (`GetLocaleInfoW`). Empty if either is missing.
std::wstring GetUserLanguage();
/// Version of Windows, for example 6.1 (`VerifyVersionInfoW`, `GetVersionExW`). "6.3" on 6.3. Deliberate: empty on
/// later versions, where the plain version query reports 6.2 to a program whose manifest does not name them.
std::wstring GetOsVersion();
/// The user agent, for example Statlet/1.0 (Windows NT 6.1; x64). On systems after 6.3 it has no version:
/// Statlet/1.0 (Windows NT ; x64).
std::wstring GetUserAgent();
} // namespace GAClient
