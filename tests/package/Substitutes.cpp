// Built with the installed package: a class derived from each class of the facade, as the tests of a program define
// them. Without the package's definitions psapi.h would rename some operations of the kernel facade here but not in the
// library.

#include "winapi/IPHelperApi.h"
#include "winapi/WinSockApi.h"

#include "winapi/ComApi.h"
#include "winapi/KernelApi.h"
#include "winapi/RegistryApi.h"
#include "winapi/SetupApi.h"
#include "winapi/ShellApi.h"
#include "winapi/SpoolerApi.h"
#include "winapi/ToolHlpApi.h"
#include "winapi/UserApi.h"
#include "winapi/WinApi.h"

namespace
{
template <typename Class, typename Interface> void Substitute(Interface*& facade)
{
    class CSubstitute : public Class
    {
    };
    static CSubstitute s_substitute;
    facade = &s_substitute;
}

class CKernel : public KVWinApi::CKernelApi
{
public:
    DWORD GetModuleFileNameExW(HANDLE process, HMODULE module, LPWSTR name, DWORD size) override
    {
        return CKernelApi::GetModuleFileNameExW(process, module, name, size);
    }
    BOOL EnumProcessModules(HANDLE process, HMODULE* modules, DWORD size, LPDWORD needed) override
    {
        return CKernelApi::EnumProcessModules(process, modules, size, needed);
    }
};
} // namespace

int main()
{
    using namespace KVWinApi;
    Substitute<CComApi>(g_comApi);
    Substitute<CIPHelperApi>(g_ipHelperApi);
    Substitute<CKernel>(g_kernelApi);
    Substitute<CRegistryApi>(g_registryApi);
    Substitute<CSetupApi>(g_setupApi);
    Substitute<CShellApi>(g_shellApi);
    Substitute<CSpoolerApi>(g_spoolerApi);
    Substitute<CToolHlpApi>(g_toolHlpApi);
    Substitute<CUserApi>(g_userApi);
    Substitute<CWinApi>(g_winApi);
    Substitute<CWinSockApi>(g_winSockApi);
    return 0;
}
