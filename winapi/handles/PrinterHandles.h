#pragma once

#include "winapi/base/UniqueHandle.h"
#include "winapi/SpoolerApi.h"

namespace KVWinApi
{
/// Printers of `OpenPrinterW`; null when empty. Closed with `ClosePrinter`.
struct PrinterHandleTraits
{
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { g_spoolerApi->ClosePrinter(handle); }
};
using CUniquePrinter = CUniqueHandle<PrinterHandleTraits>;
} // namespace KVWinApi
