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

// How many of the eleven facades answer as they should.
UINT CountWorkingFacades()
{
    ULONG size = 0;
    UINT count = 0;
    count += g_comApi->ReleaseInterface(nullptr) == static_cast<ULONG>(E_INVALIDARG) ? 1u : 0u;
    count += g_ipHelperApi->GetAdaptersInfo(nullptr, &size) != NO_ERROR ? 1u : 0u;
    count += g_kernelApi->GetProcessId(::GetCurrentProcess()) == ::GetCurrentProcessId() ? 1u : 0u; // needs the module
    count += g_registryApi->RegCloseKey(nullptr) != ERROR_SUCCESS ? 1u : 0u;
    count += g_setupApi->SetupDiDestroyDeviceInfoList(nullptr) == FALSE ? 1u : 0u;
    count += g_shellApi->SHGetFolderPathW(nullptr, -1, nullptr, 0, nullptr) != S_OK ? 1u : 0u;
    count += g_spoolerApi->ClosePrinter(nullptr) == FALSE ? 1u : 0u;
    count += ::CloseHandle(g_toolHlpApi->CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0)) != FALSE ? 1u : 0u;
    count += g_userApi->GetSystemMetrics(SM_CXSCREEN) == ::GetSystemMetrics(SM_CXSCREEN) ? 1u : 0u;
    count += g_winApi->GetCurrentProcess() == ::GetCurrentProcess() ? 1u : 0u;
    count += g_winSockApi->closesocket(INVALID_SOCKET) != 0 ? 1u : 0u;
    return count;
}

class StaticUser
{
public:
    StaticUser() : m_countAtConstruction(CountWorkingFacades()) {}
    ~StaticUser() { ::ExitProcess(m_countAtConstruction + CountWorkingFacades()); }
    StaticUser(const StaticUser&) = delete;
    StaticUser& operator=(const StaticUser&) = delete;

private:
    UINT m_countAtConstruction;
};

// Earlier than every object that does not ask for a place in the order.
#if defined(_MSC_VER)
#pragma warning(disable : 4073)
#pragma init_seg(lib)
StaticUser s_staticUser;
#else
[[gnu::init_priority(102)]] StaticUser s_staticUser;
#endif
} // namespace

// kv_static_user: ends with the number of facades that worked in the constructor plus that in the destructor.
int wmain()
{
    return 0;
}
