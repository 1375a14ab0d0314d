#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <cwchar>
#include <deque>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "winapi/SpoolerApi.h"

namespace KVTest
{
/// The bytes of a text as the registry stores them, without a terminating zero.
inline std::string BytesOf(const std::wstring& text)
{
    std::string bytes(text.size() * sizeof(wchar_t), '\0');
    std::memcpy(bytes.data(), text.data(), bytes.size());
    return bytes;
}

/// A spooler that answers call by call from a script, and records each call with all its arguments. A call without an
/// answer in the script fails the test.
class ScriptedSpooler : public KVWinApi::CSpoolerApi
{
public:
    /// Changes the caller's buffer of that many bytes after the answer was written.
    using Damaging = std::function<void(BYTE* buffer, DWORD size)>;

    /// What the spooler writes. A member without a value leaves the argument unchanged; bytes are cut to the room.
    struct DataAnswer
    {
        DWORD status = ERROR_SUCCESS;
        std::optional<DWORD> type = {};
        std::optional<DWORD> neededBytes = {};
        std::string bytes = {};
        const char* error = nullptr; // text of a std::runtime_error that is thrown instead of an answer
    };
    /// Records of names, null for an entry without one, then the names themselves, cut to the room.
    struct EnumAnswer
    {
        BOOL result = FALSE;
        std::optional<DWORD> neededBytes = {};
        std::optional<DWORD> entryCount = {};
        std::vector<const wchar_t*> names = {};
        const char* error = nullptr;
        Damaging damage = {};
    };
    struct DriverAnswer
    {
        BOOL result = FALSE;
        std::optional<DWORD> neededBytes = {};
        const wchar_t* name = nullptr;
        const char* error = nullptr;
        Damaging damage = {};
    };

    BOOL OpenPrinterW(LPWSTR name, LPHANDLE printer, LPPRINTER_DEFAULTSW defaults) override
    {
        calls.push_back(L"OpenPrinterW " + std::wstring(name) + (defaults == nullptr ? L", default access" : L", ?"));
        *printer = printerHandle; // even after a failure, when it must not be closed
        return canOpen;
    }

    BOOL ClosePrinter(HANDLE printer) override
    {
        calls.push_back(L"ClosePrinter " + TextOf(printer));
        ::SetLastError(closeError);
        return closeError == ERROR_SUCCESS;
    }

    BOOL EnumPrintersW(DWORD flags, LPWSTR name, DWORD level, LPBYTE buffer, DWORD size, LPDWORD neededBytes,
                       LPDWORD entryCount) override
    {
        calls.push_back(L"EnumPrintersW flags " + std::to_wstring(flags) + (name == nullptr ? L", no name" : L", ?") +
                        L", level " + std::to_wstring(level) + TextOf(buffer, size));
        const EnumAnswer answer = Next(enumAnswers);
        Put(answer.neededBytes, neededBytes);
        Put(answer.entryCount, entryCount);
        const std::size_t entryBytes = answer.names.size() * sizeof(PRINTER_INFO_5W);
        if (buffer != nullptr && size >= entryBytes)
        {
            BYTE* text = buffer + entryBytes;
            for (std::size_t i = 0; i < answer.names.size(); ++i)
            {
                PRINTER_INFO_5W entry{};
                entry.pPrinterName = AppendText(text, buffer + size, answer.names[i]);
                std::memcpy(buffer + i * sizeof(entry), &entry, sizeof(entry));
            }
        }
        Apply(answer.damage, buffer, size);
        return answer.result;
    }

    DWORD GetPrinterDataExW(HANDLE printer, LPCWSTR key, LPCWSTR value, LPDWORD type, LPBYTE buffer, DWORD size,
                            LPDWORD neededBytes) override
    {
        calls.push_back(L"GetPrinterDataExW " + TextOf(printer) + L", " + key + L", " + value + TextOf(buffer, size));
        const DataAnswer answer = Next(dataAnswers);
        Put(answer.type, type);
        Put(answer.neededBytes, neededBytes);
        if (buffer != nullptr)
        {
            answer.bytes.copy(reinterpret_cast<char*>(buffer), size);
        }
        return answer.status;
    }

    BOOL GetPrinterDriverW(HANDLE printer, LPWSTR environment, DWORD level, LPBYTE buffer, DWORD size,
                           LPDWORD neededBytes) override
    {
        calls.push_back(L"GetPrinterDriverW " + TextOf(printer) +
                        (environment == nullptr ? L", no environment" : L", ?") + L", level " + std::to_wstring(level) +
                        TextOf(buffer, size));
        const DriverAnswer answer = Next(driverAnswers);
        Put(answer.neededBytes, neededBytes);
        if (buffer != nullptr && size >= sizeof(DRIVER_INFO_1W))
        {
            BYTE* text = buffer + sizeof(DRIVER_INFO_1W);
            const DRIVER_INFO_1W information{AppendText(text, buffer + size, answer.name)};
            std::memcpy(buffer, &information, sizeof(information));
        }
        Apply(answer.damage, buffer, size);
        return answer.result;
    }

    /// The room that an answer with these names takes.
    static DWORD SizeOfEntries(const std::vector<const wchar_t*>& names)
    {
        std::size_t size = names.size() * sizeof(PRINTER_INFO_5W);
        for (const wchar_t* const name : names)
        {
            size += name != nullptr ? (std::wcslen(name) + 1) * sizeof(wchar_t) : 0;
        }
        return static_cast<DWORD>(size);
    }
    static DWORD SizeOfDriver(const std::wstring& name)
    {
        return static_cast<DWORD>(sizeof(DRIVER_INFO_1W) + (name.size() + 1) * sizeof(wchar_t));
    }

    BOOL canOpen = TRUE;
    DWORD closeError = ERROR_SUCCESS; // with which closing fails
    HANDLE printerHandle = reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(0x1234));
    std::deque<EnumAnswer> enumAnswers;
    std::deque<DataAnswer> dataAnswers;
    std::deque<DriverAnswer> driverAnswers;
    std::vector<std::wstring> calls;

private:
    template <typename Answer> static Answer Next(std::deque<Answer>& answers)
    {
        if (answers.empty())
        {
            ADD_FAILURE() << "a call that the script does not know";
            return {};
        }
        Answer answer = answers.front();
        answers.pop_front();
        if (answer.error != nullptr)
        {
            throw std::runtime_error(answer.error);
        }
        return answer;
    }
    static void Put(const std::optional<DWORD>& value, LPDWORD place)
    {
        ASSERT_NE(place, nullptr);
        if (value)
        {
            *place = *value;
        }
    }
    static void Apply(const Damaging& damage, BYTE* buffer, DWORD size)
    {
        if (damage && buffer != nullptr)
        {
            damage(buffer, size);
        }
    }
    // Null for a text that is null or does not fit before the end.
    static LPWSTR AppendText(BYTE*& place, const BYTE* end, const wchar_t* text)
    {
        const std::size_t size = text != nullptr ? (std::wcslen(text) + 1) * sizeof(wchar_t) : 0;
        if (text == nullptr || place + size > end)
        {
            return nullptr;
        }
        std::memcpy(place, text, size);
        return reinterpret_cast<LPWSTR>(std::exchange(place, place + size));
    }
    static std::wstring TextOf(HANDLE printer)
    {
        wchar_t text[20] = {};
        ::wsprintfW(text, L"%x", static_cast<unsigned>(reinterpret_cast<ULONG_PTR>(printer)));
        return text;
    }
    static std::wstring TextOf(const BYTE* buffer, DWORD size)
    {
        return (buffer == nullptr ? L", no buffer of " : L", buffer of ") + std::to_wstring(size);
    }
};
} // namespace KVTest
