#pragma once

#include <windows.h>

#include <atomic>
#include <string>

#include "soak/Recorder.h"
#include "winapi/KernelApi.h"
#include "winapi/WinApi.h"

namespace KVSoak
{
/// The system's internet and mutexes; records every exchange. The client makes one exchange at a time.
class CWatchedWinApi : public KVWinApi::CWinApi
{
public:
    explicit CWatchedWinApi(CRecorder& recorder) : m_recorder(recorder) {}

    BOOL InternetGetConnectedState(LPDWORD flags, DWORD reserved) override;
    HINTERNET HttpOpenRequestW(HINTERNET connection, LPCWSTR verb, LPCWSTR object, LPCWSTR version, LPCWSTR referrer,
                               LPCWSTR* types, DWORD flags, DWORD_PTR context) override;
    BOOL HttpSendRequestW(HINTERNET request, LPCWSTR headers, DWORD length, LPVOID optional,
                          DWORD optionalLength) override;
    BOOL HttpQueryInfoW(HINTERNET request, DWORD level, LPVOID buffer, LPDWORD size, LPDWORD index) override;
    BOOL InternetCloseHandle(HINTERNET handle) override;
    BOOL ReleaseMutex(HANDLE mutex) override;

    /// While this is set, the computer has no network.
    std::atomic<bool> isOffline = false;
    std::atomic<unsigned> exchanges = 0;
    /// How often the queue file's mutex was released: once for each load and each save.
    std::atomic<unsigned> turns = 0;

private:
    CRecorder& m_recorder;
    HINTERNET m_request = nullptr;
    std::string m_key;
    bool m_wasSent = false;
    bool m_wasAccepted = false;
};

/// The system's files and waits; records every load and save of the queue file. Both happen under the file's mutex, so
/// the counter in the records orders those of all processes.
class CWatchedKernelApi : public KVWinApi::CKernelApi
{
public:
    explicit CWatchedKernelApi(CRecorder& recorder) : m_recorder(recorder) {}

    HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                       DWORD flags, HANDLE pattern) override;
    BOOL WriteFile(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) override;
    /// The worker pauses for milliseconds instead of a second; otherwise most of a run would be pauses.
    DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) override;

private:
    void RecordLines(const char* word, const std::string& bytes);

    CRecorder& m_recorder;
    HANDLE m_saving = nullptr;
};
} // namespace KVSoak
