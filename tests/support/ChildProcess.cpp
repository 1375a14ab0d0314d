#include "tests/support/ChildProcess.h"

#include <stdexcept>

namespace KVTest
{
std::wstring PathBesideTest(std::wstring_view fileName)
{
    wchar_t path[MAX_PATH] = {};
    const DWORD length = ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    if (length == 0 || length == MAX_PATH)
    {
        throw std::runtime_error("the path of the test program is not to be had");
    }
    const std::wstring program(path, length);
    return program.substr(0, program.rfind(L'\\') + 1).append(fileName);
}

ChildProcess::ChildProcess(std::wstring commandLine, const wchar_t* workingFolder)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    if (::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, workingFolder, &startup,
                         &m_process) == FALSE)
    {
        throw std::runtime_error("the process cannot be started");
    }
}

ChildProcess::~ChildProcess()
{
    if (!WaitForExit(0))
    {
        Terminate();
    }
    ::CloseHandle(m_process.hThread);
    ::CloseHandle(m_process.hProcess);
}

std::optional<DWORD> ChildProcess::WaitForExit(DWORD timeoutMs) const
{
    DWORD exitCode = 0;
    if (::WaitForSingleObject(m_process.hProcess, timeoutMs) != WAIT_OBJECT_0 ||
        ::GetExitCodeProcess(m_process.hProcess, &exitCode) == FALSE)
    {
        return std::nullopt;
    }
    return exitCode;
}

void ChildProcess::Terminate() const
{
    constexpr DWORD kEndMs = 10000;
    ::TerminateProcess(m_process.hProcess, 1);
    ::WaitForSingleObject(m_process.hProcess, kEndMs);
}

std::optional<DWORD> RunBesideTest(std::wstring_view fileName, std::wstring_view arguments, DWORD timeoutMs)
{
    std::wstring commandLine = L"\"" + PathBesideTest(fileName) + L"\"";
    if (!arguments.empty())
    {
        commandLine.append(L" ").append(arguments);
    }
    return ChildProcess(std::move(commandLine)).WaitForExit(timeoutMs);
}
} // namespace KVTest
