#pragma once

#include <windows.h>

#include <tlhelp32.h>

namespace KVWinApi
{
/// Process snapshots (tool help, kernel32).
///
/// Declaration order is slot order and part of the interface.
class IToolHlpApi
{
public:
    /// The system function of this name, with its arguments and its result, except where stated above.
    ///@{
    virtual HANDLE CreateToolhelp32Snapshot(DWORD dwFlags, DWORD th32ProcessID) = 0;
    virtual BOOL Process32FirstW(HANDLE hSnapshot, LPPROCESSENTRY32W lppe) = 0;
    virtual BOOL Process32NextW(HANDLE hSnapshot, LPPROCESSENTRY32W lppe) = 0;
    ///@}

    virtual ~IToolHlpApi() = default;
};

/// Forwards every operation to the system. Stateless and therefore safe on any thread.
class CToolHlpApi : public IToolHlpApi
{
public:
    HANDLE CreateToolhelp32Snapshot(DWORD dwFlags, DWORD th32ProcessID) override;
    BOOL Process32FirstW(HANDLE hSnapshot, LPPROCESSENTRY32W lppe) override;
    BOOL Process32NextW(HANDLE hSnapshot, LPPROCESSENTRY32W lppe) override;
};

/// The current facade, never null. Read it at each call and keep no copy: a substitute redirects the whole process.
extern constinit IToolHlpApi* g_toolHlpApi;
} // namespace KVWinApi
