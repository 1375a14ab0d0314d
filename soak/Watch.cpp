#include "soak/Watch.h"

#include <string_view>

namespace KVSoak
{
namespace
{
constexpr DWORD kPauseMs = 1000; // the worker's; no other wait of the client has this length
constexpr DWORD kShortPauseMs = 10;
// Under Wine the test for a network takes longer than the exchange, so most of its results are simulated.
constexpr unsigned kAskEvery = 16;

bool IsQueueFile(std::wstring_view path)
{
    return path.ends_with(L"\\Statlet_RequestQueue.txt");
}

std::string ReadWhole(const wchar_t* path)
{
    std::string bytes;
    const HANDLE file = ::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        return bytes;
    }
    char chunk[4096];
    DWORD read = 0;
    while (::ReadFile(file, chunk, sizeof(chunk), &read, nullptr) != FALSE && read != 0)
    {
        bytes.append(chunk, read);
    }
    ::CloseHandle(file);
    return bytes;
}
} // namespace

BOOL CWatchedWinApi::InternetGetConnectedState(LPDWORD flags, DWORD reserved)
{
    if (isOffline)
    {
        return FALSE;
    }
    if (exchanges % kAskEvery == 0)
    {
        return CWinApi::InternetGetConnectedState(flags, reserved);
    }
    *flags = INTERNET_CONNECTION_LAN;
    return TRUE;
}

HINTERNET CWatchedWinApi::HttpOpenRequestW(HINTERNET connection, LPCWSTR verb, LPCWSTR object, LPCWSTR version,
                                           LPCWSTR referrer, LPCWSTR* types, DWORD flags, DWORD_PTR context)
{
    m_request = CWinApi::HttpOpenRequestW(connection, verb, object, version, referrer, types, flags, context);
    m_key = KeyOf(object);
    m_wasSent = false;
    m_wasAccepted = false;
    return m_request;
}

BOOL CWatchedWinApi::HttpSendRequestW(HINTERNET request, LPCWSTR headers, DWORD length, LPVOID optional,
                                      DWORD optionalLength)
{
    const BOOL result = CWinApi::HttpSendRequestW(request, headers, length, optional, optionalLength);
    m_wasSent = result != FALSE;
    return result;
}

BOOL CWatchedWinApi::HttpQueryInfoW(HINTERNET request, DWORD level, LPVOID buffer, LPDWORD size, LPDWORD index)
{
    const BOOL result = CWinApi::HttpQueryInfoW(request, level, buffer, size, index);
    const DWORD status = result != FALSE ? *static_cast<const DWORD*>(buffer) : 0;
    m_wasAccepted = m_wasSent && status >= HTTP_STATUS_OK && status <= HTTP_STATUS_ACCEPTED;
    return result;
}

BOOL CWatchedWinApi::InternetCloseHandle(HINTERNET handle)
{
    if (handle == m_request && handle != nullptr)
    {
        m_request = nullptr;
        ++exchanges;
        m_recorder.Write("exchange\t" + m_key + (m_wasAccepted ? "\t1" : "\t0"));
    }
    return CWinApi::InternetCloseHandle(handle);
}

BOOL CWatchedWinApi::ReleaseMutex(HANDLE mutex)
{
    ++turns;
    return CWinApi::ReleaseMutex(mutex);
}

HANDLE CWatchedKernelApi::CreateFileW(LPCWSTR path, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES attributes,
                                      DWORD disposition, DWORD flags, HANDLE pattern)
{
    // Only a load, which empties the file, opens it for writing without creating it.
    const bool empties = (access & GENERIC_WRITE) != 0 && IsQueueFile(path) &&
                         (disposition == TRUNCATE_EXISTING || disposition == OPEN_EXISTING);
    const std::string content = empties ? ReadWhole(path) : std::string();
    const HANDLE file = CKernelApi::CreateFileW(path, access, shareMode, attributes, disposition, flags, pattern);
    if (empties && file != INVALID_HANDLE_VALUE)
    {
        RecordLines("load", content);
    }
    if (disposition == OPEN_ALWAYS && IsQueueFile(path))
    {
        m_saving = file;
    }
    return file;
}

BOOL CWatchedKernelApi::WriteFile(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED overlapped)
{
    const BOOL result = CKernelApi::WriteFile(file, bytes, size, written, overlapped);
    if (file == m_saving && result != FALSE && *written == size)
    {
        RecordLines("save", std::string(static_cast<const char*>(bytes), size));
    }
    return result;
}

DWORD CWatchedKernelApi::WaitForSingleObject(HANDLE handle, DWORD milliseconds)
{
    return CKernelApi::WaitForSingleObject(handle, milliseconds == kPauseMs ? kShortPauseMs : milliseconds);
}

void CWatchedKernelApi::RecordLines(const char* word, const std::string& bytes)
{
    std::string record = std::string(word) + "\t" + std::to_string(ReadCounter());
    std::wstring line;
    for (const char byte : bytes)
    {
        if (byte != '\n')
        {
            line += static_cast<wchar_t>(static_cast<unsigned char>(byte));
            continue;
        }
        record += "\t" + KeyOf(line);
        line.clear();
    }
    // A line without an end has no owner: the model reports it.
    m_recorder.Write(record + (line.empty() ? "" : "\thalf a line"));
}
} // namespace KVSoak
