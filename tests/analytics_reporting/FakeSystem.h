#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <deque>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "winapi/KernelApi.h"
#include "winapi/RegistryApi.h"
#include "winapi/SpoolerApi.h"

namespace KVTest
{
/// The calls of the fakes below, in order.
using Calls = std::vector<std::wstring>;

/// A value of the registry or of a printer's data: its type and exactly these bytes.
struct RegistryValue
{
    DWORD type = REG_NONE;
    std::string bytes = {};
    LONG error = ERROR_SUCCESS; // any other is returned instead of the value
    std::exception_ptr exception = nullptr;
    DWORD extraBytesTold = 0; // more than bytes has
};

/// A string without a terminating zero.
inline RegistryValue Unterminated(const std::wstring& text)
{
    std::string bytes(text.size() * sizeof(wchar_t), '\0');
    std::memcpy(bytes.data(), text.data(), bytes.size());
    return {REG_SZ, bytes};
}

inline RegistryValue String(const std::wstring& text)
{
    return Unterminated(text + L'\0');
}

inline RegistryValue Number(std::uint32_t number)
{
    std::string bytes(sizeof(number), '\0');
    std::memcpy(bytes.data(), &number, sizeof(number));
    return {REG_DWORD, bytes};
}

/// A machine that reports the processor architectures of the list, one at each query, and the last one from then on.
class FakeMachine : public KVWinApi::CKernelApi
{
public:
    FakeMachine(Calls& calls, std::deque<WORD> architectures)
    {
        s_calls = &calls;
        SetArchitectures(std::move(architectures));
    }
    static void SetArchitectures(std::deque<WORD> architectures) { s_architectures = std::move(architectures); }
    FARPROC GetProcAddress(HMODULE module, LPCSTR name) override
    {
        if (std::string(name) != "GetNativeSystemInfo")
        {
            return CKernelApi::GetProcAddress(module, name);
        }
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&ReportArchitecture));
    }

private:
    static void WINAPI ReportArchitecture(LPSYSTEM_INFO information)
    {
        s_calls->push_back(L"GetNativeSystemInfo");
        information->wProcessorArchitecture = s_architectures.front();
        if (s_architectures.size() > 1)
        {
            s_architectures.pop_front();
        }
    }
    static inline Calls* s_calls = nullptr;
    static inline std::deque<WORD> s_architectures;
};

/// Keys of HKEY_LOCAL_MACHINE with their values. Each opening gives a handle of its own, counted from 1.
class FakeRegistry : public KVWinApi::CRegistryApi
{
public:
    explicit FakeRegistry(Calls& calls) : m_calls(calls) {}

    LONG RegOpenKeyExW(HKEY root, LPCWSTR path, REGSAM access, PHKEY key) override
    {
        m_calls.push_back(std::wstring(L"RegOpenKeyExW ") + (root == HKEY_LOCAL_MACHINE ? L"HKLM\\" : L"?\\") + path +
                          (access == KEY_QUERY_VALUE ? L", query value" : L", ?"));
        *key = reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(99)); // which must not be closed after a failure
        const auto found = keys.find(path);
        if (found == keys.end())
        {
            return openError;
        }
        m_opened.push_back(&found->second);
        *key = reinterpret_cast<HKEY>(m_opened.size());
        return ERROR_SUCCESS;
    }

    LONG RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE buffer, LPDWORD size) override
    {
        m_calls.push_back(L"RegQueryValueExW " + TextOf(key) + L", " + name + (reserved == nullptr ? L"" : L", ?") +
                          L", buffer of " + std::to_wstring(*size));
        const auto& values = *m_opened.at(reinterpret_cast<std::size_t>(key) - 1);
        const auto found = values.find(name);
        if (found == values.end())
        {
            return ERROR_FILE_NOT_FOUND;
        }
        const RegistryValue& value = found->second;
        if (value.exception)
        {
            std::rethrow_exception(value.exception);
        }
        *type = value.type;
        const DWORD room = *size;
        *size = static_cast<DWORD>(value.bytes.size()) + value.extraBytesTold;
        // Like the system: a value that is too long is not delivered at all. An error may still leave bytes behind.
        if (value.bytes.size() > room)
        {
            return ERROR_MORE_DATA;
        }
        value.bytes.copy(reinterpret_cast<char*>(buffer), value.bytes.size());
        return value.error;
    }

    LONG RegCloseKey(HKEY key) override
    {
        m_calls.push_back(L"RegCloseKey " + TextOf(key));
        return ERROR_SUCCESS;
    }

    std::map<std::wstring, std::map<std::wstring, RegistryValue>> keys; // by path, then by name
    LONG openError = ERROR_FILE_NOT_FOUND;                              // of a missing key

private:
    static std::wstring TextOf(HKEY key) { return std::to_wstring(reinterpret_cast<ULONG_PTR>(key)); }

    Calls& m_calls;
    std::vector<const std::map<std::wstring, RegistryValue>*> m_opened;
};

/// A spooler with these printers. Each opening gives a handle of its own, counted from 1.
class FakeSpooler : public KVWinApi::CSpoolerApi
{
public:
    // NOLINTNEXTLINE(bugprone-exception-escape): moving a checked map
    struct Printer
    {
        std::wstring name;
        std::map<std::wstring, RegistryValue> pnpData = {};
        std::optional<std::wstring> driverName = {};
    };

    explicit FakeSpooler(Calls& calls) : m_calls(calls) {}

    BOOL EnumPrintersW(DWORD flags, LPWSTR name, DWORD level, LPBYTE buffer, DWORD size, LPDWORD neededBytes,
                       LPDWORD entryCount) override
    {
        m_calls.push_back(L"EnumPrintersW flags " + std::to_wstring(flags) + (name == nullptr ? L"" : L", ?") +
                          L", level " + std::to_wstring(level) + TextOf(buffer, size));
        std::size_t needed = printers.size() * sizeof(PRINTER_INFO_5W);
        for (const Printer& printer : printers)
        {
            needed += SizeOf(printer.name);
        }
        *neededBytes = static_cast<DWORD>(needed);
        *entryCount = 0;
        if (size < needed || needed == 0 || !canEnumerate)
        {
            return FALSE;
        }
        BYTE* text = buffer + printers.size() * sizeof(PRINTER_INFO_5W);
        for (const Printer& printer : printers)
        {
            PRINTER_INFO_5W entry{};
            entry.pPrinterName = reinterpret_cast<LPWSTR>(text);
            std::memcpy(text, printer.name.c_str(), SizeOf(printer.name));
            std::memcpy(buffer + *entryCount * sizeof(entry), &entry, sizeof(entry));
            text += SizeOf(printer.name);
            ++*entryCount;
        }
        return TRUE;
    }

    BOOL OpenPrinterW(LPWSTR name, LPHANDLE handle, LPPRINTER_DEFAULTSW /*defaults*/) override
    {
        m_calls.push_back(std::wstring(L"OpenPrinterW ") + name);
        const auto found = std::find_if(printers.begin(), printers.end(),
                                        [&](const Printer& printer) { return printer.name == name; });
        if (found == printers.end())
        {
            ::SetLastError(ERROR_INVALID_PRINTER_NAME);
            return FALSE;
        }
        m_opened.push_back(&*found);
        *handle = reinterpret_cast<HANDLE>(m_opened.size());
        return TRUE;
    }

    BOOL ClosePrinter(HANDLE handle) override
    {
        m_calls.push_back(L"ClosePrinter " + TextOf(handle));
        return TRUE;
    }

    DWORD GetPrinterDataExW(HANDLE handle, LPCWSTR key, LPCWSTR name, LPDWORD type, LPBYTE buffer, DWORD size,
                            LPDWORD neededBytes) override
    {
        m_calls.push_back(L"GetPrinterDataExW " + TextOf(handle) + L", " + key + L"\\" + name + TextOf(buffer, size));
        const auto& values = Opened(handle).pnpData;
        const auto found = values.find(name);
        if (found == values.end() || std::wstring(key) != L"PnPData")
        {
            return ERROR_FILE_NOT_FOUND;
        }
        const RegistryValue& value = found->second;
        if (value.exception)
        {
            std::rethrow_exception(value.exception);
        }
        if (value.error != ERROR_SUCCESS)
        {
            return static_cast<DWORD>(value.error);
        }
        *type = value.type;
        *neededBytes = static_cast<DWORD>(value.bytes.size());
        if (buffer == nullptr || value.bytes.size() > size)
        {
            return ERROR_MORE_DATA;
        }
        value.bytes.copy(reinterpret_cast<char*>(buffer), value.bytes.size());
        return ERROR_SUCCESS;
    }

    BOOL GetPrinterDriverW(HANDLE handle, LPWSTR environment, DWORD level, LPBYTE buffer, DWORD size,
                           LPDWORD neededBytes) override
    {
        m_calls.push_back(L"GetPrinterDriverW " + TextOf(handle) + (environment == nullptr ? L"" : L", ?") +
                          L", level " + std::to_wstring(level) + TextOf(buffer, size));
        const std::optional<std::wstring>& driverName = Opened(handle).driverName;
        if (!driverName)
        {
            ::SetLastError(ERROR_UNKNOWN_PRINTER_DRIVER);
            return FALSE;
        }
        *neededBytes = static_cast<DWORD>(sizeof(DRIVER_INFO_1W) + SizeOf(*driverName));
        if (size < *neededBytes)
        {
            ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return FALSE;
        }
        const DRIVER_INFO_1W information{reinterpret_cast<LPWSTR>(buffer + sizeof(DRIVER_INFO_1W))};
        std::memcpy(buffer, &information, sizeof(information));
        std::memcpy(buffer + sizeof(information), driverName->c_str(), SizeOf(*driverName));
        return TRUE;
    }

    std::deque<Printer> printers; // in the order of the spooler
    bool canEnumerate = true;     // false: only the sizes are reported

private:
    static std::size_t SizeOf(const std::wstring& text) { return (text.size() + 1) * sizeof(wchar_t); }
    static std::wstring TextOf(HANDLE handle) { return std::to_wstring(reinterpret_cast<ULONG_PTR>(handle)); }
    static std::wstring TextOf(const BYTE* buffer, DWORD size)
    {
        return (buffer == nullptr ? L", no buffer of " : L", buffer of ") + std::to_wstring(size);
    }
    const Printer& Opened(HANDLE handle) const { return *m_opened.at(reinterpret_cast<std::size_t>(handle) - 1); }

    Calls& m_calls;
    std::vector<const Printer*> m_opened;
};
} // namespace KVTest
