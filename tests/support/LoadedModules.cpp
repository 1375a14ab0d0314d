#include "tests/support/LoadedModules.h"

#include <algorithm>
#include <stdexcept>

namespace KVTest
{
namespace
{
std::wstring FileNameInLowerCase(HANDLE file)
{
    wchar_t path[1024] = {};
    const DWORD length = ::GetFinalPathNameByHandleW(file, path, 1024, 0);
    if (length == 0 || length >= 1024)
    {
        throw std::runtime_error("the path of a module is not to be had");
    }
    std::wstring name(path + std::wstring(path, length).rfind(L'\\') + 1);
    std::transform(name.begin(), name.end(), name.begin(), [](wchar_t character) {
        return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character - L'A' + L'a') : character;
    });
    return name;
}

PROCESS_INFORMATION StartDebugged(std::wstring& commandLine)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, DEBUG_ONLY_THIS_PROCESS, nullptr,
                         nullptr, &startup, &process) == FALSE)
    {
        throw std::runtime_error("the process cannot be started");
    }
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return process;
}

// How the debugged program continues: it handles its own exceptions, and the debugger its breakpoints.
DWORD ContinuationOf(const DEBUG_EVENT& event)
{
    return event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT &&
                   event.u.Exception.ExceptionRecord.ExceptionCode != EXCEPTION_BREAKPOINT
               ? DBG_EXCEPTION_NOT_HANDLED
               : DBG_CONTINUE;
}
} // namespace

LoadedModules RunAndListModules(std::wstring commandLine, DWORD timeoutMs)
{
    StartDebugged(commandLine); // ended with this program, should that end first
    LoadedModules result{STILL_ACTIVE, {}};
    const DWORD start = ::GetTickCount();
    for (bool isOver = false; !isOver;)
    {
        DEBUG_EVENT event{};
        const DWORD elapsed = ::GetTickCount() - start;
        if (::WaitForDebugEvent(&event, timeoutMs > elapsed ? timeoutMs - elapsed : 0) == FALSE)
        {
            throw std::runtime_error("the program does not end");
        }
        if (event.dwDebugEventCode == LOAD_DLL_DEBUG_EVENT)
        {
            result.names.insert(FileNameInLowerCase(event.u.LoadDll.hFile));
            ::CloseHandle(event.u.LoadDll.hFile);
        }
        else if (event.dwDebugEventCode == CREATE_PROCESS_DEBUG_EVENT)
        {
            ::CloseHandle(event.u.CreateProcessInfo.hFile);
        }
        else if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT)
        {
            result.exitCode = event.u.ExitProcess.dwExitCode;
            isOver = true;
        }
        ::ContinueDebugEvent(event.dwProcessId, event.dwThreadId, ContinuationOf(event));
    }
    return result;
}
} // namespace KVTest
