#include "analytics_reporting/DriverFacts.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "analytics_reporting/Dimensions.h"
#include "analytics_reporting/ProgramLogModule.h"
#include "logging/Trace.h"
#include "utils/OSVersion.h"
#include "winapi/handles/RegistryHandles.h"

namespace KVAnalyticsReporting
{
namespace
{
KV_TRACE_SOURCE(g_logModule, L"DriverFacts.cpp");

// Deliberate: this control set by its number, and not the current one, which may be different. Values from there would
// not compare with those reported so far.
constexpr wchar_t kEnvironmentsKey[] = L"System\\ControlSet001\\Control\\Print\\Environments\\";

constexpr const wchar_t* kVersionFolders[] = {L"Version-3\\", L"Version-4\\"};

constexpr std::size_t kVersionTextLength = 260; // characters, with or without a terminating zero

// The spooler's name of the machine's architecture, null if it has none.
const wchar_t* GetEnvironment()
{
    switch (KVUtils::GetNativeProcessorArchitecture())
    {
    case PROCESSOR_ARCHITECTURE_AMD64:
        return L"Windows x64\\";
    case PROCESSOR_ARCHITECTURE_IA64:
        return L"Windows IA64\\";
    case PROCESSOR_ARCHITECTURE_INTEL:
    case PROCESSOR_ARCHITECTURE_ARM:
        // Deliberate: ARM counts as x86, and both are asked a second time, so that values compare with those so far.
        return KVUtils::GetNativeProcessorArchitecture() == PROCESSOR_ARCHITECTURE_AMD64 ? L"Windows x64\\"
                                                                                         : L"Windows NT x86\\";
    default:
        return nullptr;
    }
}

// Reads one fact from a driver's key; nothing if the key does not have it.
using FactReader = std::optional<std::wstring> (*)(HKEY driverKey);

std::optional<std::wstring> ReadType(HKEY driverKey)
{
    DWORD type = REG_NONE;
    DWORD version = 0;
    DWORD byteCount = sizeof(version);
    if (KVWinApi::g_registryApi->RegQueryValueExW(driverKey, L"Version", nullptr, &type,
                                                  reinterpret_cast<BYTE*>(&version), &byteCount) != ERROR_SUCCESS ||
        type != REG_DWORD || byteCount != sizeof(version)) // the registry stores any number of bytes under that type
    {
        return std::nullopt;
    }
    switch (version)
    {
    case 3:
        return L"V3";
    case 4:
        return L"V4";
    default:
        return std::nullopt;
    }
}

std::optional<std::wstring> ReadVersion(HKEY driverKey)
{
    DWORD type = REG_NONE;
    wchar_t text[kVersionTextLength] = {};
    DWORD byteCount = sizeof(text);
    if (KVWinApi::g_registryApi->RegQueryValueExW(driverKey, L"DriverVersion", nullptr, &type,
                                                  reinterpret_cast<BYTE*>(text), &byteCount) != ERROR_SUCCESS ||
        type != REG_SZ)
    {
        return std::nullopt;
    }
    // The registry guarantees no terminating zero, and keeps what follows one.
    const std::size_t length = std::min<std::size_t>(byteCount, sizeof(text)) / sizeof(wchar_t);
    const std::wstring_view stored(text, length);
    return std::wstring(stored.substr(0, stored.find(L'\0')));
}

std::wstring FindDriverFact(const std::wstring& driverName, FactReader readFact)
{
    const wchar_t* const environment = GetEnvironment();
    if (environment == nullptr)
    {
        return kUnknown;
    }
    const std::wstring base = std::wstring(kEnvironmentsKey) + environment + L"Drivers\\";
    for (const wchar_t* const folder : kVersionFolders)
    {
        const std::wstring path = std::wstring(base).append(folder).append(driverName);
        HKEY opened = nullptr;
        if (KVWinApi::g_registryApi->RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), KEY_QUERY_VALUE, &opened) !=
            ERROR_SUCCESS)
        {
            continue;
        }
        const KVWinApi::CUniqueRegistryKey driverKey(opened);
        if (std::optional<std::wstring> fact = readFact(driverKey.Get()))
        {
            return *std::move(fact);
        }
    }
    return kUnknown;
}
} // namespace

std::wstring GetDriverType(const std::wstring& driverName)
{
    KV_TRACE(L"KVAnalyticsReporting::GetDriverType");
    return FindDriverFact(driverName, &ReadType);
}

std::wstring GetDriverVersion(const std::wstring& driverName)
{
    KV_TRACE(L"KVAnalyticsReporting::GetDriverVersion");
    return FindDriverFact(driverName, &ReadVersion);
}
} // namespace KVAnalyticsReporting
