#pragma once

#include <windows.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace KVTest
{
/// A copy of the program kv_utils_probe.exe at Product\bin in a folder of its own, which can run under any name.
class InstalledProbe
{
public:
    explicit InstalledProbe(const std::wstring& fileName = L"probe.exe")
    {
        m_folder.MakeFolder(L"Product");
        m_folder.MakeFolder(L"Product\\bin");
        m_programPath = m_folder.PathOf(L"Product\\bin\\" + fileName);
        if (::CopyFileW(PathBesideTest(L"kv_utils_probe.exe").c_str(), m_programPath.c_str(), TRUE) == FALSE)
        {
            throw std::runtime_error("the probe cannot be copied");
        }
    }

    const TemporaryFolder& GetFolder() const noexcept { return m_folder; }
    const std::wstring& GetProgramPath() const noexcept { return m_programPath; }

    /// Runs it with the unchanged arguments and waits for its end. Throws if it fails.
    void Run(const std::wstring& arguments = L"")
    {
        const std::wstring output = m_folder.PathOf(L"output.txt");
        ::SetEnvironmentVariableW(L"KV_PROBE_OUTPUT", output.c_str());
        constexpr DWORD kTimeoutMs = 20000;
        const ChildProcess child(L"\"" + m_programPath + L"\"" + (arguments.empty() ? L"" : L" ") + arguments);
        if (child.WaitForExit(kTimeoutMs) != 0u)
        {
            throw std::runtime_error("the probe did not end well");
        }
        m_lines = ReadUtf16File(output);
    }

    /// The value that the last run wrote for that name; "(nothing)" if it wrote none.
    std::wstring Told(std::wstring_view name) const
    {
        std::wistringstream lines(m_lines);
        for (std::wstring line; std::getline(lines, line);)
        {
            if (line.starts_with(std::wstring(name) + L'='))
            {
                return line.substr(name.size() + 1);
            }
        }
        return L"(nothing)";
    }

private:
    TemporaryFolder m_folder;
    std::wstring m_programPath;
    std::wstring m_lines;
};
} // namespace KVTest
