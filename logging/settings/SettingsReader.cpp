#include "logging/settings/SettingsReader.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "logging/LogFlags.h"
#include "logging/settings/RegistryKey.h"
#include "logging/system/ModulePath.h"
#include "utils/base/AsciiCase.h"
#include "utils/base/SystemText.h"

namespace KVLogging
{
namespace
{
std::wstring ToLower(std::wstring text)
{
    std::transform(text.begin(), text.end(), text.begin(), KVUtils::ToLowerAscii);
    return text;
}

std::wstring ExpandEnvironment(const std::wstring& text)
{
    return KVUtils::ReadSystemText([&](wchar_t* expanded, DWORD room) {
               const DWORD length = ::ExpandEnvironmentStringsW(text.c_str(), expanded, room);
               return length != 0 ? length - 1 : 0; // the terminating zero is counted
           })
        .value_or(text);
}

void ReadFileName(const CRegistryKey& key, SettingsBlock& block, LogFileRecord* fallback, LogModuleSettings& settings)
{
    const std::optional<std::wstring> value = key.ReadString(L"LogFileName");
    if (!value)
    {
        settings.fileRecord = settings.fileRecord != nullptr ? settings.fileRecord : fallback;
        return;
    }
    const std::wstring fileName = ToLower(ExpandEnvironment(*value));
    settings.fileRecord = fileName.empty() ? fallback : &block.FindOrAddFile(fileName);
}

// The four values that every level may hold. fallback: the file if the name is empty or no level has named one.
void ReadLogValues(const CRegistryKey& key, SettingsBlock& block, LogFileRecord* fallback, LogModuleSettings& settings)
{
    settings.DetailLevel = key.ReadDword(L"LogInfoDetailLevel").value_or(settings.DetailLevel);
    settings.Categories = key.ReadDword(L"LogCategories").value_or(settings.Categories);
    // Deliberate: always on, so that only their level filters information lines above level 0.
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
    values.classId = processKey.ReadString(L"ExtMonitorCLSID").value_or(values.classId);
    if (!values.classId.empty())
    {
        values.flags = processKey.ReadDword(L"ExtMonitorFlags");
        values.parameterFile = processKey.ReadString(L"ExtMonitorParmFile").value_or(values.parameterFile);
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
            // A new record starts at zero: it inherits only the file of the module's settings.
            ReadLogValues(key, block, moduleSettings.fileRecord, block.FindOrAddSourceFile(ToLower(name)));
        }
    }
}

std::wstring ModuleKeyPath(const std::wstring& processKeyPath, const std::wstring& executableName,
                           const std::wstring& moduleName)
{
    const bool isExecutable = moduleName == StripExtension(executableName);
    return isExecutable ? processKeyPath : processKeyPath + L"\\" + moduleName;
}
} // namespace

void ReadLogSettings(const std::wstring& moduleName, SettingsBlock& block, LogModuleSettings& settings,
                     DWORD& pollIntervalMs, MonitorValues& monitorValues, KeyCreation creation)
{
    const CRegistryKey baseKey = CRegistryKey::Open(kLoggingKey);
    if (!baseKey.IsOpen())
    {
        return;
    }
    LogFileRecord* const noFile = block.fallback.fileRecord;
    ReadPollInterval(baseKey, pollIntervalMs);
    ReadLogValues(baseKey, block, noFile, settings);

    const std::wstring processKeyPath = std::wstring(kLoggingKey) + L"\\" + block.executableName;
    const std::wstring moduleKeyPath = ModuleKeyPath(processKeyPath, block.executableName, moduleName);
    // Opened before the process key, which the creation of the module's key creates too.
    const bool mayCreate = creation == KeyCreation::kAsSettingsSay && (settings.Categories & kLogCreateModuleKey) != 0;
    const CRegistryKey moduleKey =
        mayCreate ? CRegistryKey::OpenOrCreate(moduleKeyPath) : CRegistryKey::Open(moduleKeyPath);
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
