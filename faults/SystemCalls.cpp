#include "faults/SystemCalls.h"

#include <windows.h>

#include <objbase.h>
#include <process.h>
#include <rpc.h>
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <tlhelp32.h>
#include <wininet.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "faults/Adapters.h"
#include "faults/Injection.h"
#include "winapi/base/ProcessStatus.h"

// Runs before the program's own runtime: nothing here allocates, throws or needs construction.
namespace KVFaults
{
namespace
{
constexpr DWORD kKeepsLastError = MAXDWORD; // of functions whose result is the error

/// A function's name as an argument of templates.
template <std::size_t kSize> struct Name
{
    constexpr Name(const char (&name)[kSize]) noexcept // NOLINT: made from a literal in the table below
    {
        for (std::size_t i = 0; i < kSize; ++i)
        {
            text[i] = name[i];
        }
    }
    char text[kSize];
};

/// Hooks one system function: each call is an event, which either fails as the function documents it or is forwarded.
template <typename Pointer, Name kName, std::intptr_t kFailure, DWORD kError, Kind kKind> struct Hook;

template <typename Result, typename... Parameters, Name kName, std::intptr_t kFailure, DWORD kError, Kind kKind>
struct Hook<Result(WINAPI*)(Parameters...), kName, kFailure, kError, kKind>
{
    static constexpr const char* kFunction = kName.text;

    static Result WINAPI Call(Parameters... arguments)
    {
        const DWORD lastError = ::GetLastError();
        const bool fails = ShouldFail(kKind, kFunction);
        ::SetLastError(fails && kError != kKeepsLastError ? kError : lastError);
        if (!fails)
        {
            return reinterpret_cast<Result(WINAPI*)(Parameters...)>(s_original)(arguments...);
        }
        if constexpr (std::is_pointer_v<Result>)
        {
            return reinterpret_cast<Result>(kFailure);
        }
        else
        {
            return static_cast<Result>(kFailure);
        }
    }

    static void* GetAddress() noexcept { return reinterpret_cast<void*>(&Call); }

    static constinit inline void* s_original = nullptr;
};

struct Entry
{
    const char* name;
    void* (*getHook)() noexcept;
    void** original;
};

template <typename Pointer, Name kName, std::intptr_t kFailure, DWORD kError, Kind kKind = Kind::kCall>
constexpr Entry MakeEntry() noexcept
{
    using Stand = Hook<Pointer, kName, kFailure, kError, kKind>;
    return {Stand::kFunction, &Stand::GetAddress, &Stand::s_original};
}

constexpr std::intptr_t kInvalidHandle = -1; // INVALID_HANDLE_VALUE, INVALID_FILE_ATTRIBUTES
constexpr std::intptr_t kOutOfMemoryHresult = E_OUTOFMEMORY;

#define KV_ENTRY(name, failure, error) MakeEntry<decltype(&::name), #name, failure, error>()
#define KV_FAILS(name) KV_ENTRY(name, 0, ERROR_NOT_ENOUGH_MEMORY) /* FALSE, null, no characters */
#define KV_FAILS_INVALID(name) KV_ENTRY(name, kInvalidHandle, ERROR_NOT_ENOUGH_MEMORY)
#define KV_FAILS_CODE(name) KV_ENTRY(name, ERROR_NOT_ENOUGH_MEMORY, kKeepsLastError)
#define KV_FAILS_HRESULT(name) KV_ENTRY(name, kOutOfMemoryHresult, kKeepsLastError)
// Called by the compiler's thread library alone.
#define KV_FAILS_RUNTIME(name, failure)                                                                                \
    MakeEntry<decltype(&::name), #name, failure, ERROR_NOT_ENOUGH_MEMORY, Kind::kRuntime>()
#define KV_FAILS_MEMORY(name) MakeEntry<decltype(&::name), #name, 0, kKeepsLastError, Kind::kRuntime>()

/// Every function that can fail, with its failure. First those that the program imports, then those that it looks up.
const Entry* FindFallible(const char* wanted) noexcept
{
    static constexpr Entry kEntries[] = {
        KV_ENTRY(CreateFileW, kInvalidHandle, ERROR_SHARING_VIOLATION),
        KV_FAILS(CheckTokenMembership),
        KV_FAILS(OpenProcessToken),
        KV_FAILS_CODE(RegCloseKey),
        KV_FAILS_CODE(RegCreateKeyExW),
        KV_FAILS_CODE(RegDeleteKeyW),
        KV_FAILS_CODE(RegDeleteValueW),
        KV_FAILS_CODE(RegEnumKeyExW),
        KV_FAILS_CODE(RegEnumValueW),
        KV_FAILS_CODE(RegOpenKeyExW),
        KV_FAILS_CODE(RegQueryInfoKeyW),
        KV_FAILS_CODE(RegQueryValueExW),
        KV_FAILS_CODE(RegSetValueExW),
        KV_FAILS(CancelWaitableTimer),
        KV_FAILS(CloseHandle),
        KV_FAILS(CopyFileW),
        KV_FAILS(CreateDirectoryW),
        KV_FAILS(CreateEventW),
        KV_FAILS(CreateFileMappingW),
        KV_FAILS(CreateMutexW),
        KV_FAILS(CreatePipe),
        KV_FAILS(CreateProcessW),
        KV_FAILS(CreateThread),
        KV_FAILS_INVALID(CreateToolhelp32Snapshot),
        KV_FAILS(CreateWaitableTimerW),
        KV_FAILS(DeleteFileW),
        KV_FAILS(DeviceIoControl),
        KV_FAILS(ExpandEnvironmentStringsW),
        KV_FAILS(FindClose),
        KV_FAILS_INVALID(FindFirstFileW),
        KV_FAILS(FindNextFileW),
        KV_FAILS(FindResourceExW),
        KV_FAILS(FindResourceW),
        KV_FAILS(FlushFileBuffers),
        KV_FAILS(FlushViewOfFile),
        KV_FAILS(FormatMessageW),
        KV_FAILS(FreeLibrary),
        KV_FAILS(GetComputerNameExW),
        KV_FAILS(GetCurrentDirectoryW),
        KV_FAILS(GetDiskFreeSpaceExW),
        KV_FAILS(GetEnvironmentVariableW),
        KV_FAILS(GetExitCodeProcess),
        KV_FAILS(GetExitCodeThread),
        KV_FAILS(GetFileAttributesExW),
        KV_FAILS_INVALID(GetFileAttributesW),
        KV_FAILS(GetFileInformationByHandle),
        KV_FAILS(GetFileInformationByHandleEx),
        KV_FAILS(GetFileSizeEx),
        KV_FAILS(GetFileTime),
        KV_FAILS(GetFullPathNameW),
        KV_FAILS(GetLocaleInfoW),
        KV_FAILS(GetLongPathNameW),
        KV_FAILS(GetModuleFileNameW),
        KV_FAILS(GetModuleHandleW),
        KV_FAILS(GetModuleHandleExW),
        KV_FAILS(GetPrivateProfileStringA),
        KV_FAILS(GetPrivateProfileStringW),
        KV_FAILS(GetProcAddress),
        KV_FAILS(GetShortPathNameW),
        KV_FAILS(GetSystemDirectoryW),
        KV_FAILS(GetSystemWow64DirectoryW),
        KV_FAILS(GetTempFileNameW),
        KV_FAILS(GetTempPathW),
        KV_FAILS(GetVersionExW),
        KV_FAILS(GlobalAlloc),
        KV_FAILS(GlobalLock),
        KV_FAILS(GlobalMemoryStatusEx),
        KV_FAILS(K32EnumProcesses),
        KV_FAILS(K32EnumProcessModules),
        KV_FAILS(K32GetModuleBaseNameW),
        KV_FAILS(K32GetModuleFileNameExW),
        KV_FAILS(LoadLibraryExW),
        KV_FAILS(LoadLibraryW),
        KV_FAILS(LoadResource),
        KV_FAILS(LocalAlloc),
        KV_FAILS(LockResource),
        KV_FAILS(MapViewOfFile),
        KV_FAILS(MoveFileExW),
        KV_FAILS(MultiByteToWideChar),
        KV_FAILS(OpenEventW),
        KV_FAILS(OpenFileMappingW),
        KV_FAILS(OpenMutexW),
        KV_FAILS(OpenProcess),
        KV_FAILS(PeekNamedPipe),
        KV_FAILS(Process32FirstW),
        KV_FAILS(Process32NextW),
        KV_FAILS(ProcessIdToSessionId),
        KV_FAILS(ReadFile),
        KV_FAILS(ReleaseMutex),
        KV_FAILS(ResetEvent),
        KV_FAILS(SearchPathW),
        KV_FAILS(SetCurrentDirectoryW),
        KV_FAILS(SetDefaultDllDirectories),
        KV_FAILS(SetEndOfFile),
        KV_FAILS(SetEvent),
        KV_FAILS(SetFileAttributesW),
        KV_FAILS(SetFilePointerEx),
        KV_FAILS(SetWaitableTimer),
        KV_FAILS(SizeofResource),
        KV_FAILS(SystemTimeToFileTime),
        KV_FAILS(TerminateThread),
        KV_FAILS(UnmapViewOfFile),
        KV_FAILS(VerifyVersionInfoW),
        KV_FAILS(VirtualProtect),
        KV_FAILS(VirtualQuery),
        KV_ENTRY(WaitForMultipleObjects, kInvalidHandle, ERROR_NOT_ENOUGH_MEMORY),
        KV_ENTRY(WaitForSingleObject, kInvalidHandle, ERROR_NOT_ENOUGH_MEMORY),
        KV_FAILS(WideCharToMultiByte),
        KV_FAILS(WriteFile),
        KV_FAILS(WritePrivateProfileStringA),
        KV_FAILS(WritePrivateProfileStringW),
        KV_FAILS(_beginthreadex),
        KV_FAILS_RUNTIME(AddVectoredExceptionHandler, 0),
        KV_FAILS_RUNTIME(CreateEventA, 0),
        KV_FAILS_RUNTIME(CreateSemaphoreA, 0),
        KV_FAILS_RUNTIME(DuplicateHandle, 0),
        KV_FAILS_RUNTIME(GetHandleInformation, 0),
        KV_FAILS_RUNTIME(GetProcessAffinityMask, 0),
        KV_FAILS_RUNTIME(GetThreadContext, 0),
        KV_FAILS_RUNTIME(GetThreadPriority, THREAD_PRIORITY_ERROR_RETURN),
        KV_FAILS_RUNTIME(ReleaseSemaphore, 0),
        KV_FAILS_RUNTIME(ResumeThread, kInvalidHandle),
        KV_FAILS_RUNTIME(SetHandleInformation, 0),
        KV_FAILS_RUNTIME(SetProcessAffinityMask, 0),
        KV_FAILS_RUNTIME(SetThreadContext, 0),
        KV_FAILS_RUNTIME(SetThreadPriority, 0),
        KV_FAILS_RUNTIME(SuspendThread, kInvalidHandle),
        KV_FAILS_RUNTIME(TlsAlloc, kInvalidHandle),
        KV_FAILS_RUNTIME(TlsSetValue, 0),
        KV_FAILS_MEMORY(calloc),
        KV_FAILS_MEMORY(malloc),
        KV_FAILS_MEMORY(realloc),

        KV_FAILS(CommandLineToArgvW),
        KV_FAILS(GetDC),
        KV_FAILS(GetDeviceCaps),
        KV_FAILS(GetFileVersionInfoSizeW),
        KV_FAILS(GetFileVersionInfoW),
        KV_FAILS(GetProcessId),
        KV_FAILS(GetWindowDC),
        KV_FAILS(HttpOpenRequestW),
        KV_FAILS(HttpQueryInfoW),
        KV_FAILS(HttpSendRequestW),
        KV_FAILS(InternetCloseHandle),
        KV_FAILS(InternetConnectW),
        KV_FAILS(InternetGetConnectedState),
        KV_FAILS(InternetOpenW),
        KV_FAILS(InternetSetOptionW),
        KV_FAILS(ReleaseDC),
        KV_FAILS_CODE(SHCreateDirectoryExW),
        KV_FAILS_HRESULT(SHGetFolderPathW),
        KV_FAILS(SHGetSpecialFolderPathW),
        KV_FAILS(StringFromGUID2),
        KV_ENTRY(UuidCreate, RPC_S_OUT_OF_MEMORY, kKeepsLastError),
        KV_FAILS(VerQueryValueW),
    };
    for (const Entry& entry : kEntries)
    {
        if (std::strcmp(entry.name, wanted) == 0)
        {
            return &entry;
        }
    }
    return nullptr;
}

/// System functions that are not made to fail.
bool IsInfallible(const char* wanted) noexcept
{
    static constexpr const char* kNames[] = {
        // They read data of the process and document no failure.
        "GetCommandLineW", "GetCurrentProcess", "GetCurrentProcessId", "GetCurrentThread", "GetCurrentThreadId",
        "GetDesktopWindow", "GetLastError", "GetLocalTime", "GetStartupInfoW", "GetSystemDefaultLCID",
        "GetSystemDefaultUILanguage", "GetSystemTime", "GetSystemTimeAsFileTime", "GetTickCount", "GetTickCount64",
        "GetNativeSystemInfo", "GetErrorMode", "GetUserDefaultLCID", "GetUserDefaultLangID", "GetUserDefaultUILanguage",
        "IsDBCSLeadByteEx", "IsDebuggerPresent", "QueryPerformanceCounter", "QueryPerformanceFrequency", "SetErrorMode",
        "SetLastError", "TlsGetValue", "VerSetConditionMask",
        // They work on their arguments alone.
        "PathFindFileNameW", "PathIsFileSpecW", "PathIsRelativeW", "PathRemoveFileSpecW",
        // They wait, lock or release, and report no failure to the caller except that time is over.
        "AcquireSRWLockExclusive", "DeleteCriticalSection", "EnterCriticalSection", "GlobalFree", "GlobalUnlock",
        "InitializeCriticalSection", "LeaveCriticalSection", "LocalFree", "OutputDebugStringA", "OutputDebugStringW",
        "ReleaseSRWLockExclusive", "Sleep", "SleepConditionVariableSRW", "TryEnterCriticalSection",
        "WakeAllConditionVariable",
        // They end the process or propagate exceptions.
        "ExitProcess", "ExitThread", "RaiseException", "RemoveVectoredExceptionHandler", "RtlCaptureContext",
        "RtlLookupFunctionEntry", "RtlUnwindEx", "RtlVirtualUnwind", "SetUnhandledExceptionFilter", "TerminateProcess",
        "__C_specific_handler",
        // The injector's own.
        "CreateFileA", "GetEnvironmentVariableA", "GetFileSize", "GetModuleHandleA", "lstrcmpiA"};
    for (const char* const name : kNames)
    {
        if (std::strcmp(name, wanted) == 0)
        {
            return true;
        }
    }
    return false;
}

/// The function that the program calls instead of a system function.
void* HookFor(const char* name, void* original, bool isSystemFunction) noexcept
{
    void* const adapted = Adapt(name, original);
    if (const Entry* const entry = FindFallible(name))
    {
        *entry->original = adapted;
        return entry->getHook();
    }
    if (isSystemFunction && !IsInfallible(name))
    {
        Note("unlisted"); // scripts/faults ends then: a function in neither list would never fail
        Note(name);
    }
    return adapted;
}

FARPROC(WINAPI* s_getProcAddress)(HMODULE, LPCSTR) = nullptr;

bool IsCRuntime(HMODULE module) noexcept
{
    return module == ::GetModuleHandleA("msvcrt.dll");
}

FARPROC WINAPI LookUpAndHook(HMODULE module, LPCSTR name)
{
    const FARPROC found = s_getProcAddress(module, name);
    if (found == nullptr || reinterpret_cast<std::uintptr_t>(name) <= MAXWORD)
    {
        return found;
    }
    return reinterpret_cast<FARPROC>(HookFor(name, reinterpret_cast<void*>(found), !IsCRuntime(module)));
}

template <typename Structure> Structure& At(std::byte* base, DWORD offset) noexcept
{
    return *reinterpret_cast<Structure*>(base + offset);
}

const IMAGE_DATA_DIRECTORY& DirectoryOf(std::byte* image, int index) noexcept
{
    const auto& dosHeader = At<IMAGE_DOS_HEADER>(image, 0);
    const auto& headers = At<IMAGE_NT_HEADERS>(image, static_cast<DWORD>(dosHeader.e_lfanew));
    return headers.OptionalHeader.DataDirectory[index];
}

void HookImportsOf(std::byte* image, const IMAGE_IMPORT_DESCRIPTOR& library) noexcept
{
    const bool isCRuntime = ::lstrcmpiA(&At<char>(image, library.Name), "msvcrt.dll") == 0;
    const auto* name = &At<IMAGE_THUNK_DATA>(image, library.OriginalFirstThunk);
    auto* place = &At<IMAGE_THUNK_DATA>(image, library.FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++place)
    {
        const auto& import = At<IMAGE_IMPORT_BY_NAME>(image, static_cast<DWORD>(name->u1.AddressOfData));
        void* const original = reinterpret_cast<void*>(place->u1.Function);
        place->u1.Function =
            reinterpret_cast<ULONGLONG>(HookFor(reinterpret_cast<const char*>(import.Name), original, !isCRuntime));
    }
}
} // namespace

void HookSystemCalls() noexcept
{
    s_getProcAddress = &::GetProcAddress;
    SetLookUp(&LookUpAndHook);
    auto* const image = reinterpret_cast<std::byte*>(::GetModuleHandleA(nullptr));
    const IMAGE_DATA_DIRECTORY& addresses = DirectoryOf(image, IMAGE_DIRECTORY_ENTRY_IAT);
    DWORD previous = 0;
    ::VirtualProtect(image + addresses.VirtualAddress, addresses.Size, PAGE_READWRITE, &previous);
    const auto* library =
        &At<IMAGE_IMPORT_DESCRIPTOR>(image, DirectoryOf(image, IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress);
    for (; library->Name != 0; ++library)
    {
        HookImportsOf(image, *library);
    }
}

void* AllocateUncounted(std::size_t byteCount) noexcept
{
    using Allocate = decltype(&::malloc);
    using Malloc = Hook<Allocate, "malloc", 0, kKeepsLastError, Kind::kRuntime>; // the entry of the table
    return reinterpret_cast<Allocate>(Malloc::s_original)(byteCount);
}
} // namespace KVFaults
