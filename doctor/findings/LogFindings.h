#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace KVAnalyticsDoctor
{
/// A value of the log settings as the registry holds it.
struct LogValue
{
    std::wstring name;
    bool isNumber = false;
    std::uint32_t number = 0;
    std::wstring text;
    bool isIgnored = false; ///< of a different type, so that a run takes it for absent
};

/// A key of the log settings with the values that a run reads there.
struct LogLevel
{
    std::wstring key; ///< below HKEY_CURRENT_USER
    std::vector<LogValue> values;
};

/// The settings that a module of the program has after all its levels.
struct LogModuleFindings
{
    std::wstring name;
    std::uint32_t categories = 0;
    std::uint32_t options = 0;
    std::uint32_t detailLevel = 0;
    std::wstring file; ///< empty for none
};

/// The log settings of the program.
struct LogFindings
{
    std::vector<LogLevel> levels;           ///< keys that exist, in the order in which they are read
    std::vector<LogModuleFindings> modules; ///< those of the program
    std::wstring monitorClass;              ///< of the external monitor; empty for none
    bool hasMoreKeys = false;               ///< there are more keys than are listed
};

/// Reads the keys of the user's registry (`RegOpenKeyExW`, `RegQueryValueExW`, `RegEnumKeyExW`) and creates none, even
/// where a run would.
LogFindings FindLogSettings();
} // namespace KVAnalyticsDoctor
