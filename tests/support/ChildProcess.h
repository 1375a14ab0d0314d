#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace KVTest
{
/// Full path of a file that stands in the folder of the running test program.
std::wstring PathBesideTest(std::wstring_view fileName);

/// A started process. It is ended when the object goes and it still runs. Throws std::runtime_error when it cannot be
/// started.
class ChildProcess
{
public:
    /// commandLine is handed to CreateProcessW as it is. Without a working folder it starts in the caller's.
    explicit ChildProcess(std::wstring commandLine, const wchar_t* workingFolder = nullptr);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    DWORD GetId() const noexcept { return m_process.dwProcessId; }
    HANDLE GetHandle() const noexcept { return m_process.hProcess; }
    /// All 32 bits of the exit code, or nothing when the process has not ended within the time.
    std::optional<DWORD> WaitForExit(DWORD timeoutMs) const;
    /// Ends the process abruptly, as a crash or the task manager would.
    void Terminate() const;

private:
    PROCESS_INFORMATION m_process{};
};

/// Runs a program that stands beside the test program, with the arguments as they are, and waits for its end: all 32
/// bits of its exit code, or nothing when it had to be ended after the time.
std::optional<DWORD> RunBesideTest(std::wstring_view fileName, std::wstring_view arguments, DWORD timeoutMs = 20000);
} // namespace KVTest
