#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace KVTest
{
/// Full path of a file in the folder of the running test program.
std::wstring PathBesideTest(std::wstring_view fileName);

/// A process that is terminated, if it still runs, when the object is destroyed. Throws std::runtime_error if it cannot
/// be started.
class ChildProcess
{
public:
    /// commandLine is passed to CreateProcessW unchanged. Without a working folder the process starts in the caller's.
    /// parent, if given, is recorded as its parent in place of the caller (`PROC_THREAD_ATTRIBUTE_PARENT_PROCESS`); the
    /// handle needs PROCESS_CREATE_PROCESS.
    explicit ChildProcess(std::wstring commandLine, const wchar_t* workingFolder = nullptr, HANDLE parent = nullptr);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    DWORD GetId() const noexcept { return m_process.dwProcessId; }
    HANDLE GetHandle() const noexcept { return m_process.hProcess; }
    /// All 32 bits of the exit code, or nothing if the process does not end in time.
    std::optional<DWORD> WaitForExit(DWORD timeoutMs) const;
    /// Ends the process with TerminateProcess, as a user of the task manager does.
    void Terminate() const;

private:
    PROCESS_INFORMATION m_process{};
};

/// Runs a program in the folder of the test program, with these arguments unchanged, and waits for its end: all 32 bits
/// of its exit code, or nothing if it did not end in time and was terminated.
std::optional<DWORD> RunBesideTest(std::wstring_view fileName, std::wstring_view arguments, DWORD timeoutMs = 20000);
} // namespace KVTest
