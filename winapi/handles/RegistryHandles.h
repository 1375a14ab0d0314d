#pragma once

#include "winapi/base/UniqueHandle.h"
#include "winapi/RegistryApi.h"

namespace KVWinApi
{
/// Registry keys; null when empty. Closed with `RegCloseKey`.
struct RegistryKeyTraits
{
    using Handle = HKEY;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { g_registryApi->RegCloseKey(handle); }
};
using CUniqueRegistryKey = CUniqueHandle<RegistryKeyTraits>;
} // namespace KVWinApi
