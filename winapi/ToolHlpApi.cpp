#include "winapi/ToolHlpApi.h"

#include "winapi/FacadeInstance.h"

namespace KVWinApi
{
namespace
{
KV_FACADE_INSTANCE CToolHlpApi s_toolHlpApi;
} // namespace

constinit IToolHlpApi* g_toolHlpApi = &s_toolHlpApi;

HANDLE CToolHlpApi::CreateToolhelp32Snapshot(DWORD dwFlags, DWORD th32ProcessID)
{
    return ::CreateToolhelp32Snapshot(dwFlags, th32ProcessID);
}

BOOL CToolHlpApi::Process32FirstW(HANDLE hSnapshot, LPPROCESSENTRY32W lppe)
{
    return ::Process32FirstW(hSnapshot, lppe);
}

BOOL CToolHlpApi::Process32NextW(HANDLE hSnapshot, LPPROCESSENTRY32W lppe)
{
    return ::Process32NextW(hSnapshot, lppe);
}
} // namespace KVWinApi
