#include "tests/support/TemporaryFolder.h"

#include <windows.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace KVTest
{
namespace
{
std::atomic<unsigned> s_counter;
} // namespace

TemporaryFolder::TemporaryFolder()
{
    wchar_t base[MAX_PATH + 1] = {};
    if (::GetTempPathW(MAX_PATH + 1, base) == 0)
    {
        throw std::runtime_error("there is no temporary folder");
    }
    // With the tick count in its name it is not a folder that a killed process of the same id left behind.
    m_path = std::wstring(base) + L"kvtest-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
             std::to_wstring(::GetTickCount64()) + L"-" + std::to_wstring(s_counter++);
    if (::CreateDirectoryW(m_path.c_str(), nullptr) == FALSE)
    {
        throw std::runtime_error("the temporary folder cannot be made");
    }
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::wstring TemporaryFolder::PathOf(std::wstring_view name) const
{
    return m_path + L"\\" + std::wstring(name);
}

std::wstring TemporaryFolder::WriteFile(std::wstring_view name, std::string_view bytes) const
{
    std::wstring path = PathOf(name);
    std::ofstream file(std::filesystem::path(path), std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
    {
        throw std::runtime_error("the file cannot be written");
    }
    return path;
}

std::wstring TemporaryFolder::MakeFolder(std::wstring_view name) const
{
    std::wstring path = PathOf(name);
    if (::CreateDirectoryW(path.c_str(), nullptr) == FALSE)
    {
        throw std::runtime_error("the folder cannot be made");
    }
    return path;
}

std::string ReadFileBytes(const std::wstring& path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    if (!file)
    {
        throw std::runtime_error("the file cannot be read");
    }
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::wstring ReadUtf16File(const std::wstring& path)
{
    const std::string bytes = ReadFileBytes(path);
    if (bytes.size() % sizeof(wchar_t) != 0)
    {
        throw std::runtime_error("the file ends in the middle of a character");
    }
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), bytes.size());
    return text;
}
} // namespace KVTest
