#pragma once

#include <windows.h>

#include <string>

#include "logging/LogModuleSettings.h"
#include "logging/settings/SettingsBlock.h"
#include "logging/shared/ExtMonitor.h"

namespace KVLogging
{
/// Below HKEY_CURRENT_USER. docs/logging.md lists all keys and values.
constexpr wchar_t kLoggingKey[] = L"Software\\Norvik\\KV\\Logging";

/// Whether a reading of the settings may change the registry.
enum class KeyCreation
{
    kAsSettingsSay,
    kNever, ///< for programs that only show settings
};

/// Reads the log settings of one module from the registry: base key, process key, module key and the keys of its source
/// files. Each level overrides the one before. A value that is missing, of a different type or unreadable sets nothing.
///
/// moduleName, and the executable's name in the block, make the names of the keys. settings are the module's own, and
/// zero before the call. pollIntervalMs and monitorValues keep what the registry does not set. Called with the settings
/// mutex held.
///
/// A missing module key is created if the category word asks for it and creation allows it.
void ReadLogSettings(const std::wstring& moduleName, SettingsBlock& block, LogModuleSettings& settings,
                     DWORD& pollIntervalMs, MonitorValues& monitorValues,
                     KeyCreation creation = KeyCreation::kAsSettingsSay);
} // namespace KVLogging
