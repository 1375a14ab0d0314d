#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <vector>

#include "ga_client/ClientInfo.h"
#include "tests/support/TemporaryFolder.h"
#include "winapi/KernelApi.h"
#include "winapi/WinApi.h"

namespace KVTest
{
/// An application name that no other test process uses: the data folder and the mutex of the queue file are named after
/// it.
inline std::wstring UniqueApplicationName()
{
    return L"Test" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(::GetTickCount64());
}

/// The application version for that name.
inline constexpr wchar_t kSampleVersion[] = L"1.2";

/// The facts that the hits of tests carry; SamplePrefix is the common part of every hit that results from them.
inline GAClient::ClientInfo SampleClientInfo()
{
    return {L"Lumo", L"1.2.3", L"XX-1", L"1920x1080", L"32-bit", L"en-US"};
}
inline constexpr wchar_t kSampleClientId[] = L"3f2504e0-4f89-11d3-9a0c-0305e82c3301";
/// The first cache busters of a process, in order.
inline constexpr wchar_t kFirstCacheBuster[] = L"6093677622";
inline constexpr wchar_t kSecondCacheBuster[] = L"7322882386";
inline constexpr wchar_t kThirdCacheBuster[] = L"8228121895";

inline std::wstring SamplePrefix(const std::wstring& cacheBuster = kFirstCacheBuster)
{
    return L"v=1&z=" + cacheBuster +
           L"&ul=en-US&de=UTF-8&je=0&sd=32-bit&sr=1920x1080&vp=1920x1080&tid=XX-1&an=Lumo&av=1.2.3&aip=1&cid=" +
           kSampleClientId + L"&";
}

/// The mark of a hit that is tracked at the first time of FixedTimeApi.
inline constexpr wchar_t kMark[] = L"#1416096000";

/// A system whose calendar shows what the test sets: seconds since 1970-01-01 UTC, with some milliseconds that must not
/// count.
class FixedTimeApi : public KVWinApi::CKernelApi
{
public:
    explicit FixedTimeApi(std::int64_t start = 1416096000) : seconds(start) {}

    void GetSystemTime(LPSYSTEMTIME time) override
    {
        constexpr std::int64_t kTicksPerSecond = 10000000;
        constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;
        const std::int64_t ticks = (seconds + kSecondsFrom1601To1970) * kTicksPerSecond + kTicksPerSecond - 10000;
        FILETIME fileTime{};
        fileTime.dwLowDateTime = static_cast<DWORD>(ticks & 0xFFFFFFFF);
        fileTime.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
        ::FileTimeToSystemTime(&fileTime, time);
    }

    std::atomic<std::int64_t> seconds;
};

/// A system whose local application data folder is a temporary one of the test.
class LocalFolderApi : public KVWinApi::CWinApi
{
public:
    BOOL SHGetSpecialFolderPathW(HWND window, LPWSTR path, int folder, BOOL create) override
    {
        ++shellCalls;
        shellFolder = folder;
        shellCreates = create;
        shellWindow = window;
        if (!shellAnswers || failingShellCalls-- > 0)
        {
            return FALSE;
        }
        localFolder.GetPath().copy(path, MAX_PATH - 1);
        path[localFolder.GetPath().size()] = L'\0';
        return TRUE;
    }

    std::wstring DataFolder(const std::wstring& name, const std::wstring& version) const
    {
        return localFolder.GetPath() + L"\\Norvik\\Statlet\\" + name + L"\\" + version + L"\\";
    }

    TemporaryFolder localFolder;
    bool shellAnswers = true;
    int failingShellCalls = 0; // number of the next calls that fail
    int shellCalls = 0;
    int shellFolder = -1;
    BOOL shellCreates = FALSE;
    HWND shellWindow = nullptr;
};

/// A system with a simulated internet: every call is recorded, and `answer` decides the result of each POST.
class FakeInternetApi : public LocalFolderApi
{
public:
    struct Post
    {
        std::wstring path;
        DWORD flags = 0;
        std::wstring header;
    };

    HINTERNET InternetOpenW(LPCWSTR agent, DWORD accessType, LPCWSTR proxy, LPCWSTR bypass, DWORD flags) override
    {
        const std::lock_guard<std::mutex> hold(mutex);
        Record(std::wstring(L"open ") + agent + L" " + std::to_wstring(accessType) +
               (proxy == nullptr ? L"" : L" proxy") + (bypass == nullptr ? L"" : L" bypass") + L" " +
               std::to_wstring(flags));
        return openFails ? nullptr : NewHandle(L"session");
    }
    BOOL InternetSetOptionW(HINTERNET handle, DWORD option, LPVOID buffer, DWORD size) override
    {
        const std::lock_guard<std::mutex> hold(mutex);
        DWORD value = 0;
        if (size == sizeof(value))
        {
            value = *static_cast<DWORD*>(buffer);
        }
        Record(L"option " + NameOf(handle) + L" " + std::to_wstring(option) + L" " + std::to_wstring(value));
        return FALSE; // must not matter
    }
    HINTERNET InternetConnectW(HINTERNET session, LPCWSTR server, INTERNET_PORT port, LPCWSTR user, LPCWSTR password,
                               DWORD service, DWORD flags, DWORD_PTR context) override
    {
        const std::lock_guard<std::mutex> hold(mutex);
        Record(L"connect " + NameOf(session) + L" " + server + L" " + std::to_wstring(port) +
               (user == nullptr ? L"" : L" user") + (password == nullptr ? L"" : L" password") + L" " +
               std::to_wstring(service) + L" " + std::to_wstring(flags) + L" " + std::to_wstring(context));
        return connectFails ? nullptr : NewHandle(L"connection");
    }
    BOOL InternetCloseHandle(HINTERNET handle) override
    {
        const std::lock_guard<std::mutex> hold(mutex);
        Record(L"close " + NameOf(handle));
        handles[IndexOf(handle)] = L"closed";
        return TRUE;
    }
    HINTERNET HttpOpenRequestW(HINTERNET connection, LPCWSTR verb, LPCWSTR object, LPCWSTR version, LPCWSTR referrer,
                               LPCWSTR* types, DWORD flags, DWORD_PTR context) override
    {
        const std::lock_guard<std::mutex> hold(mutex);
        Record(L"request " + NameOf(connection) + L" " + verb + (version == nullptr ? L"" : L" version") +
               (referrer == nullptr ? L"" : L" referrer") + (types == nullptr ? L"" : L" types") + L" " +
               std::to_wstring(flags) + L" " + std::to_wstring(context));
        posts.push_back({object, flags, L""});
        return requestFails ? nullptr : NewHandle(L"request");
    }
    BOOL HttpSendRequestW(HINTERNET request, LPCWSTR headers, DWORD length, LPVOID optional,
                          DWORD optionalLength) override
    {
        std::wstring path;
        {
            const std::lock_guard<std::mutex> hold(mutex);
            Record(L"send " + NameOf(request) + L" " + std::to_wstring(length) +
                   (optional == nullptr ? L"" : L" optional") + L" " + std::to_wstring(optionalLength));
            posts.back().header = headers;
            path = posts.back().path;
        }
        m_status = answer(path);
        return m_status != kNoAnswer ? TRUE : FALSE;
    }
    BOOL HttpQueryInfoW(HINTERNET request, DWORD level, LPVOID buffer, LPDWORD size, LPDWORD index) override
    {
        const std::lock_guard<std::mutex> hold(mutex);
        Record(L"query " + NameOf(request) + L" " + std::to_wstring(level) + L" " + std::to_wstring(*size) +
               (index == nullptr ? L"" : L" index"));
        // A failed send can leave a status.
        const DWORD value = m_status != kNoAnswer ? m_status.load() : HTTP_STATUS_OK;
        *static_cast<DWORD*>(buffer) = value;
        return queryFails ? FALSE : TRUE;
    }
    BOOL InternetGetConnectedState(LPDWORD flags, DWORD reserved) override
    {
        const std::lock_guard<std::mutex> hold(mutex);
        Record(L"connected " + std::to_wstring(reserved));
        *flags = 0;
        return isConnected ? TRUE : FALSE;
    }

    std::vector<std::wstring> TakeCalls()
    {
        const std::lock_guard<std::mutex> hold(mutex);
        return std::exchange(calls, {});
    }
    /// The paths of all opened requests, in order.
    std::vector<std::wstring> Paths()
    {
        const std::lock_guard<std::mutex> hold(mutex);
        std::vector<std::wstring> paths;
        for (const Post& post : posts)
        {
            paths.push_back(post.path);
        }
        return paths;
    }

    static constexpr DWORD kNoAnswer = 0;
    /// The status that the server answers with, or kNoAnswer for a send that fails. Called without any lock.
    std::function<DWORD(const std::wstring& path)> answer = [](const std::wstring&) { return DWORD{200}; };
    std::atomic<bool> isConnected = true;
    std::atomic<bool> openFails = false;
    std::atomic<bool> connectFails = false;
    std::atomic<bool> requestFails = false;
    std::atomic<bool> queryFails = false;
    std::mutex mutex; // guards the three below
    std::vector<Post> posts;
    std::vector<std::wstring> calls;
    std::vector<std::wstring> handles; // the kind of each handle that was returned

private:
    void Record(const std::wstring& call) { calls.push_back(call); }
    HINTERNET NewHandle(const std::wstring& kind)
    {
        handles.push_back(kind);
        return reinterpret_cast<HINTERNET>(handles.size() * 16);
    }
    static std::size_t IndexOf(HINTERNET handle) { return reinterpret_cast<std::size_t>(handle) / 16 - 1; }
    std::wstring NameOf(HINTERNET handle) const
    {
        return handle == nullptr || IndexOf(handle) >= handles.size()
                   ? L"unknown"
                   : handles[IndexOf(handle)] + std::to_wstring(IndexOf(handle) + 1);
    }

    std::atomic<DWORD> m_status = kNoAnswer;
};

/// The computer of SampleClientInfo, with the simulated internet.
class SampleComputerApi : public FakeInternetApi
{
public:
    HWND GetDesktopWindow() override { return reinterpret_cast<HWND>(0x100); }
    HDC GetWindowDC(HWND) override { return reinterpret_cast<HDC>(0x200); }
    HDC GetDC(HWND) override { return reinterpret_cast<HDC>(0x300); }
    int ReleaseDC(HWND, HDC) override { return 1; }
    int GetDeviceCaps(HDC, int index) override { return index == HORZRES ? 1920 : index == VERTRES ? 1080 : 32; }
    int GetLocaleInfoW(LCID, LCTYPE type, LPWSTR text, int size) override
    {
        const std::wstring value = type == LOCALE_SISO639LANGNAME ? L"en" : L"US";
        if (size != 0)
        {
            value.copy(text, 2);
            text[2] = L'\0';
        }
        return 3;
    }
};
} // namespace KVTest
