#include "device_manager/PrintUtil.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "device_manager/DeviceManagerLogModules.h"
#include "logging/Trace.h"
#include "winapi/handles/PrinterHandles.h"

namespace KVDeviceManager
{
namespace
{
KV_TRACE_SOURCE(g_logModule, L"PrintUtil.cpp");

constexpr DWORD kNameAndPortLevel = 5; // PRINTER_INFO_5W
constexpr DWORD kDriverNameLevel = 1;  // DRIVER_INFO_1W

bool IsMissing(const wchar_t* text)
{
    return text == nullptr || *text == L'\0';
}

bool OpenByName(const wchar_t* printerName, KVWinApi::CUniquePrinter& printer)
{
    HANDLE opened = nullptr;
    // The spooler takes the name as writable text and does not write to it.
    if (KVWinApi::g_spoolerApi->OpenPrinterW(const_cast<wchar_t*>(printerName), &opened, nullptr) == FALSE)
    {
        return false;
    }
    printer.Reset(opened);
    return true;
}

BOOL EnumLocalPrinters(std::vector<BYTE>& buffer, DWORD& neededBytes, DWORD& entryCount)
{
    return KVWinApi::g_spoolerApi->EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, kNameAndPortLevel,
                                                 buffer.empty() ? nullptr : buffer.data(),
                                                 static_cast<DWORD>(buffer.size()), &neededBytes, &entryCount);
}

// The text that a record of the buffer points to: in that buffer, its terminating zero included. Nothing for any other
// pointer, null included: what a damaged answer points to may be anything, or no memory at all.
std::optional<std::wstring_view> FindText(const std::vector<BYTE>& buffer, const wchar_t* text)
{
    const auto begin = reinterpret_cast<std::uintptr_t>(buffer.data());
    const auto place = reinterpret_cast<std::uintptr_t>(text);
    if (place < begin || place - begin >= buffer.size() || place % alignof(wchar_t) != 0)
    {
        return std::nullopt;
    }
    const std::wstring_view rest(text, (buffer.size() - (place - begin)) / sizeof(wchar_t));
    const std::size_t length = rest.find(L'\0');
    return length == std::wstring_view::npos ? std::nullopt : std::optional(rest.substr(0, length));
}

std::list<std::wstring> CopyNames(const std::vector<BYTE>& buffer, DWORD entryCount)
{
    const auto* const entries = reinterpret_cast<const PRINTER_INFO_5W*>(buffer.data());
    const std::size_t count = std::min<std::size_t>(entryCount, buffer.size() / sizeof(PRINTER_INFO_5W));
    std::list<std::wstring> names;
    for (std::size_t i = 0; i < count; ++i)
    {
        if (const std::optional<std::wstring_view> name = FindText(buffer, entries[i].pPrinterName))
        {
            names.emplace_back(*name);
        }
    }
    return names;
}

BOOL GetDriver(HANDLE printer, std::vector<BYTE>& buffer, DWORD& neededBytes)
{
    return KVWinApi::g_spoolerApi->GetPrinterDriverW(printer, nullptr, kDriverNameLevel,
                                                     buffer.empty() ? nullptr : buffer.data(),
                                                     static_cast<DWORD>(buffer.size()), &neededBytes);
}

bool Allocate(std::wstring& text, DWORD byteCount)
{
    try
    {
        text.resize((std::size_t{byteCount} + 1) / sizeof(wchar_t)); // a last byte without its other half has room too
        return true;
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
}

// The second call of GetPrinterDataValue. byteCount: what the first one asked for, more than 0.
HRESULT ReadText(KVLogging::CLogFunction& kvTraceScope, HANDLE printer, const wchar_t* keyName,
                 const wchar_t* valueName, DWORD byteCount, std::wstring& value)
{
    std::wstring text;
    if (!Allocate(text, byteCount))
    {
        KV_LOG(kLogError, L"GetPrinterDataValue - GetPrinterDataEx() exception thrown");
        return PRINT_E_OUT_OF_MEMORY;
    }
    DWORD type = REG_NONE; // judged at the first call
    DWORD deliveredBytes = byteCount;
    if (KVWinApi::g_spoolerApi->GetPrinterDataExW(printer, keyName, valueName, &type,
                                                  reinterpret_cast<BYTE*>(text.data()), byteCount,
                                                  &deliveredBytes) != ERROR_SUCCESS)
    {
        KV_LOG(kLogError, L"GetPrinterDataValue - GetPrinterDataEx() failed the 2nd time");
        return PRINT_E_FAILED;
    }
    // The value may have become shorter since the first call. More than there was room for has not been delivered.
    text.resize(std::min(deliveredBytes, byteCount) / sizeof(wchar_t));
    if (!text.empty() && text.back() == L'\0')
    {
        text.pop_back();
    }
    value = std::move(text);
    return PRINT_S_OK;
}

HRESULT ReadValue(KVLogging::CLogFunction& kvTraceScope, HANDLE printer, const wchar_t* keyName,
                  const wchar_t* valueName, std::wstring& value)
{
    DWORD type = REG_NONE;
    DWORD byteCount = 0;
    switch (KVWinApi::g_spoolerApi->GetPrinterDataExW(printer, keyName, valueName, &type, nullptr, 0, &byteCount))
    {
    case ERROR_ACCESS_DENIED:
        KV_LOG(kLogError, L"GetPrinterDataValue - GetPrinterDataEx() failed : Access denied");
        return PRINT_E_ACCESS_DENIED;
    case ERROR_FILE_NOT_FOUND:
        KV_LOG(kLogError, L"GetPrinterDataValue - GetPrinterDataEx() failed : file not found");
        return PRINT_E_VALUE_NOT_FOUND;
    case ERROR_MORE_DATA:
        break;
    default: // a success too: without a buffer nothing can have been delivered
        return PRINT_E_FAILED;
    }
    if (type != REG_SZ)
    {
        KV_LOG(kLogError, L"GetPrinterDataValue - GetPrinterDataEx() failed : Wrong data type");
        return PRINT_E_NOT_A_STRING;
    }
    if (byteCount == 0)
    {
        // Deliberate: logged as an error and yet a success, the value is there and empty.
        KV_LOG(kLogError, L"GetPrinterDataValue - GetPrinterDataEx() failed : cbData == 0");
        value.clear();
        return PRINT_S_OK;
    }
    return ReadText(kvTraceScope, printer, keyName, valueName, byteCount, value);
}
} // namespace

HRESULT CPrintUtil::FindAllPrinterNames(std::list<std::wstring>& printerNames)
{
    KV_TRACE(L"KVDeviceManager::CPrintUtil::FindAllPrinterNames");
    printerNames.clear();
    std::vector<BYTE> buffer;
    DWORD neededBytes = 0;
    DWORD entryCount = 0;
    EnumLocalPrinters(buffer, neededBytes, entryCount); // tells the size; that it fails for want of a buffer is normal
    if (neededBytes == 0)
    {
        return PRINT_E_FAILED;
    }
    try
    {
        buffer.resize(neededBytes);
        if (EnumLocalPrinters(buffer, neededBytes, entryCount) == FALSE)
        {
            return PRINT_E_FAILED;
        }
        printerNames = CopyNames(buffer, entryCount);
        return PRINT_S_OK;
    }
    catch (const std::bad_alloc&)
    {
        return PRINT_E_OUT_OF_MEMORY;
    }
}

HRESULT CPrintUtil::GetPrinterDataValue(const wchar_t* printerName, const wchar_t* keyName, const wchar_t* valueName,
                                        std::wstring& value)
{
    KV_TRACE(L"KVDeviceManager::CPrintUtil::GetPrinterDataValue");
    if (IsMissing(printerName) || IsMissing(keyName) || IsMissing(valueName))
    {
        KV_LOG(kLogError, L"GetPrinterDataValue - Invalid parameter");
        return PRINT_E_INVALID_PARAMETER;
    }
    KVWinApi::CUniquePrinter printer;
    if (!OpenByName(printerName, printer))
    {
        KV_LOGF(kLogError, L"GetPrinterDataValue - OpenPrinter(%s) failed", printerName);
        return PRINT_E_INVALID_PARAMETER;
    }
    const HRESULT result = ReadValue(kvTraceScope, printer.Get(), keyName, valueName, value);
    // The owner would close without a word; it remains for the way out by an exception.
    if (KVWinApi::g_spoolerApi->ClosePrinter(printer.Release()) == FALSE)
    {
        KV_LOGF(kLogError, L"ClosePrinter failed with err = %d", static_cast<int>(::GetLastError()));
    }
    return result;
}

HRESULT CPrintUtil::GetPrinterDriverName(const std::wstring& printerName, std::wstring& driverName)
{
    KV_TRACE(L"KVDeviceManager::CPrintUtil::GetPrinterDriverName");
    if (printerName.empty())
    {
        return PRINT_E_FAILED;
    }
    KVWinApi::CUniquePrinter printer;
    if (!OpenByName(printerName.c_str(), printer))
    {
        return PRINT_E_INVALID_PARAMETER;
    }
    std::vector<BYTE> buffer;
    DWORD neededBytes = 0;
    GetDriver(printer.Get(), buffer, neededBytes); // tells the size; that it fails for want of a buffer is normal
    if (neededBytes < sizeof(DRIVER_INFO_1W))
    {
        return PRINT_E_FAILED;
    }
    try
    {
        buffer.resize(neededBytes);
        if (GetDriver(printer.Get(), buffer, neededBytes) == FALSE)
        {
            return PRINT_E_FAILED;
        }
        const std::optional<std::wstring_view> name =
            FindText(buffer, reinterpret_cast<const DRIVER_INFO_1W*>(buffer.data())->pName);
        if (!name)
        {
            return PRINT_E_FAILED;
        }
        driverName = *name;
        return PRINT_S_OK;
    }
    catch (const std::bad_alloc&)
    {
        return PRINT_E_OUT_OF_MEMORY;
    }
}
} // namespace KVDeviceManager
