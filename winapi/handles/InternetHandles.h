#pragma once

#include "winapi/base/UniqueHandle.h"
#include "winapi/WinApi.h"

namespace KVWinApi
{
/// WinINet sessions, connections and requests; failure is null. Closed with `InternetCloseHandle`.
struct InternetHandleTraits
{
    using Handle = HINTERNET;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { g_winApi->InternetCloseHandle(handle); }
};
using CUniqueInternet = CUniqueHandle<InternetHandleTraits>;
} // namespace KVWinApi
