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

constexpr std::size_t kAnySize = 1; // of an answer, in bytes

bool IsMissing(const wchar_t* text)
{
    return text == nullptr || *text == L'\0';
}

bool OpenByName(const wchar_t* printerName, KVWinApi::CUniquePrinter& printer)
{
    HANDLE opened = nullptr;
    // The spooler declares the name as writable text and does not write to it.
    if (KVWinApi::g_spoolerApi->OpenPrinterW(const_cast<wchar_t*>(printerName), &opened, nullptr) == FALSE)
    {
        return false;
    }
    printer.Reset(opened);
    return true;
}

// Asks the spooler in two calls. The first has no buffer, fails for that reason and reports the size; the second one
// fills a buffer of that size, which take turns into the result. A size below smallest is a failure.
//
// GetPrinterDataExW is not asked through this: each of its failures has a result and a log line of its own.
template <typename Ask, typename Take> HRESULT AskTwice(std::size_t smallest, const Ask& ask, const Take& take)
{
    DWORD neededBytes = 0;
    ask(nullptr, 0, neededBytes);
    if (neededBytes < smallest)
    {
        return PRINT_E_FAILED;
    }
    try
    {
        std::vector<BYTE> answer(neededBytes);
        return ask(answer.data(), static_cast<DWORD>(answer.size()), neededBytes) == FALSE ? PRINT_E_FAILED
                                                                                           : take(answer);
    }
    catch (const std::bad_alloc&)
    {
        return PRINT_E_OUT_OF_MEMORY;
    }
}

// The text of the buffer that a record in the same buffer points to, if its terminating zero is in the buffer too.
// Nothing for any other pointer, even null: that of a damaged answer may point anywhere.
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

bool Allocate(std::wstring& text, DWORD byteCount)
{
    try
    {
        text.resize((std::size_t{byteCount} + 1) / sizeof(wchar_t)); // rounded up: half a character needs room too
        return true;
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
}

// A value of a printer's data. Logs through the trace scope of CPrintUtil::GetPrinterDataValue.
class CPrinterValue
{
public:
    CPrinterValue(KVLogging::CLogFunction& traceScope, HANDLE printer, const wchar_t* keyName,
                  const wchar_t* valueName) noexcept
        : m_traceScope(traceScope), m_printer(printer), m_keyName(keyName), m_valueName(valueName)
    {
    }

    HRESULT Read(std::wstring& value) const
    {
        DWORD type = REG_NONE;
        DWORD byteCount = 0;
        switch (Ask(type, nullptr, 0, byteCount))
        {
        case ERROR_ACCESS_DENIED:
            return Log(PRINT_E_ACCESS_DENIED, L"GetPrinterDataValue - GetPrinterDataEx() failed : Access denied");
        case ERROR_FILE_NOT_FOUND:
            return Log(PRINT_E_VALUE_NOT_FOUND, L"GetPrinterDataValue - GetPrinterDataEx() failed : file not found");
        case ERROR_MORE_DATA:
            break;
        default: // even a success: without a buffer nothing can have been delivered
            return PRINT_E_FAILED;
        }
        if (type != REG_SZ)
        {
            return Log(PRINT_E_NOT_A_STRING, L"GetPrinterDataValue - GetPrinterDataEx() failed : Wrong data type");
        }
        if (byteCount == 0)
        {
            // Deliberate: logged as an error and yet a success, since the value exists and is empty.
            value.clear();
            return Log(PRINT_S_OK, L"GetPrinterDataValue - GetPrinterDataEx() failed : cbData == 0");
        }
        return ReadText(byteCount, value);
    }

private:
    // The second call. byteCount: the size that the first one reported, more than 0.
    HRESULT ReadText(DWORD byteCount, std::wstring& value) const
    {
        std::wstring text;
        if (!Allocate(text, byteCount))
        {
            return Log(PRINT_E_OUT_OF_MEMORY, L"GetPrinterDataValue - GetPrinterDataEx() exception thrown");
        }
        DWORD type = REG_NONE; // judged at the first call
        DWORD deliveredBytes = byteCount;
        if (Ask(type, reinterpret_cast<BYTE*>(text.data()), byteCount, deliveredBytes) != ERROR_SUCCESS)
        {
            return Log(PRINT_E_FAILED, L"GetPrinterDataValue - GetPrinterDataEx() failed the 2nd time");
        }
        // The value may have become shorter since the first call, and what is beyond byteCount was not delivered.
        text.resize(std::min(deliveredBytes, byteCount) / sizeof(wchar_t));
        if (!text.empty() && text.back() == L'\0')
        {
            text.pop_back();
        }
        value = std::move(text);
        return PRINT_S_OK;
    }

    DWORD Ask(DWORD& type, BYTE* buffer, DWORD size, DWORD& neededBytes) const
    {
        return KVWinApi::g_spoolerApi->GetPrinterDataExW(m_printer, m_keyName, m_valueName, &type, buffer, size,
                                                         &neededBytes);
    }

    // Returns result. The line is logged with the number of the calling statement.
    HRESULT Log(HRESULT result, const wchar_t* text, int lineNumber = __builtin_LINE()) const noexcept
    {
        m_traceScope.LogString(KVLogging::kLogError, lineNumber, text);
        return result;
    }

    KVLogging::CLogFunction& m_traceScope;
    HANDLE m_printer;
    const wchar_t* m_keyName;
    const wchar_t* m_valueName;
};
} // namespace

HRESULT CPrintUtil::FindAllPrinterNames(std::list<std::wstring>& printerNames)
{
    KV_TRACE(L"KVDeviceManager::CPrintUtil::FindAllPrinterNames");
    printerNames.clear();
    DWORD entryCount = 0;
    return AskTwice(
        kAnySize,
        [&](BYTE* buffer, DWORD size, DWORD& neededBytes) {
            return KVWinApi::g_spoolerApi->EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, kNameAndPortLevel, buffer, size,
                                                         &neededBytes, &entryCount);
        },
        [&](const std::vector<BYTE>& answer) {
            printerNames = CopyNames(answer, entryCount);
            return PRINT_S_OK;
        });
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
    const HRESULT result = CPrinterValue(kvTraceScope, printer.Get(), keyName, valueName).Read(value);
    // Closed here rather than by the owner, which does not log a failure; the owner closes if an exception passes.
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
    return AskTwice(
        sizeof(DRIVER_INFO_1W),
        [&](BYTE* buffer, DWORD size, DWORD& neededBytes) {
            return KVWinApi::g_spoolerApi->GetPrinterDriverW(printer.Get(), nullptr, kDriverNameLevel, buffer, size,
                                                             &neededBytes);
        },
        [&](const std::vector<BYTE>& answer) {
            const auto* const driver = reinterpret_cast<const DRIVER_INFO_1W*>(answer.data());
            const std::optional<std::wstring_view> name = FindText(answer, driver->pName);
            if (!name)
            {
                return PRINT_E_FAILED;
            }
            driverName = *name;
            return PRINT_S_OK;
        });
}
} // namespace KVDeviceManager
