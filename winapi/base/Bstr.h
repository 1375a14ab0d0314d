#pragma once

#include <windows.h>

#include <oleauto.h>

#include "winapi/base/SystemLibraries.h"
#include "winapi/base/UniqueHandle.h"

namespace KVWinApi
{
/// Texts that COM takes and returns; failure is null. Freed with `SysFreeString`.
struct BstrTraits
{
    using Handle = BSTR;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle text) noexcept { Call(KV_SYSTEM_FUNCTION(g_oleAut32Dll, SysFreeString), text); }
};
using CUniqueBstr = CUniqueHandle<BstrTraits>;

/// A copy of the text (`SysAllocString`). Empty if text is null, memory is short or the library is missing.
inline CUniqueBstr MakeBstr(const wchar_t* text) noexcept
{
    return CUniqueBstr(Call(KV_SYSTEM_FUNCTION(g_oleAut32Dll, SysAllocString), text));
}
} // namespace KVWinApi
