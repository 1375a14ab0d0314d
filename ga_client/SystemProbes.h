#pragma once

#include <string>

namespace GAClient
{
/// Facts about the computer as hits carry them; empty when they cannot be read. Any thread may ask at any time, nothing
/// is remembered.

/// Width and height of the desktop window in pixels, as in 1920x1080 (`GetDeviceCaps`).
std::wstring GetScreenResolution();
/// Bits per pixel of the whole screen, as in 32-bit (`GetDeviceCaps`).
std::wstring GetColourDepth();
/// Language and country of the user's locale, as in en-US (`GetLocaleInfoW`). Empty when either is missing.
std::wstring GetUserLanguage();
/// Version of Windows, as in 6.1. Exactly "6.3" on 6.3 and deliberately empty on later ones, on which the plain version
/// query reports 6.2 to a program that does not declare that it knows them (`VerifyVersionInfoW`, `GetVersionExW`).
std::wstring GetOsVersion();
/// The user agent, as in Statlet/1.0 (Windows NT 6.1; x64). On systems later than 6.3 the version is missing in it:
/// Statlet/1.0 (Windows NT ; x64).
std::wstring GetUserAgent();
} // namespace GAClient
