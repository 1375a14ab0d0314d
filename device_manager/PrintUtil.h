#pragma once

#include <windows.h>

#include <list>
#include <string>

#include "device_manager/PrintResults.h"

namespace KVDeviceManager
{
/// What the spooler of this computer tells of its printers. Each operation opens what it needs and closes it again,
/// also when an exception passes through. Stateless, hence safe on any thread; a call takes as long as the spooler
/// does.
///
/// The spooler's answers are not trusted: nothing is read beyond what it was given room for, whatever sizes, counts and
/// pointers it reports, and a text that does not lie in that room with its terminating zero counts as missing.
///
/// Results are those of PrintResults.h. Failed allocations are results too; any other exception passes on to the
/// caller.
class CPrintUtil
{
public:
    /// The names of the local printers, in the order of the spooler (`EnumPrintersW`). The list is empty after a
    /// failure. A printer whose name is missing is left out. PRINT_E_FAILED when there is no printer at all, or when
    /// one was added between the two calls that it takes; PRINT_E_OUT_OF_MEMORY.
    static HRESULT FindAllPrinterNames(std::list<std::wstring>& printerNames);

    /// A text of the printer's data (`GetPrinterDataExW`), for example the value "Manufacturer" of the key "PnPData".
    /// A value of no bytes is a success with the empty text. The text is as it was stored, less one zero character at
    /// its end; half a character at its end is dropped. Left alone after a failure, and every failure but an unexpected
    /// answer of the spooler to the first call is logged.
    static HRESULT GetPrinterDataValue(const wchar_t* printerName, const wchar_t* keyName, const wchar_t* valueName,
                                       std::wstring& value);

    /// The name of the printer's driver for this computer (`GetPrinterDriverW`). Left alone after a failure.
    ///
    /// PRINT_E_FAILED for an empty printer name (deliberately not PRINT_E_INVALID_PARAMETER, as with the printer data),
    /// and when the spooler tells no driver; PRINT_E_INVALID_PARAMETER when the printer could not be opened;
    /// PRINT_E_OUT_OF_MEMORY.
    static HRESULT GetPrinterDriverName(const std::wstring& printerName, std::wstring& driverName);
};
} // namespace KVDeviceManager
