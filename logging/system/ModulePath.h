#pragma once

#include <windows.h>

#include <string>

namespace KVLogging
{
/// Full path of a module of this process (`GetModuleFileNameW`); null stands for the executable. Empty if it is
/// unavailable. Knows no limit but the system's.
std::wstring GetModulePath(HMODULE module);

/// The part after the last backslash.
std::wstring GetFilePart(const std::wstring& path);

/// The name without its extension, which begins at the last point.
std::wstring StripExtension(const std::wstring& fileName);

/// Handle of the module that contains the logging code (`GetModuleHandleExW`). Null, which stands for the executable,
/// if it is unavailable. Needs no release.
HMODULE GetLoggingModule() noexcept;
} // namespace KVLogging
