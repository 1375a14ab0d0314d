// A program that tracks hits as any other does, for the tests that need several processes or the end of one.
//
// kv_client_program PORT FOLDER APPLICATION MODE NAME COUNT
//   PORT         of the server on this computer that replaces the collection host
//   FOLDER       that replaces the user's local application data
//   MODE         send: waits up to 15 seconds until all is sent, then leaves
//                leave: leaves at once, as a program whose user is in a hurry
//                abandon: leaves while an exchange is under way that outlasts the time to wait for it
//   NAME COUNT   the hits are screen views of NAME-0, NAME-1 and so on
//
// The exit code is 0, or 1 when the client refused something.

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cwchar>
#include <list>
#include <string>

#include "ga_client/GAClient.h"
#include "tests/ga_client/RedirectedInternet.h"
#include "winapi/KernelApi.h"
#include "winapi/WinApi.h"

namespace
{
constexpr DWORD kLongestSendMs = 15000;

class FolderApi : public KVWinApi::CWinApi
{
public:
    BOOL SHGetSpecialFolderPathW(HWND, LPWSTR path, int, BOOL) override
    {
        folder.copy(path, MAX_PATH - 1);
        path[(std::min<std::size_t>)(folder.size(), MAX_PATH - 1)] = L'\0';
        return TRUE;
    }
    BOOL HttpSendRequestW(HINTERNET request, LPCWSTR headers, DWORD length, LPVOID optional,
                          DWORD optionalLength) override
    {
        isSending = true;
        return CWinApi::HttpSendRequestW(request, headers, length, optional, optionalLength);
    }
    std::wstring folder;
    std::atomic<bool> isSending = false;
};

// Retries after milliseconds rather than a second, and does not wait for the worker when it is to be left behind.
class ImpatientApi : public KVWinApi::CKernelApi
{
public:
    HANDLE CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState, LPCWSTR name) override
    {
        m_stopEvent = CKernelApi::CreateEventW(attributes, manualReset, initialState, name);
        return m_stopEvent;
    }
    DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) override
    {
        constexpr DWORD kRetryMs = 20;
        constexpr DWORD kJoinMs = 65000; // the join waits longer, nothing else does
        if (handle == m_stopEvent)
        {
            return CKernelApi::WaitForSingleObject(handle, (std::min)(milliseconds, kRetryMs));
        }
        return CKernelApi::WaitForSingleObject(handle, abandons && milliseconds > kJoinMs ? 0 : milliseconds);
    }
    std::atomic<bool> abandons = false;

private:
    std::atomic<HANDLE> m_stopEvent = nullptr;
};

// Constructed before the client and therefore destroyed after it: the time between that and the end of the process, in
// which an exchange left behind comes back.
struct LateEnd
{
    DWORD delayMs = 0;
    ~LateEnd() { ::Sleep(delayMs); }
};

bool IsSent(GAClient::IGAClient& client)
{
    for (DWORD waited = 0; waited < kLongestSendMs; waited += 10)
    {
        std::list<std::wstring> queue;
        if (client.GetQueuedRequests(queue) && queue.empty())
        {
            return true;
        }
        ::Sleep(10);
    }
    return false;
}
} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc != 7)
    {
        return 2;
    }
    static KVTest::RedirectedInternet<FolderApi> s_winApi(
        static_cast<INTERNET_PORT>(std::wcstoul(argv[1], nullptr, 10)));
    static ImpatientApi s_kernelApi;
    static LateEnd s_lateEnd;
    s_winApi.folder = argv[2];
    KVWinApi::g_winApi = &s_winApi;
    KVWinApi::g_kernelApi = &s_kernelApi;
    const std::wstring mode = argv[4];
    const int count = static_cast<int>(std::wcstol(argv[6], nullptr, 10));

    GAClient::IGAClient& client = GAClient::GetGAClient();
    bool isTracked = client.Initialize(L"XX-1", argv[3], L"1.2", false, true);
    client.SetDispatchHeld(false);
    for (int i = 0; i < count; ++i)
    {
        isTracked = client.TrackScreenView(std::wstring(argv[5]) + L"-" + std::to_wstring(i)) && isTracked;
    }
    if (mode == L"send")
    {
        IsSent(client);
    }
    if (mode == L"abandon")
    {
        for (DWORD waited = 0; waited < kLongestSendMs && !s_winApi.isSending; waited += 5)
        {
            ::Sleep(5);
        }
        s_kernelApi.abandons = true;
        s_lateEnd.delayMs = 600;
    }
    return isTracked ? 0 : 1;
}
