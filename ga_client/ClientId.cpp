#include "ga_client/ClientId.h"

#include <windows.h>

#include <objbase.h>
#include <rpc.h>

#include "ga_client/DataFolder.h"
#include "utils/base/AsciiCase.h"
#include "winapi/base/SystemLibraries.h"
#include "winapi/WinApi.h"

namespace GAClient
{
namespace
{
constexpr wchar_t kSection[] = L"Users";
constexpr wchar_t kKey[] = L"UUID";

// The registry form without its braces, in lower case.
std::wstring PlainForm(const wchar_t* registryForm)
{
    std::wstring plain;
    for (const wchar_t* next = registryForm; *next != L'\0'; ++next)
    {
        if (*next != L'{' && *next != L'}')
        {
            plain += KVUtils::ToLowerAscii(*next);
        }
    }
    return plain;
}

// Empty if the system cannot generate one.
std::wstring GenerateClientId()
{
    constexpr int kBufferSize = 64; // the registry form has 38 characters
    UUID uuid{};
    wchar_t registryForm[kBufferSize] = {};
    if (CallOrErrorCode(KV_SYSTEM_FUNCTION(KVWinApi::g_rpcRt4Dll, UuidCreate), &uuid) != RPC_S_OK ||
        Call(KV_SYSTEM_FUNCTION(KVWinApi::g_ole32Dll, StringFromGUID2), uuid, registryForm, kBufferSize) == 0)
    {
        return {};
    }
    return PlainForm(registryForm);
}
} // namespace

std::wstring ReadClientId(const std::wstring& identityFile)
{
    constexpr DWORD kBufferSize = 256;
    wchar_t value[kBufferSize] = {};
    const DWORD length =
        KVWinApi::g_winApi->GetPrivateProfileStringW(kSection, kKey, L"", value, kBufferSize, identityFile.c_str());
    return std::wstring(value, length < kBufferSize ? length : kBufferSize - 1);
}

bool LoadOrCreateClientId(const std::wstring& applicationName, const std::wstring& applicationVersion,
                          std::wstring& clientId)
{
    if (applicationName.empty())
    {
        return false;
    }
    const std::wstring folder = GetDataFolder(applicationName, applicationVersion);
    const std::wstring identityFile = GetIdentityFile(folder, applicationName);
    // Without a folder, the bare name would mean a file in the Windows folder.
    clientId = folder.empty() ? std::wstring() : ReadClientId(identityFile);
    if (!clientId.empty())
    {
        return true;
    }
    clientId = GenerateClientId();
    if (folder.empty())
    {
        return false;
    }
    return KVWinApi::g_winApi->WritePrivateProfileStringW(kSection, kKey, clientId.c_str(), identityFile.c_str()) !=
           FALSE;
}
} // namespace GAClient
