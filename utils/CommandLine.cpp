#include "utils/CommandLine.h"

#include <windows.h>

#include <shellapi.h>

#include <stdexcept>

#include "utils/base/AsciiCase.h"
#include "winapi/base/SystemLibraries.h"
#include "winapi/base/UniqueHandle.h"
#include "winapi/KernelApi.h"

namespace KVUtils
{
namespace
{
struct ElementsTraits
{
    using Handle = LPWSTR*;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle elements) noexcept { KVWinApi::g_kernelApi->LocalFree(elements); }
};
using CUniqueElements = KVWinApi::CUniqueHandle<ElementsTraits>;

CUniqueElements Split(const wchar_t* commandLine, int& count)
{
    if (commandLine == nullptr) // not a valid argument of CommandLineToArgvW
    {
        return CUniqueElements();
    }
    return CUniqueElements(Call(KV_SYSTEM_FUNCTION(KVWinApi::g_shell32Dll, CommandLineToArgvW), commandLine, &count));
}

// Searches by text alone, so the place may be inside the program path. If splitting has changed the argument, for
// example by removing its quotes, the result is the whole line.
std::wstring FromFirstOccurrence(const std::wstring& line, const std::wstring& text)
{
    const std::size_t position = line.find(text);
    return position != std::wstring::npos ? line.substr(position) : line;
}

bool IsSwitch(const wchar_t* element)
{
    return element[0] == L'/' || element[0] == L'-';
}
} // namespace

bool CCommandLine::KeyLess::operator()(const std::wstring& left, const std::wstring& right) const noexcept
{
    return CompareIgnoringAsciiCase(left, right) < 0;
}

CCommandLine::CCommandLine()
{
    const wchar_t* const commandLine = KVWinApi::g_kernelApi->GetCommandLineW();
    int count = 0;
    const CUniqueElements elements = Split(commandLine, count);
    if (!elements.IsValid())
    {
        return;
    }
    m_programPath = elements.Get()[0];
    if (count > 1)
    {
        m_firstArgument = elements.Get()[1];
        m_argumentString = FromFirstOccurrence(commandLine, m_firstArgument);
    }
    CollectSwitches(elements.Get(), count);
}

void CCommandLine::CollectSwitches(const wchar_t* const* elements, int count)
{
    const wchar_t* pendingKey = nullptr;
    for (int i = 1; i < count; ++i)
    {
        const wchar_t* const element = elements[i];
        if (IsSwitch(element))
        {
            const wchar_t* const name = element + 1;
            if (name[0] == L'\0')
            {
                continue; // a lone slash or hyphen: the previous key still waits for its value
            }
            pendingKey = name;
            StartSwitch(name);
        }
        else if (pendingKey != nullptr)
        {
            m_argumentMap[pendingKey] = element;
            pendingKey = nullptr;
        }
    }
}

void CCommandLine::StartSwitch(const wchar_t* name)
{
    try
    {
        m_argumentMap[name].clear();
    }
    catch (const std::length_error&)
    {
        // A name too long for a string must not fail the whole line: it stays pending without an entry.
    }
}

bool CCommandLine::GetValue(const std::wstring& key, std::wstring& value) const
{
    const auto found = m_argumentMap.find(key);
    if (found == m_argumentMap.end())
    {
        return false;
    }
    value = found->second;
    return true;
}

bool CCommandLine::HasKey(const std::wstring& key) const
{
    return m_argumentMap.find(key) != m_argumentMap.end();
}

const CCommandLine::ArgumentMap& CCommandLine::GetArgumentMap() const
{
    return m_argumentMap;
}

const std::wstring& CCommandLine::GetFirstArgument() const
{
    return m_firstArgument;
}

const std::wstring& CCommandLine::GetArgumentString() const
{
    return m_argumentString;
}

const std::wstring& CCommandLine::GetProgramPath() const
{
    return m_programPath;
}
} // namespace KVUtils
