#pragma once

// What the fuzzed sources use of the C runtime of Windows. Included before everything else.

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cwchar>

using errno_t = int;

constexpr std::size_t _MAX_DRIVE = 3;
constexpr std::size_t _MAX_DIR = 256;
constexpr std::size_t _MAX_FNAME = 256;
constexpr std::size_t _MAX_EXT = 256;

/// By the conventions of that runtime: `%s` is wide, `%I64d` a 64-bit number, no terminator in a full buffer.
int _vsnwprintf(wchar_t* buffer, std::size_t count, const wchar_t* format, std::va_list arguments);
int _vscwprintf(const wchar_t* format, std::va_list arguments);

errno_t _wsplitpath_s(const wchar_t* path, wchar_t* drive, std::size_t driveSize, wchar_t* directory,
                      std::size_t directorySize, wchar_t* name, std::size_t nameSize, wchar_t* extension,
                      std::size_t extensionSize);
