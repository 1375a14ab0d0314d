#pragma once

#include "winapi/base/UniqueHandle.h"
#include "winapi/ComApi.h"

namespace KVWinApi
{
/// References to COM objects, released with `IUnknown::Release` (IComApi::ReleaseInterface).
template <typename Interface> struct ComPointerTraits
{
    using Handle = Interface*;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle object) noexcept { g_comApi->ReleaseInterface(object); }
};
/// Owns one reference. Never copied, so it never adds a reference.
template <typename Interface> using CUniqueComPointer = CUniqueHandle<ComPointerTraits<Interface>>;
} // namespace KVWinApi
