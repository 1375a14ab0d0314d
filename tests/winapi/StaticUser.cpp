#include <winsock2.h>

#include <windows.h>

#include <shlobj.h>

#include "winapi/ComApi.h"
#include "winapi/IPHelperApi.h"
#include "winapi/KernelApi.h"
#include "winapi/RegistryApi.h"
#include "winapi/SetupApi.h"
#include "winapi/ShellApi.h"
#include "winapi/SpoolerApi.h"
#include "winapi/ToolHlpApi.h"
#include "winapi/UserApi.h"
#include "winapi/WinApi.h"
#include "winapi/WinSockApi.h"

namespace
{
using namespace KVWinApi;

// Each of them is a call that only the system's own function lets succeed.

bool UseIPHelper()
{
    ULONG size = 0;
    const ULONG result = g_ipHelperApi->GetAdaptersInfo(nullptr, &size);
    return result == ERROR_BUFFER_OVERFLOW || result == ERROR_NO_DATA; // the size that is needed, or no adapter
}

bool UseRegistry()
{
    HKEY key = nullptr;
    return g_registryApi->RegOpenKeyExW(HKEY_CURRENT_USER, nullptr, KEY_READ, &key) == ERROR_SUCCESS &&
           g_registryApi->RegCloseKey(key) == ERROR_SUCCESS;
}

bool UseSetup()
{
    HDEVINFO devices = g_setupApi->SetupDiCreateDeviceInfoList(nullptr, nullptr);
    return devices != INVALID_HANDLE_VALUE && g_setupApi->SetupDiDestroyDeviceInfoList(devices) != FALSE;
}

bool UseShell()
{
    wchar_t path[MAX_PATH] = {};
    return g_shellApi->SHGetFolderPathW(nullptr, CSIDL_WINDOWS, nullptr, SHGFP_TYPE_CURRENT, path) == S_OK &&
           path[0] != L'\0';
}

bool UseSpooler()
{
    HANDLE server = nullptr;
    return g_spoolerApi->OpenPrinterW(nullptr, &server, nullptr) != FALSE &&
           g_spoolerApi->ClosePrinter(server) != FALSE;
}

bool UseWinSock()
{
    WSADATA data{};
    return g_winSockApi->WSAStartup(MAKEWORD(2, 2), &data) == 0 && g_winSockApi->WSACleanup() == 0;
}

// How many of the eleven facades answer as they should.
UINT CountWorkingFacades()
{
    UINT count = 0;
    count += g_comApi->ReleaseInterface(nullptr) == static_cast<ULONG>(E_INVALIDARG) ? 1u : 0u;
    count += UseIPHelper() ? 1u : 0u;
    count += g_kernelApi->GetProcessId(::GetCurrentProcess()) == ::GetCurrentProcessId() ? 1u : 0u; // needs the module
    count += UseRegistry() ? 1u : 0u;
    count += UseSetup() ? 1u : 0u;
    count += UseShell() ? 1u : 0u;
    count += UseSpooler() ? 1u : 0u;
    count += ::CloseHandle(g_toolHlpApi->CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0)) != FALSE ? 1u : 0u;
    count += g_userApi->GetSystemMetrics(SM_CXSCREEN) == ::GetSystemMetrics(SM_CXSCREEN) ? 1u : 0u;
    count += g_winApi->GetCurrentProcess() == ::GetCurrentProcess() ? 1u : 0u;
    count += UseWinSock() ? 1u : 0u;
    return count;
}

class StaticUser
{
public:
    StaticUser() : m_countAtConstruction(CountWorkingFacades()) {}
    ~StaticUser() { ::TerminateProcess(::GetCurrentProcess(), m_countAtConstruction + CountWorkingFacades()); }
    StaticUser(const StaticUser&) = delete;
    StaticUser& operator=(const StaticUser&) = delete;

private:
    UINT m_countAtConstruction;
};

#if defined(_MSC_VER)
StaticUser s_staticUser; // Visual C++ orders segments only, and in the facade's own no other object may rely on it
#else
// Earlier than every object that does not ask for a place in the order.
[[gnu::init_priority(102)]] StaticUser s_staticUser;
#endif
} // namespace

// kv_static_user: ends with the number of facades that worked in the constructor plus that in the destructor.
int wmain()
{
    return 0;
}
