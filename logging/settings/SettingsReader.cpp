#include "logging/settings/SettingsReader.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "logging/LogFlags.h"
#include "logging/LogSourceFile.h"
#include "logging/settings/RegistryKey.h"

namespace KVLogging
{
namespace
{
std::wstring ToLower(std::wstring text)
{
    std::transform(text.begin(), text.end(), text.begin(), ToLowerAscii);
    return text;
}

std::wstring ExpandEnvironment(const std::wstring& text)
{
    // The size changes when another thread sets a variable in between; then the text is taken unchanged.
    const DWORD room = ::ExpandEnvironmentStringsW(text.c_str(), nullptr, 0);
    std::wstring expanded(room, L'\0');
    const DWORD length = ::ExpandEnvironmentStringsW(text.c_str(), expanded.data(), room);
    if (length == 0 || length > room)
    {
        return text;
    }
    expanded.resize(length - 1); // the terminating zero is counted
    return expanded;
}

void ReadFileName(const CRegistryKey& key, SettingsBlock& block, LogFileRecord* fallback, LogModuleSettings& settings)
{
    const std::optional<std::wstring> value = key.ReadString(L"LogFileName");
    if (!value)
    {
        settings.FileRecord = settings.FileRecord != nullptr ? settings.FileRecord : fallback;
        return;
    }
    const std::wstring fileName = ToLower(ExpandEnvironment(*value));
    settings.FileRecord = fileName.empty() ? fallback : &block.FindOrAddFile(fileName);
}

// The four values that every level may hold. fallback: the file where the name is empty or nothing has named one.
void ReadLogValues(const CRegistryKey& key, SettingsBlock& block, LogFileRecord* fallback, LogModuleSettings& settings)
{
    settings.DetailLevel = key.ReadDword(L"LogInfoDetailLevel").value_or(settings.DetailLevel);
    settings.Categories = key.ReadDword(L"LogCategories").value_or(settings.Categories);
    // Deliberate: always on, so that information lines above level 0 are filtered by their level only.
    settings.Categories |= kLogDetailLevelMask;
    settings.Options = key.ReadDword(L"LogOptions").value_or(settings.Options);
    ReadFileName(key, block, fallback, settings);
}

void ReadPollInterval(const CRegistryKey& baseKey, DWORD& pollIntervalMs)
{
    constexpr std::uint64_t kDefaultSeconds = 30;
    constexpr std::uint64_t kMsPerSecond = 1000;
    if (const std::optional<std::uint32_t> seconds = baseKey.ReadDword(L"LogParmsPollTime"))
    {
        const std::uint64_t intervalMs = (*seconds != 0 ? *seconds : kDefaultSeconds) * kMsPerSecond;
        pollIntervalMs = static_cast<DWORD>(std::min<std::uint64_t>(intervalMs, std::numeric_limits<DWORD>::max()));
    }
}

void ReadMonitorValues(const CRegistryKey& processKey, MonitorValues& values)
{
    values.ClassId = processKey.ReadString(L"ExtMonitorCLSID").value_or(values.ClassId);
    if (!values.ClassId.empty())
    {
        values.Flags = processKey.ReadDword(L"ExtMonitorFlags");
        values.ParameterFile = processKey.ReadString(L"ExtMonitorParmFile").value_or(values.ParameterFile);
    }
}

void ReadSourceFiles(const CRegistryKey& moduleKey, const std::wstring& moduleKeyPath, SettingsBlock& block,
                     const LogModuleSettings& moduleSettings)
{
    const std::wstring parent = moduleKeyPath + L"\\";
    for (const std::wstring& name : moduleKey.GetSubkeyNames())
    {
        const CRegistryKey key = CRegistryKey::Open(parent + name);
        if (key.IsOpen())
        {
            // A new record starts at zero: of the module's settings only the file is inherited.
            ReadLogValues(key, block, moduleSettings.FileRecord, block.SourceFiles[ToLower(name)]);
        }
    }
}

std::wstring ModuleKeyPath(const std::wstring& processKeyPath, const std::wstring& executableName,
                           const std::wstring& moduleName)
{
    const bool isExecutable = moduleName == executableName.substr(0, executableName.rfind(L'.'));
    return isExecutable ? processKeyPath : processKeyPath + L"\\" + moduleName;
}
} // namespace

void ReadLogSettings(const std::wstring& moduleName, SettingsBlock& block, LogModuleSettings& settings,
                     DWORD& pollIntervalMs, MonitorValues& monitorValues)
{
    const CRegistryKey baseKey = CRegistryKey::Open(kLoggingKey);
    if (!baseKey.IsOpen())
    {
        return;
    }
    LogFileRecord* const noFile = block.Fallback.FileRecord;
    ReadPollInterval(baseKey, pollIntervalMs);
    ReadLogValues(baseKey, block, noFile, settings);

    const std::wstring processKeyPath = std::wstring(kLoggingKey) + L"\\" + block.ExecutableName;
    const std::wstring moduleKeyPath = ModuleKeyPath(processKeyPath, block.ExecutableName, moduleName);
    // Before the process key is opened: creating the module's key creates that too.
    const CRegistryKey moduleKey = (settings.Categories & kLogCreateModuleKey) != 0
                                       ? CRegistryKey::OpenOrCreate(moduleKeyPath)
                                       : CRegistryKey::Open(moduleKeyPath);
    const CRegistryKey processKey = CRegistryKey::Open(processKeyPath);
    if (!processKey.IsOpen())
    {
        return;
    }
    ReadLogValues(processKey, block, noFile, settings);
    ReadMonitorValues(processKey, monitorValues);
    if (moduleKey.IsOpen())
    {
        ReadLogValues(moduleKey, block, noFile, settings);
        ReadSourceFiles(moduleKey, moduleKeyPath, block, settings);
    }
}
} // namespace KVLogging
