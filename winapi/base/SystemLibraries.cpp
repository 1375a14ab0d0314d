#include "winapi/base/SystemLibraries.h"

namespace KVWinApi
{
constinit CSystemLibrary g_gdi32Dll(L"gdi32.dll");
constinit CSystemLibrary g_ipHlpApiDll(L"iphlpapi.dll");
constinit CSystemLibrary g_ole32Dll(L"ole32.dll");
constinit CSystemLibrary g_oleAut32Dll(L"oleaut32.dll");
constinit CSystemLibrary g_rpcRt4Dll(L"rpcrt4.dll");
constinit CSystemLibrary g_secur32Dll(L"secur32.dll");
constinit CSystemLibrary g_setupApiDll(L"setupapi.dll");
constinit CSystemLibrary g_shell32Dll(L"shell32.dll");
constinit CSystemLibrary g_shlwApiDll(L"shlwapi.dll");
constinit CSystemLibrary g_user32Dll(L"user32.dll");
constinit CSystemLibrary g_versionDll(L"version.dll");
constinit CSystemLibrary g_winInetDll(L"wininet.dll");
constinit CSystemLibrary g_winSpoolDll(L"winspool.drv");
constinit CSystemLibrary g_ws2Dll(L"ws2_32.dll");
} // namespace KVWinApi
