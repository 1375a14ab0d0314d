#include "doctor/findings/LogFindings.h"

#include <windows.h>

#include <optional>

#include "logging/LogFlags.h"
#include "logging/settings/RegistryKey.h"
#include "logging/settings/SettingsBlock.h"
#include "logging/settings/SettingsReader.h"

namespace KVAnalyticsDoctor
{
namespace
{
using KVLogging::CRegistryKey;

constexpr wchar_t kExecutable[] = L"KVAnalyticsProxy.exe";
// The modules that log during a run: the program's own, and that of the libraries.
constexpr const wchar_t* kModules[] = {L"KVAnalyticsProxy", L"Utils"};
constexpr std::size_t kMostLevels = 100; // the registry of an unlucky user may hold any number

enum class Kind
{
    kNumber,
    kText,
};

struct KnownValue
{
    const wchar_t* name;
    Kind kind;
};
constexpr KnownValue kLogValues[] = {{L"LogInfoDetailLevel", Kind::kNumber},
                                     {L"LogCategories", Kind::kNumber},
                                     {L"LogOptions", Kind::kNumber},
                                     {L"LogFileName", Kind::kText}};
constexpr KnownValue kBaseValues[] = {{L"LogParmsPollTime", Kind::kNumber}};
constexpr KnownValue kProcessValues[] = {
    {L"ExtMonitorCLSID", Kind::kText}, {L"ExtMonitorFlags", Kind::kNumber}, {L"ExtMonitorParmFile", Kind::kText}};

LogValue ReadValue(const CRegistryKey& key, const KnownValue& known)
{
    LogValue value;
    value.name = known.name;
    value.isNumber = known.kind == Kind::kNumber;
    if (value.isNumber)
    {
        const std::optional<std::uint32_t> number = key.ReadDword(known.name);
        value.number = number.value_or(0);
        value.isIgnored = !number;
        return value;
    }
    std::optional<std::wstring> text = key.ReadString(known.name);
    value.isIgnored = !text;
    value.text = std::move(text).value_or(std::wstring());
    return value;
}

template <std::size_t count> void ReadValues(const CRegistryKey& key, const KnownValue (&known)[count], LogLevel& level)
{
    for (const KnownValue& value : known)
    {
        if (key.HasValue(value.name))
        {
            level.values.push_back(ReadValue(key, value));
        }
    }
}

// Collects the keys below one another.
class CLevels
{
public:
    explicit CLevels(LogFindings& findings) noexcept : m_findings(findings) {}

    void Read()
    {
        const CRegistryKey base = CRegistryKey::Open(KVLogging::kLoggingKey);
        if (!base.IsOpen())
        {
            return;
        }
        ReadValues(base, kBaseValues, Add(base, KVLogging::kLoggingKey));
        const std::wstring processPath = std::wstring(KVLogging::kLoggingKey) + L"\\" + kExecutable;
        const CRegistryKey process = CRegistryKey::Open(processPath);
        if (!process.IsOpen())
        {
            return;
        }
        ReadValues(process, kProcessValues, Add(process, processPath));
        AddBelow(process, processPath, 2); // modules, and their source files
    }

private:
    LogLevel& Add(const CRegistryKey& key, const std::wstring& path)
    {
        LogLevel& level = m_findings.levels.emplace_back();
        level.key = path;
        ReadValues(key, kLogValues, level);
        return level;
    }

    void AddBelow(const CRegistryKey& key, const std::wstring& path, int depth)
    {
        const std::wstring parent = path + L"\\";
        for (const std::wstring& name : key.GetSubkeyNames())
        {
            if (m_findings.levels.size() >= kMostLevels)
            {
                m_findings.hasMoreKeys = true;
                return;
            }
            const std::wstring below = parent + name;
            const CRegistryKey subkey = CRegistryKey::Open(below);
            if (subkey.IsOpen())
            {
                Add(subkey, below);
                if (depth > 1)
                {
                    AddBelow(subkey, below, depth - 1);
                }
            }
        }
    }

    LogFindings& m_findings;
};

LogModuleFindings ReadModule(const wchar_t* name, KVLogging::MonitorValues& monitor)
{
    KVLogging::SettingsBlock block(kExecutable);
    KVLogging::LogModuleSettings settings;
    DWORD pollIntervalMs = 0;
    KVLogging::ReadLogSettings(name, block, settings, pollIntervalMs, monitor, KVLogging::KeyCreation::kNever);
    LogModuleFindings module;
    module.name = name;
    module.categories = settings.Categories & ~KVLogging::kLogDetailLevelMask; // which every reading switches on
    module.options = settings.Options;
    module.detailLevel = settings.DetailLevel;
    module.file = settings.fileRecord != nullptr ? settings.fileRecord->configuredName : std::wstring();
    return module;
}
} // namespace

LogFindings FindLogSettings()
{
    LogFindings findings;
    CLevels(findings).Read();
    for (const wchar_t* const name : kModules)
    {
        KVLogging::MonitorValues monitor;
        findings.modules.push_back(ReadModule(name, monitor));
        findings.monitorClass = monitor.classId;
    }
    return findings;
}
} // namespace KVAnalyticsDoctor
