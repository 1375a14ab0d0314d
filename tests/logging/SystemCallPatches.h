#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/ImportPatch.h"

KV_DECLARE_IMPORT(CreateFileMappingW)
KV_DECLARE_IMPORT(CreateFileW)
KV_DECLARE_IMPORT(CreateMutexW)
KV_DECLARE_IMPORT(EnterCriticalSection)
KV_DECLARE_IMPORT(GetCurrentThreadId)
KV_DECLARE_IMPORT(GetFileAttributesW)
KV_DECLARE_IMPORT(GetFileInformationByHandleEx)
KV_DECLARE_IMPORT(GetLocalTime)
KV_DECLARE_IMPORT(GetLongPathNameW)
KV_DECLARE_IMPORT(GetTickCount)
KV_DECLARE_IMPORT(K32EnumProcessModules)
KV_DECLARE_IMPORT(LeaveCriticalSection)
KV_DECLARE_IMPORT(QueryPerformanceCounter)
KV_DECLARE_IMPORT(RegOpenKeyExW)
KV_DECLARE_IMPORT(RegCreateKeyExW)
KV_DECLARE_IMPORT(RegQueryValueExW)
KV_DECLARE_IMPORT(Sleep)
KV_DECLARE_IMPORT(SleepConditionVariableSRW)
KV_DECLARE_IMPORT(WaitForSingleObject)

// Substitutes for the system functions that the logging library calls directly. One of a kind at a time.
namespace KVTest
{
/// The performance counter stands still until the test advances it.
class FrozenPerformanceCounter
{
public:
    FrozenPerformanceCounter() : m_patch(__imp_QueryPerformanceCounter, reinterpret_cast<void*>(&Query))
    {
        SetMicroseconds(0);
    }
    static void SetMicroseconds(std::int64_t microseconds)
    {
        LARGE_INTEGER frequency{};
        ::QueryPerformanceFrequency(&frequency);
        constexpr std::int64_t kSecond = 1000000;
        // The fraction is rounded up, since the conversion back cuts off.
        s_ticks = microseconds / kSecond * frequency.QuadPart +
                  (microseconds % kSecond * frequency.QuadPart + kSecond - 1) / kSecond;
        s_microseconds = microseconds;
    }
    static void Advance(std::int64_t microseconds) { SetMicroseconds(s_microseconds + microseconds); }

private:
    static BOOL WINAPI Query(LARGE_INTEGER* ticks)
    {
        ticks->QuadPart = s_ticks;
        return TRUE;
    }

    inline static std::int64_t s_ticks = 0;
    inline static std::int64_t s_microseconds = 0;
    ImportPatch m_patch;
};

/// Time passes only in `Sleep`, and each sleep is noted.
class SleepPatch
{
public:
    SleepPatch()
        : m_tickPatch(__imp_GetTickCount, reinterpret_cast<void*>(&GetTicks)),
          m_sleepPatch(__imp_Sleep, reinterpret_cast<void*>(&SleepStandIn))
    {
        s_sleeps.clear();
    }
    static const std::vector<DWORD>& GetSleeps() { return s_sleeps; }

private:
    static DWORD WINAPI GetTicks() { return s_ticks; }
    static void WINAPI SleepStandIn(DWORD milliseconds)
    {
        s_ticks += milliseconds;
        s_sleeps.push_back(milliseconds);
    }

    inline static DWORD s_ticks = 0xFFFFFFF0; // its wrap comes soon
    inline static std::vector<DWORD> s_sleeps;
    ImportPatch m_tickPatch;
    ImportPatch m_sleepPatch;
};

/// Notes the time-out of each wait of this thread, and answers chosen waits with WAIT_TIMEOUT at once. Other threads,
/// such as one that holds a mutex for the test, wait as usual.
class WaitPatch
{
public:
    /// isRefused: asked for each wait, with its number from 1 on and its time-out.
    explicit WaitPatch(std::function<bool(std::size_t, DWORD)> isRefused = {})
        : m_patch(__imp_WaitForSingleObject, reinterpret_cast<void*>(&Wait))
    {
        s_thread = ::GetCurrentThreadId();
        s_timeouts.clear();
        s_isRefused = std::move(isRefused);
    }
    static const std::vector<DWORD>& GetTimeouts() { return s_timeouts; }

private:
    static DWORD WINAPI Wait(HANDLE object, DWORD timeout)
    {
        if (::GetCurrentThreadId() != s_thread)
        {
            return s_original(object, timeout);
        }
        s_timeouts.push_back(timeout);
        return s_isRefused && s_isRefused(s_timeouts.size(), timeout) ? WAIT_TIMEOUT : s_original(object, timeout);
    }

    // Set before anything is patched: other threads may wait at any time.
    inline static DWORD(WINAPI* const s_original)(HANDLE, DWORD) =
        reinterpret_cast<DWORD(WINAPI*)(HANDLE, DWORD)>(__imp_WaitForSingleObject);
    inline static std::atomic<DWORD> s_thread = 0;
    inline static std::vector<DWORD> s_timeouts;
    inline static std::function<bool(std::size_t, DWORD)> s_isRefused;
    ImportPatch m_patch;
};

/// The first opening of a file whose path ends with the text, which is in lower case, lasts until it is released.
class SlowOpeningPatch
{
public:
    explicit SlowOpeningPatch(std::wstring end) : m_patch(__imp_CreateFileW, reinterpret_cast<void*>(&Create))
    {
        s_end = std::move(end);
        s_isDone = false;
        s_isInside = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        s_mayLeave = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        s_original = reinterpret_cast<decltype(s_original)>(m_patch.GetOriginal());
    }
    ~SlowOpeningPatch()
    {
        ::CloseHandle(s_mayLeave);
        ::CloseHandle(s_isInside);
    }
    SlowOpeningPatch(const SlowOpeningPatch&) = delete;
    SlowOpeningPatch& operator=(const SlowOpeningPatch&) = delete;

    /// False when nobody opens the file.
    static bool WaitUntilInside() { return ::WaitForSingleObject(s_isInside, 20000) == WAIT_OBJECT_0; }
    static void Release() { ::SetEvent(s_mayLeave); }

private:
    static HANDLE WINAPI Create(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                                DWORD disposition, DWORD flags, HANDLE model)
    {
        const std::wstring text = path;
        if (text.size() >= s_end.size() && text.substr(text.size() - s_end.size()) == s_end && !s_isDone.exchange(true))
        {
            ::SetEvent(s_isInside);
            ::WaitForSingleObject(s_mayLeave, 20000);
        }
        return s_original(path, access, share, security, disposition, flags, model);
    }

    inline static HANDLE(WINAPI* s_original)(LPCWSTR, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD,
                                             HANDLE) = nullptr;
    inline static std::wstring s_end;
    inline static std::atomic<bool> s_isDone = false;
    inline static HANDLE s_isInside = nullptr;
    inline static HANDLE s_mayLeave = nullptr;
    ImportPatch m_patch;
};

/// Waits for a condition last twenty seconds, however long they were to last, which is noted.
class PatientConditionPatch
{
public:
    PatientConditionPatch() : m_patch(__imp_SleepConditionVariableSRW, reinterpret_cast<void*>(&Wait))
    {
        s_lastTimeout = 0;
        s_original = reinterpret_cast<decltype(s_original)>(m_patch.GetOriginal());
    }
    /// Of the wait that began last; 0 for none.
    static DWORD GetLastTimeout() { return s_lastTimeout; }

private:
    static BOOL WINAPI Wait(CONDITION_VARIABLE* condition, SRWLOCK* lock, DWORD timeout, ULONG flags)
    {
        s_lastTimeout = timeout;
        return s_original(condition, lock, 20000, flags);
    }

    inline static BOOL(WINAPI* s_original)(CONDITION_VARIABLE*, SRWLOCK*, DWORD, ULONG) = nullptr;
    inline static std::atomic<DWORD> s_lastTimeout = 0;
    ImportPatch m_patch;
};

/// The hook is called once, by the first thread that is about to enter a critical section.
class EnterPatch
{
public:
    explicit EnterPatch(std::function<void()> hook)
        : m_patch(__imp_EnterCriticalSection, reinterpret_cast<void*>(&Enter))
    {
        s_hook = std::move(hook);
        s_original = reinterpret_cast<decltype(s_original)>(m_patch.GetOriginal());
    }

private:
    static void WINAPI Enter(CRITICAL_SECTION* section)
    {
        if (const std::function<void()> hook = std::exchange(s_hook, {}))
        {
            hook();
        }
        s_original(section);
    }

    inline static void(WINAPI* s_original)(CRITICAL_SECTION*) = nullptr;
    inline static std::function<void()> s_hook;
    ImportPatch m_patch;
};

/// The chosen thread calls the hook whenever it has left a critical section.
class LeavePatch
{
public:
    LeavePatch(DWORD thread, std::function<void()> hook)
        : m_patch(__imp_LeaveCriticalSection, reinterpret_cast<void*>(&Leave))
    {
        s_hook = std::move(hook);
        s_original = reinterpret_cast<decltype(s_original)>(m_patch.GetOriginal());
        s_thread = thread;
    }
    ~LeavePatch() { s_thread = 0; }
    LeavePatch(const LeavePatch&) = delete;
    LeavePatch& operator=(const LeavePatch&) = delete;

private:
    static void WINAPI Leave(CRITICAL_SECTION* section)
    {
        s_original(section);
        if (::GetCurrentThreadId() == s_thread)
        {
            s_hook();
        }
    }

    inline static void(WINAPI* s_original)(CRITICAL_SECTION*) = nullptr;
    inline static std::atomic<DWORD> s_thread = 0;
    inline static std::function<void()> s_hook;
    ImportPatch m_patch;
};

/// Notes the mappings that are made.
class MappingPatch
{
public:
    struct Mapping
    {
        std::wstring name;
        DWORD byteCount;
        DWORD protection;
    };
    MappingPatch() : m_patch(__imp_CreateFileMappingW, reinterpret_cast<void*>(&Create))
    {
        s_mappings.clear();
        s_original = reinterpret_cast<decltype(s_original)>(m_patch.GetOriginal());
    }
    static const std::vector<Mapping>& GetMappings() { return s_mappings; }

private:
    static HANDLE WINAPI Create(HANDLE file, SECURITY_ATTRIBUTES* security, DWORD protection, DWORD high, DWORD low,
                                LPCWSTR name)
    {
        s_mappings.push_back({name, low, protection});
        return s_original(file, security, protection, high, low, name);
    }

    inline static HANDLE(WINAPI* s_original)(HANDLE, SECURITY_ATTRIBUTES*, DWORD, DWORD, DWORD, LPCWSTR) = nullptr;
    inline static std::vector<Mapping> s_mappings;
    ImportPatch m_patch;
};

/// Notes the names of the mutexes that are made.
class MutexPatch
{
public:
    MutexPatch() : m_patch(__imp_CreateMutexW, reinterpret_cast<void*>(&Create))
    {
        s_names.clear();
        s_original = reinterpret_cast<decltype(s_original)>(m_patch.GetOriginal());
    }
    static const std::vector<std::wstring>& GetNames() { return s_names; }

private:
    static HANDLE WINAPI Create(SECURITY_ATTRIBUTES* security, BOOL isOwned, LPCWSTR name)
    {
        s_names.emplace_back(name);
        return s_original(security, isOwned, name);
    }

    inline static HANDLE(WINAPI* s_original)(SECURITY_ATTRIBUTES*, BOOL, LPCWSTR) = nullptr;
    inline static std::vector<std::wstring> s_names;
    ImportPatch m_patch;
};

/// Notes the access that is asked for at each opening of a registry key.
class RegistryPatch
{
public:
    RegistryPatch()
        : m_openPatch(__imp_RegOpenKeyExW, reinterpret_cast<void*>(&Open)),
          m_createPatch(__imp_RegCreateKeyExW, reinterpret_cast<void*>(&Create))
    {
        s_opened.clear();
        s_created.clear();
        s_open = reinterpret_cast<decltype(s_open)>(m_openPatch.GetOriginal());
        s_create = reinterpret_cast<decltype(s_create)>(m_createPatch.GetOriginal());
    }
    static const std::vector<REGSAM>& GetOpened() { return s_opened; }
    static const std::vector<REGSAM>& GetCreated() { return s_created; }

private:
    static LSTATUS WINAPI Open(HKEY key, LPCWSTR path, DWORD options, REGSAM access, HKEY* opened)
    {
        s_opened.push_back(access);
        return s_open(key, path, options, access, opened);
    }
    static LSTATUS WINAPI Create(HKEY key, LPCWSTR path, DWORD reserved, LPWSTR keyClass, DWORD options, REGSAM access,
                                 const SECURITY_ATTRIBUTES* security, HKEY* created, DWORD* disposition)
    {
        s_created.push_back(access);
        return s_create(key, path, reserved, keyClass, options, access, security, created, disposition);
    }

    inline static LSTATUS(WINAPI* s_open)(HKEY, LPCWSTR, DWORD, REGSAM, HKEY*) = nullptr;
    inline static LSTATUS(WINAPI* s_create)(HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, const SECURITY_ATTRIBUTES*,
                                            HKEY*, DWORD*) = nullptr;
    inline static std::vector<REGSAM> s_opened;
    inline static std::vector<REGSAM> s_created;
    ImportPatch m_openPatch;
    ImportPatch m_createPatch;
};

/// Each text of the registry has grown whenever it is read, until the limit of calls is reached.
class GrowingTextPatch
{
public:
    static constexpr int kLimit = 1000;

    GrowingTextPatch() : m_patch(__imp_RegQueryValueExW, reinterpret_cast<void*>(&Query)) { s_calls = 0; }
    static int GetCalls() { return s_calls; }

private:
    static LSTATUS WINAPI Query(HKEY, LPCWSTR, DWORD*, DWORD* type, BYTE*, DWORD* byteCount)
    {
        *type = REG_SZ;
        *byteCount += 2 * sizeof(wchar_t);
        return ++s_calls < kLimit ? ERROR_MORE_DATA : ERROR_FILE_NOT_FOUND;
    }

    inline static int s_calls = 0;
    ImportPatch m_patch;
};

/// Files whose path ends with the text, which is in lower case, are links.
class LinkPatch
{
public:
    explicit LinkPatch(std::wstring end)
        : m_pathPatch(__imp_GetFileAttributesW, reinterpret_cast<void*>(&GetAttributes)),
          m_handlePatch(__imp_GetFileInformationByHandleEx, reinterpret_cast<void*>(&GetInformation))
    {
        s_end = std::move(end);
        s_getAttributes = reinterpret_cast<decltype(s_getAttributes)>(m_pathPatch.GetOriginal());
        s_getInformation = reinterpret_cast<decltype(s_getInformation)>(m_handlePatch.GetOriginal());
    }

private:
    static DWORD AttributeOf(const std::wstring& path)
    {
        return path.ends_with(s_end) ? FILE_ATTRIBUTE_REPARSE_POINT : 0;
    }
    static DWORD WINAPI GetAttributes(LPCWSTR path) { return s_getAttributes(path) | AttributeOf(path); }
    static BOOL WINAPI GetInformation(HANDLE file, FILE_INFO_BY_HANDLE_CLASS kind, LPVOID information, DWORD byteCount)
    {
        const BOOL result = s_getInformation(file, kind, information, byteCount);
        if (result != FALSE && kind == FileBasicInfo)
        {
            std::wstring path(MAX_PATH, L'\0');
            path.resize(::GetFinalPathNameByHandleW(file, path.data(), MAX_PATH, 0));
            static_cast<FILE_BASIC_INFO*>(information)->FileAttributes |= AttributeOf(path);
        }
        return result;
    }

    inline static DWORD(WINAPI* s_getAttributes)(LPCWSTR) = nullptr;
    inline static BOOL(WINAPI* s_getInformation)(HANDLE, FILE_INFO_BY_HANDLE_CLASS, LPVOID, DWORD) = nullptr;
    inline static std::wstring s_end;
    ImportPatch m_pathPatch;
    ImportPatch m_handlePatch;
};

/// Notes how files whose path ends with the text, which is in lower case, are opened.
class OpeningPatch
{
public:
    struct Opening
    {
        DWORD disposition;
        DWORD flags;
    };
    explicit OpeningPatch(std::wstring end) : m_patch(__imp_CreateFileW, reinterpret_cast<void*>(&Create))
    {
        s_end = std::move(end);
        s_openings.clear();
        s_original = reinterpret_cast<decltype(s_original)>(m_patch.GetOriginal());
    }
    static const std::vector<Opening>& GetOpenings() { return s_openings; }

private:
    static HANDLE WINAPI Create(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                                DWORD disposition, DWORD flags, HANDLE model)
    {
        if (std::wstring(path).ends_with(s_end))
        {
            s_openings.push_back({disposition, flags});
        }
        return s_original(path, access, share, security, disposition, flags, model);
    }

    inline static HANDLE(WINAPI* s_original)(LPCWSTR, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD,
                                             HANDLE) = nullptr;
    inline static std::wstring s_end;
    inline static std::vector<Opening> s_openings;
    ImportPatch m_patch;
};

/// The long form of every path is this one.
class LongPathPatch
{
public:
    explicit LongPathPatch(std::wstring path) : m_patch(__imp_GetLongPathNameW, reinterpret_cast<void*>(&GetLongPath))
    {
        s_path = std::move(path);
    }

private:
    static DWORD WINAPI GetLongPath(LPCWSTR, LPWSTR path, DWORD room)
    {
        if (room <= s_path.size())
        {
            return static_cast<DWORD>(s_path.size() + 1);
        }
        s_path.copy(path, s_path.size());
        path[s_path.size()] = L'\0';
        return static_cast<DWORD>(s_path.size());
    }

    inline static std::wstring s_path;
    ImportPatch m_patch;
};
} // namespace KVTest
