#pragma once

#include <windows.h>

#include <string>

#include "logging/LogModuleSettings.h"
#include "logging/settings/SettingsBlock.h"
#include "logging/shared/ExtMonitor.h"

namespace KVLogging
{
/// Below HKEY_CURRENT_USER. docs/logging.md tells all keys and values.
constexpr wchar_t kLoggingKey[] = L"Software\\Norvik\\KV\\Logging";

/// Reads the log settings of one module from the registry: base key, process key, module key and the keys of its source
/// files, each over what the one before has set. What is missing, of another type or unreadable sets nothing.
///
/// moduleName, and the executable's name in the block, make the names of the keys. settings, the module's own, are zero
/// before. pollIntervalMs and monitorValues keep what they hold where nothing is set. Called with the settings mutex
/// held.
void ReadLogSettings(const std::wstring& moduleName, SettingsBlock& block, LogModuleSettings& settings,
                     DWORD& pollIntervalMs, MonitorValues& monitorValues);
} // namespace KVLogging
