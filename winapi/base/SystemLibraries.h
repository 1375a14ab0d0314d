#pragma once

#include "winapi/base/SystemLibrary.h"

namespace KVWinApi
{
/// The system libraries that are loaded on demand: all except KERNEL32, the C runtime and ADVAPI32, which every run
/// needs and therefore imports. The first trace scope asks the registry (ADVAPI32) whether anything is logged.
extern constinit CSystemLibrary g_gdi32Dll;
extern constinit CSystemLibrary g_ipHlpApiDll;
extern constinit CSystemLibrary g_ole32Dll;
extern constinit CSystemLibrary g_oleAut32Dll;
extern constinit CSystemLibrary g_rpcRt4Dll;
extern constinit CSystemLibrary g_secur32Dll;
extern constinit CSystemLibrary g_setupApiDll; // has the functions of cfgmgr32.dll too
extern constinit CSystemLibrary g_shell32Dll;
extern constinit CSystemLibrary g_shlwApiDll;
extern constinit CSystemLibrary g_user32Dll;
extern constinit CSystemLibrary g_versionDll;
extern constinit CSystemLibrary g_winInetDll;
extern constinit CSystemLibrary g_winSpoolDll;
extern constinit CSystemLibrary g_ws2Dll;
} // namespace KVWinApi
