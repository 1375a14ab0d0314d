#pragma once

#include <windows.h>

#include <string>

namespace KVLogging
{
/// Full path of a module of this process (`GetModuleFileNameW`), null for the executable. Empty when it is not to be
/// had.
std::wstring GetModulePath(HMODULE module);

/// The part behind the last backslash.
std::wstring GetFilePart(const std::wstring& path);

/// The name without its extension, the last point with what follows.
std::wstring StripExtension(const std::wstring& fileName);

/// Handle of the module that contains the logging code; null, which stands for the executable, when it is not to be
/// had. Needs no release.
HMODULE GetLoggingModule() noexcept;
} // namespace KVLogging
