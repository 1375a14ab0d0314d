#include "proxy/AnalyticsProxy.h"

#include <windows.h>

#include <tlhelp32.h>

#include <array>
#include <list>
#include <optional>
#include <utility>

#include "analytics_reporting/AnalyticsEngine.h"
#include "analytics_reporting/ProgramLogModule.h"
#include "device_manager/DeviceKinds.h"
#include "logging/Trace.h"
#include "proxy/Consent.h"
#include "proxy/MshtaPath.h"
#include "proxy/ProcessSetup.h"
#include "proxy/ProxyResults.h"
#include "proxy/RunSettings.h"
#include "utils/CommandLine.h"
#include "utils/SxSConfig.h"
#include "winapi/handles/KernelHandles.h"
#include "winapi/ToolHlpApi.h"

namespace KVAnalyticsProxy
{
namespace
{
KV_TRACE_SOURCE(KVAnalyticsReporting::g_logModule, L"AnalyticsProxy.cpp");

using KVAnalyticsReporting::GetAnalyticsEngine;

std::wstring GetPropertyId()
{
    if (g_propertyIdPrefix.empty())
    {
        ReadPropertyIdPrefix(g_propertyIdPrefix);
    }
    return MakePropertyId(g_propertyIdPrefix);
}

bool InitializeEngine(bool optIn)
{
    const std::wstring propertyId = GetPropertyId();
    g_useSsl = ReadUseSsl();
    return GetAnalyticsEngine().Initialize(optIn, propertyId, kApplicationName, g_useSsl);
}

// What the command line asks for.
struct Request
{
    std::optional<std::wstring> linkId; // empty text: the switch has no value
    std::optional<std::wstring> tabId;
    std::wstring connection;
    std::wstring network;
};

std::optional<std::wstring> FindSwitch(const KVUtils::CCommandLine& commandLine, const wchar_t* key)
{
    std::wstring value;
    return commandLine.GetValue(key, value) ? std::optional(std::move(value)) : std::nullopt;
}

Request ReadRequest()
{
    const KVUtils::CCommandLine commandLine;
    Request request;
    request.linkId = FindSwitch(commandLine, L"linkid");
    request.tabId = FindSwitch(commandLine, L"tabid");
    request.connection = FindSwitch(commandLine, L"connection").value_or(L"");
    request.network = FindSwitch(commandLine, L"network").value_or(L"");
    return request;
}

// Returns the wait in milliseconds, by the clock after the last pause.
DWORD WaitForPendingRequests()
{
    constexpr DWORD kPauseMs = 1000;
    constexpr DWORD kLongestWaitMs = 12000;
    const DWORD start = KVWinApi::g_kernelApi->GetTickCount();
    DWORD elapsed = 0;
    do
    {
        std::list<std::wstring> requests;
        if (!GetAnalyticsEngine().HasPendingRequests(requests) || requests.empty())
        {
            break;
        }
        // Not through the facade: to shorten the wait, a substitute replaces the clock.
        ::Sleep(kPauseMs);
        // Unsigned difference: correct even when the tick count wraps, after 49.7 days.
        elapsed = KVWinApi::g_kernelApi->GetTickCount() - start;
    } while (elapsed < kLongestWaitMs); // after that, no further poll
    return elapsed;
}

// 0 if this process is not in the list, or has no parent there.
DWORD FindParentProcess(HANDLE snapshot)
{
    static_assert(sizeof(PROCESSENTRY32W) == 568);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    BOOL hasEntry = KVWinApi::g_toolHlpApi->Process32FirstW(snapshot, &entry);
    const DWORD ownId = KVWinApi::g_kernelApi->GetCurrentProcessId();
    DWORD parentId = 0;
    while (hasEntry != FALSE)
    {
        if (entry.th32ProcessID == ownId)
        {
            parentId = entry.th32ParentProcessID;
        }
        entry.dwSize = sizeof(entry);
        if (parentId != 0)
        {
            break;
        }
        hasEntry = KVWinApi::g_toolHlpApi->Process32NextW(snapshot, &entry);
    }
    return parentId;
}

KVDeviceManager::NetworkKind GetNetworkKind(const std::wstring& network)
{
    if (network == L"Network_Ethernet")
    {
        return KVDeviceManager::kNetworkWired;
    }
    return network == L"Network_Wireless" ? KVDeviceManager::kNetworkWireless : KVDeviceManager::kNetworkUnknown;
}

// Null: id is that of the process that started this one. Otherwise what the log says of the failure.
const wchar_t* FindParent(const KVWinApi::CUniqueFile& snapshot, DWORD& id)
{
    if (!snapshot.IsValid())
    {
        return L"CAnalyticsProxy::IsCalledByLumo - Unable to capture the snapshot of all processes";
    }
    id = FindParentProcess(snapshot.Get());
    return id == 0 ? L"CAnalyticsProxy::IsCalledByLumo - Could not find the parrent process" : nullptr;
}

// Null: path is that of the program which runs in the process. Otherwise what the log says of the failure.
const wchar_t* FindProgramOf(HANDLE process, std::wstring& path)
{
    HMODULE program = nullptr; // the first module of a process
    DWORD needed = 0;
    if (KVWinApi::g_kernelApi->EnumProcessModules(process, &program, sizeof(HMODULE), &needed) == FALSE)
    {
        return L"CAnalyticsProxy::IsCalledByLumo - Unable to the parent processs";
    }
    std::array<wchar_t, MAX_PATH + 1> found{}; // one more: the system may not terminate a path that it cuts
    if (KVWinApi::g_kernelApi->GetModuleFileNameExW(process, program, found.data(), MAX_PATH) == 0)
    {
        return L"CAnalyticsProxy::IsCalledByLumo - Unable to retrieve the parent processs file name";
    }
    path = found.data();
    return nullptr;
}
} // namespace

std::wstring g_propertyIdPrefix;
bool g_useSsl = true;

HRESULT CAnalyticsProxy::Run()
{
    KV_TRACE(L"KVAnalyticsProxy::CAnalyticsProxy::Run");
    const bool optIn = IsOptInForAnalytics();
    if (!optIn)
    {
        return PROXY_S_NOT_OPTED_IN;
    }
    if (!IsCalledByLumo())
    {
        return PROXY_E_NOT_CALLED_BY_LUMO;
    }
    SuppressStoredCookies(); // before the first request
    if (!InitializeEngine(optIn))
    {
        KV_LOG(kLogWarning, L"CAnalyticsProxy::Run - Failed to initialize the analytics engine.");
        return PROXY_E_INIT_FAILED;
    }
    if (!GetAnalyticsEngine().Start())
    {
        KV_LOG(kLogWarning, L"CAnalyticsProxy::Run - Failed to start the analytics engine.");
        return PROXY_E_START_FAILED;
    }
    ReportHit(kvTraceScope);
    GetAnalyticsEngine().Stop();
    const DWORD elapsed = WaitForPendingRequests();
    KV_LOGF(kLogInfo, L"CAnalyticsProxy::Run - Total wait time is %d ms", static_cast<int>(elapsed));
    // Deliberate: the engine stays initialised. The process ends now, and its client saves the remaining hits for a
    // later run.
    return PROXY_S_DONE;
}

void CAnalyticsProxy::ReportHit(KVLogging::CLogFunction& kvTraceScope)
{
    const Request request = ReadRequest();
    int connectionKind = 0;
    int networkKind = 0;
    TranslateConnectivityType(request.connection, request.network, connectionKind, networkKind);
    // Deliberate: each line follows the call that it announces. Readers of the logs know this order.
    if (request.linkId)
    {
        GetAnalyticsEngine().TrackLumoLink(*request.linkId, KVUtils::CSxSConfig::GetModelName(), connectionKind,
                                           networkKind);
        KV_LOGF(kLogInfo, L"CAnalyticsProxy::Run - Calling TrackLumoLink for %s", request.linkId->c_str());
    }
    else if (request.tabId)
    {
        GetAnalyticsEngine().TrackScreenView(*request.tabId);
        KV_LOGF(kLogInfo, L"CAnalyticsProxy::Run - Calling TrackScreenView for %s", request.tabId->c_str());
    }
}

bool CAnalyticsProxy::IsOptInForAnalytics()
{
    KV_TRACE(L"KVAnalyticsProxy::CAnalyticsProxy::IsOptInForAnalytics");
    const bool result = FindConsent().IsGiven();
    KV_LOGF(kLogInfo, L"CAnalyticsProxy::IsOptInForAnalytics - bAnalyticsOptIn is %s", result ? L"true" : L"false");
    return result;
}

bool CAnalyticsProxy::IsCalledByLumo()
{
    KV_TRACE(L"KVAnalyticsProxy::CAnalyticsProxy::IsCalledByLumo");
    const KVWinApi::CUniqueFile snapshot(KVWinApi::g_toolHlpApi->CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    DWORD parentId = 0;
    if (const wchar_t* const failure = FindParent(snapshot, parentId); failure != nullptr)
    {
        KV_LOG(kLogInfo, failure);
        return false;
    }
    const KVWinApi::CUniqueKernelHandle parent(
        KVWinApi::g_kernelApi->OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, parentId));
    if (!parent.IsValid())
    {
        return false;
    }
    std::wstring parentPath;
    if (const wchar_t* const failure = FindProgramOf(parent.Get(), parentPath); failure != nullptr)
    {
        KV_LOG(kLogInfo, failure);
        return false;
    }
    // Deliberate: exact, including the letter case. A host whose path is reported in a different case is refused: the
    // check must not accept more than the one file.
    const bool isHost = parentPath == GetMshtaPath();
    if (!isHost)
    {
        KV_LOGF(kLogInfo, L"CAnalyticsProxy::IsCalledByLumo - The parent process is not Lumo HTA. Parent: %s",
                parentPath.c_str());
    }
    return isHost;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): that the texts come by value is part of the interface
void CAnalyticsProxy::TranslateConnectivityType(std::wstring connection, std::wstring network, int& connectionKind,
                                                int& networkKind)
{
    KV_TRACE(L"KVAnalyticsProxy::CAnalyticsProxy::TranslateConnectivityType");
    connectionKind = KVDeviceManager::kConnectionUnknown;
    networkKind = KVDeviceManager::kNetworkUnknown;
    if (connection == L"NW")
    {
        connectionKind = KVDeviceManager::kConnectionNetwork;
        networkKind = GetNetworkKind(network);
    }
    else if (connection == L"USB")
    {
        connectionKind = KVDeviceManager::kConnectionUsb;
    }
    else if (connection == L"BT")
    {
        connectionKind = KVDeviceManager::kConnectionBluetooth;
    }
    else if (connection == L"*")
    {
        connectionKind = KVDeviceManager::kConnectionAll;
    }
}
} // namespace KVAnalyticsProxy
