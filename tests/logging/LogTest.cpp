#include "tests/logging/LogTest.h"

#include <regex>
#include <stdexcept>

#include "tests/support/Narrow.h"

namespace KVTest
{
std::wstring GetExecutableName()
{
    wchar_t path[MAX_PATH] = {};
    const DWORD length = ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring program(path, length);
    return program.substr(program.rfind(L'\\') + 1);
}

std::wstring BaseKey()
{
    return L"Software\\Norvik\\KV\\Logging";
}

std::wstring ProcessKey()
{
    return BaseKey() + L"\\" + GetExecutableName();
}

std::wstring ModuleKey(const std::wstring& moduleName)
{
    return ProcessKey() + L"\\" + moduleName;
}

std::wstring Lines(std::initializer_list<std::wstring> lines)
{
    std::wstring text;
    for (const std::wstring& line : lines)
    {
        text += line + L"\r\n";
    }
    return text;
}

bool Matches(const std::wstring& text, const std::string& expression)
{
    return std::regex_match(Narrow(text), std::regex(expression));
}

bool FileExists(const std::wstring& path)
{
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

HeldFile::HeldFile(const std::wstring& path)
    : m_file(::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr))
{
    if (m_file == INVALID_HANDLE_VALUE)
    {
        throw std::runtime_error("the file cannot be held");
    }
}

void HeldFile::Release()
{
    if (m_file != INVALID_HANDLE_VALUE)
    {
        ::CloseHandle(m_file);
        m_file = INVALID_HANDLE_VALUE;
    }
}

std::wstring LogTest::UseFile(DWORD categories, DWORD options, const std::wstring& fileName)
{
    std::wstring path = m_folder.PathOf(fileName);
    m_registry.SetString(BaseKey(), L"LogFileName", path);
    SetBase(L"LogCategories", categories);
    SetBase(L"LogOptions", options);
    return path;
}

KVLogging::CLogModule& LogTest::Module()
{
    if (!m_module)
    {
        m_module.emplace("Test", "12:34:56");
    }
    return *m_module;
}

std::wstring LogTest::ReadLog(const std::wstring& fileName) const
{
    const std::wstring path = m_folder.PathOf(fileName);
    return FileExists(path) ? ReadUtf16File(path) : std::wstring();
}
} // namespace KVTest
