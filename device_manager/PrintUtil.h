#pragma once

#include <windows.h>

#include <list>
#include <string>

#include "device_manager/PrintResults.h"

namespace KVDeviceManager
{
/// Asks the spooler of this computer about its printers. Each operation opens what it needs and closes it again, even
/// when an exception passes through. Stateless, hence safe on any thread; a call takes as long as the spooler does.
///
/// The spooler's answers are not trusted: nothing outside the buffer is read, whatever sizes, counts and pointers the
/// spooler reports, and a text that is not in the buffer with its terminating zero counts as missing.
///
/// Results are those of PrintResults.h. A failed allocation is a result too; any other exception reaches the caller.
class CPrintUtil
{
public:
    /// The names of the local printers, in the order of the spooler (`EnumPrintersW`). The list is empty after a
    /// failure. A printer without a name is left out. PRINT_E_FAILED if there is no printer, or if one was added
    /// between the two calls of the spooler; PRINT_E_OUT_OF_MEMORY.
    static HRESULT FindAllPrinterNames(std::list<std::wstring>& printerNames);

    /// A text of the printer's data (`GetPrinterDataExW`), for example the value "Manufacturer" of the key "PnPData".
    /// A value of no bytes is a success with the empty text. One zero character at the end of the stored text is
    /// dropped, and so is half a character. After a failure value is unchanged. Every failure is logged, except an
    /// unexpected answer of the spooler to the first call.
    static HRESULT GetPrinterDataValue(const wchar_t* printerName, const wchar_t* keyName, const wchar_t* valueName,
                                       std::wstring& value);

    /// The name of the printer's driver for this computer (`GetPrinterDriverW`). Unchanged after a failure.
    ///
    /// PRINT_E_FAILED if the printer name is empty (deliberately not PRINT_E_INVALID_PARAMETER as with the printer
    /// data, since callers expect each as it is) or the spooler reports no driver; PRINT_E_INVALID_PARAMETER if the
    /// printer could not be opened; PRINT_E_OUT_OF_MEMORY.
    static HRESULT GetPrinterDriverName(const std::wstring& printerName, std::wstring& driverName);
};
} // namespace KVDeviceManager
