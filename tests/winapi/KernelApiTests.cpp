#include "winapi/KernelApi.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"
#include "winapi/base/ProcessStatus.h"

#define KV_INTERFACE KVWinApi::IKernelApi

// In slot order, see Forwarding.h. OWN operations have tests of their own below.
#define KV_OPERATIONS(SAME, LATE, OWN)                                                                                 \
    SAME(LoadLibraryW)                                                                                                 \
    SAME(FreeLibrary)                                                                                                  \
    SAME(GetProcAddress)                                                                                               \
    SAME(GetModuleFileNameW)                                                                                           \
    OWN(GetModuleFileNameExW)                                                                                          \
    SAME(GetVersionExW)                                                                                                \
    SAME(GetCurrentThreadId)                                                                                           \
    SAME(CreateProcessW)                                                                                               \
    SAME(CloseHandle)                                                                                                  \
    SAME(GetTickCount)                                                                                                 \
    SAME(GetTempPathW)                                                                                                 \
    SAME(GetDiskFreeSpaceExW)                                                                                          \
    SAME(CreateThread)                                                                                                 \
    OWN(BeginThreadEx)                                                                                                 \
    OWN(EndThreadEx)                                                                                                   \
    SAME(GetExitCodeThread)                                                                                            \
    SAME(GetExitCodeProcess)                                                                                           \
    SAME(GetCurrentProcess)                                                                                            \
    SAME(TerminateThread)                                                                                              \
    SAME(CreateEventW)                                                                                                 \
    SAME(OpenEventW)                                                                                                   \
    SAME(ResetEvent)                                                                                                   \
    SAME(SetEvent)                                                                                                     \
    SAME(WaitForSingleObject)                                                                                          \
    LATE(L"user32.dll", MsgWaitForMultipleObjectsEx, WAIT_FAILED)                                                      \
    LATE(L"user32.dll", WaitForInputIdle, WAIT_FAILED)                                                                 \
    SAME(GetLocalTime)                                                                                                 \
    SAME(GetSystemTime)                                                                                                \
    OWN(GetProcessId)                                                                                                  \
    SAME(GetFileAttributesW)                                                                                           \
    SAME(GetFileAttributesExW)                                                                                         \
    SAME(CreateMutexW)                                                                                                 \
    SAME(OpenMutexW)                                                                                                   \
    SAME(ReleaseMutex)                                                                                                 \
    SAME(CreateDirectoryW)                                                                                             \
    SAME(GetCommandLineW)                                                                                              \
    SAME(GetShortPathNameW)                                                                                            \
    SAME(GetFileSizeEx)                                                                                                \
    SAME(CreateFileW)                                                                                                  \
    OWN(EnumProcesses)                                                                                                 \
    OWN(EnumProcessModules)                                                                                            \
    OWN(GetModuleBaseNameW)                                                                                            \
    SAME(OpenProcess)                                                                                                  \
    SAME(OpenProcessToken)                                                                                             \
    SAME(PeekNamedPipe)                                                                                                \
    SAME(GetEnvironmentVariableW)                                                                                      \
    SAME(InitializeCriticalSection)                                                                                    \
    SAME(DeleteCriticalSection)                                                                                        \
    SAME(EnterCriticalSection)                                                                                         \
    SAME(LeaveCriticalSection)                                                                                         \
    SAME(TryEnterCriticalSection)                                                                                      \
    SAME(WaitForMultipleObjects)                                                                                       \
    SAME(CheckTokenMembership)                                                                                         \
    OWN(MoveMemoryBlock)                                                                                               \
    SAME(CreatePipe)                                                                                                   \
    SAME(GetStartupInfoW)                                                                                              \
    SAME(GlobalMemoryStatusEx)                                                                                         \
    SAME(OpenFileMappingW)                                                                                             \
    SAME(CreateFileMappingW)                                                                                           \
    SAME(MapViewOfFile)                                                                                                \
    SAME(FlushViewOfFile)                                                                                              \
    SAME(UnmapViewOfFile)                                                                                              \
    OWN(GetProductInfo)                                                                                                \
    SAME(GetSystemDefaultLCID)                                                                                         \
    SAME(GetSystemDefaultUILanguage)                                                                                   \
    SAME(GetUserDefaultUILanguage)                                                                                     \
    SAME(GetUserDefaultLCID)                                                                                           \
    SAME(GetLocaleInfoW)                                                                                               \
    SAME(FindFirstFileW)                                                                                               \
    SAME(FindNextFileW)                                                                                                \
    SAME(FindClose)                                                                                                    \
    LATE(L"user32.dll", GetAsyncKeyState, 0)                                                                           \
    SAME(DeleteFileW)                                                                                                  \
    SAME(GetTempFileNameW)                                                                                             \
    SAME(MultiByteToWideChar)                                                                                          \
    SAME(WideCharToMultiByte)                                                                                          \
    SAME(WriteFile)                                                                                                    \
    SAME(GetComputerNameExW)                                                                                           \
    SAME(GetCurrentDirectoryW)                                                                                         \
    SAME(SetCurrentDirectoryW)                                                                                         \
    SAME(GetUserDefaultLangID)                                                                                         \
    OWN(GetUserGeoID)                                                                                                  \
    SAME(Sleep)                                                                                                        \
    SAME(LocalAlloc)                                                                                                   \
    SAME(LocalFree)                                                                                                    \
    SAME(GlobalAlloc)                                                                                                  \
    SAME(ProcessIdToSessionId)                                                                                         \
    SAME(GlobalLock)                                                                                                   \
    SAME(GetCurrentProcessId)                                                                                          \
    SAME(GlobalUnlock)                                                                                                 \
    SAME(GlobalFree)                                                                                                   \
    SAME(FindResourceW)                                                                                                \
    SAME(FindResourceExW)                                                                                              \
    SAME(LoadResource)                                                                                                 \
    SAME(LockResource)                                                                                                 \
    SAME(SizeofResource)                                                                                               \
    SAME(GetFileTime)                                                                                                  \
    SAME(DeviceIoControl)                                                                                              \
    SAME(GetSystemDirectoryW)                                                                                          \
    SAME(MoveFileExW)                                                                                                  \
    SAME(CopyFileW)                                                                                                    \
    SAME(SetFileAttributesW)                                                                                           \
    SAME(VerifyVersionInfoW)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_DECLARE_LATE, KV_IGNORE)
#if !defined(_MSC_VER) // whose static runtime is not imported
KV_DECLARE_IMPORT(_beginthreadex)
#endif

// What psapi.h declares, under the names by which KERNEL32 exports it.
#define KV_PROCESS_STATUS(OPERATION)                                                                                   \
    OPERATION(EnumProcesses)                                                                                           \
    OPERATION(EnumProcessModules)                                                                                      \
    OPERATION(GetModuleBaseNameW)                                                                                      \
    OPERATION(GetModuleFileNameExW)
#define KV_DECLARE_KERNEL_IMPORT(operation) KV_DECLARE_IMPORT(K32##operation)
#define KV_EXPECT_FORWARDS_TO_KERNEL(operation)                                                                        \
    KV_EXPECT_SAME_TYPES(operation)                                                                                    \
    KVTest::ExpectForwards(*api, &KV_INTERFACE::operation, __imp_K32##operation, #operation);

KV_PROCESS_STATUS(KV_DECLARE_KERNEL_IMPORT)

namespace
{
TEST(KernelApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = KVTest::kDestructorSlots; // which is declared first
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT_LATE, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, KVTest::kDestructorSlots + 103u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot);
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(KernelApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_kernelApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_EXPECT_FORWARDS_LATE, KV_IGNORE)
}

TEST(KernelApiTests, EachOperationOfProcessStatus_ForwardsToKernel32)
{
    KV_INTERFACE* const api = KVWinApi::g_kernelApi;
    KV_PROCESS_STATUS(KV_EXPECT_FORWARDS_TO_KERNEL)
}

TEST(KernelApiTests, EachLateOperation_WithoutItsLibraryOrFunction_FailsByItsOwnConvention)
{
    KV_INTERFACE* const api = KVWinApi::g_kernelApi;
    KV_EXPECT_FAILURES(KV_OPERATIONS)
}

// Records the call through the pointer.
class RecordingKernelApi : public KVWinApi::CKernelApi
{
public:
    HANDLE CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode, LPSECURITY_ATTRIBUTES,
                       DWORD dwCreationDisposition, DWORD, HANDLE) override
    {
        fileName = lpFileName;
        numbers = {dwDesiredAccess, dwShareMode, dwCreationDisposition};
        ::SetLastError(ERROR_SHARING_VIOLATION);
        return INVALID_HANDLE_VALUE;
    }
    LPCWSTR fileName = nullptr;
    std::vector<DWORD> numbers;
};

TEST(KernelApiTests, Substitute_ReceivesTheCallWithTheVeryArguments)
{
    RecordingKernelApi substitute;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, substitute);
    const wchar_t name[] = L"C:\\no such file";
    EXPECT_EQ(
        KVWinApi::g_kernelApi->CreateFileW(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr),
        INVALID_HANDLE_VALUE);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(substitute.fileName, name);
    EXPECT_EQ(substitute.numbers, (std::vector<DWORD>{GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING}));
}

TEST(KernelApiTests, RealClass_GivesTheSystemsResults)
{
    KVWinApi::IKernelApi& api = *KVWinApi::g_kernelApi;
    EXPECT_EQ(api.GetCurrentProcessId(), ::GetCurrentProcessId());
    EXPECT_EQ(api.GetCurrentThreadId(), ::GetCurrentThreadId());
    EXPECT_EQ(api.GetCommandLineW(), ::GetCommandLineW());
    EXPECT_EQ(api.GetUserDefaultLCID(), ::GetUserDefaultLCID());
    wchar_t path[MAX_PATH] = {};
    wchar_t expectedPath[MAX_PATH] = {};
    EXPECT_EQ(api.GetModuleFileNameW(nullptr, path, MAX_PATH), ::GetModuleFileNameW(nullptr, expectedPath, MAX_PATH));
    EXPECT_STREQ(path, expectedPath);
    EXPECT_EQ(api.GetFileAttributesW(path), ::GetFileAttributesW(path));
    EXPECT_EQ(api.GetFileAttributesW(L"C:\\no such file"), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

unsigned __stdcall SetNumberAndExit(void* argument)
{
    *static_cast<int*>(argument) = 5;
    KVWinApi::g_kernelApi->EndThreadEx(1234);
    return 1;
}

TEST(KernelApiTests, BeginThreadExAndEndThreadEx_StartAndEndAThreadOfTheRuntime)
{
    KVWinApi::IKernelApi& api = *KVWinApi::g_kernelApi;
    int number = 0;
    unsigned threadId = 0;
    const auto thread =
        reinterpret_cast<HANDLE>(api.BeginThreadEx(nullptr, 0, SetNumberAndExit, &number, 0, &threadId));
    ASSERT_NE(thread, nullptr);
    EXPECT_NE(threadId, 0u);
    EXPECT_EQ(api.WaitForSingleObject(thread, 10000), static_cast<DWORD>(WAIT_OBJECT_0));
    DWORD exitCode = 0;
    EXPECT_NE(api.GetExitCodeThread(thread, &exitCode), FALSE);
    EXPECT_EQ(exitCode, 1234u);
    EXPECT_EQ(number, 5);
    EXPECT_NE(api.CloseHandle(thread), FALSE);
}

#if !defined(_MSC_VER)
TEST(KernelApiTests, BeginThreadEx_PassesItsArguments)
{
    KVTest::ExpectForwards(*KVWinApi::g_kernelApi, &KV_INTERFACE::BeginThreadEx, __imp__beginthreadex, "BeginThreadEx");
}
#endif

// Puts the size of its stack into the argument.
unsigned __stdcall MeasureStack(void* argument)
{
    MEMORY_BASIC_INFORMATION memory{};
    ::VirtualQuery(&memory, &memory, sizeof(memory));
    const char* const end = static_cast<const char*>(reinterpret_cast<const NT_TIB*>(::NtCurrentTeb())->StackBase);
    *static_cast<std::size_t*>(argument) =
        static_cast<std::size_t>(end - static_cast<const char*>(memory.AllocationBase));
    return 4321;
}

TEST(KernelApiTests, BeginThreadEx_EachArgumentHasItsEffect)
{
    constexpr unsigned kStackSize = 8u << 20; // more than a thread gets by default
    KVWinApi::IKernelApi& api = *KVWinApi::g_kernelApi;
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    std::size_t stackSize = 0;
    unsigned threadId = 0;
    const auto thread =
        reinterpret_cast<HANDLE>(api.BeginThreadEx(&inherited, kStackSize, MeasureStack, &stackSize,
                                                   CREATE_SUSPENDED | STACK_SIZE_PARAM_IS_A_RESERVATION, &threadId));
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(threadId, ::GetThreadId(thread));
    DWORD flags = 0;
    EXPECT_NE(::GetHandleInformation(thread, &flags), FALSE);
    EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, static_cast<DWORD>(HANDLE_FLAG_INHERIT));
    EXPECT_EQ(api.WaitForSingleObject(thread, 20), static_cast<DWORD>(WAIT_TIMEOUT)); // it is suspended
    EXPECT_EQ(::ResumeThread(thread), 1u);
    ASSERT_EQ(api.WaitForSingleObject(thread, 10000), static_cast<DWORD>(WAIT_OBJECT_0));
    DWORD exitCode = 0;
    EXPECT_NE(api.GetExitCodeThread(thread, &exitCode), FALSE);
    EXPECT_EQ(exitCode, 4321u);
    EXPECT_GE(stackSize, kStackSize);
    EXPECT_LT(stackSize, 2 * kStackSize);
    EXPECT_NE(api.CloseHandle(thread), FALSE);
}

TEST(KernelApiTests, MoveMemoryBlock_CopiesOverlappingBlocksBothWaysAndReturnsTheDestination)
{
    KVWinApi::IKernelApi& api = *KVWinApi::g_kernelApi;
    char up[] = "abcdef";
    EXPECT_EQ(api.MoveMemoryBlock(up + 2, up, 4), up + 2);
    EXPECT_STREQ(up, "ababcd");
    char down[] = "abcdef";
    EXPECT_EQ(api.MoveMemoryBlock(down, down + 2, 4), down);
    EXPECT_STREQ(down, "cdefef");
    EXPECT_EQ(api.MoveMemoryBlock(down, down + 1, 0), down);
    EXPECT_STREQ(down, "cdefef");
}

// Answers look-ups with the pointers that the test chooses and records them.
class LookupKernelApi : public KVWinApi::CKernelApi
{
public:
    LookupKernelApi() = default;
    explicit LookupKernelApi(HMODULE kernel32) : CKernelApi(kernel32) {}

    FARPROC GetProcAddress(HMODULE hModule, LPCSTR lpProcName) override
    {
        names.emplace_back(lpProcName);
        modules.push_back(hModule);
        return isMissing ? nullptr : CKernelApi::GetProcAddress(hModule, lpProcName);
    }
    bool isMissing = false;
    std::vector<std::string> names;
    std::vector<HMODULE> modules;
};

TEST(KernelApiTests, RunTimeResolvedOperations_HaveTheTypesOfTheSystem){
    KV_EXPECT_SAME_TYPES(GetProcessId) KV_EXPECT_SAME_TYPES(GetProductInfo) KV_EXPECT_SAME_TYPES(GetUserGeoID)}

TEST(KernelApiTests, RunTimeResolvedOperations_AreLookedUpInKernel32ThroughTheSubstituteOnceEach)
{
    LookupKernelApi substitute;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, substitute);
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(KVWinApi::g_kernelApi->GetProcessId(::GetCurrentProcess()), ::GetCurrentProcessId());
        DWORD product = 0;
        EXPECT_NE(KVWinApi::g_kernelApi->GetProductInfo(6, 1, 0, 0, &product), FALSE);
        EXPECT_NE(product, 0u);
        EXPECT_EQ(KVWinApi::g_kernelApi->GetUserGeoID(GEOCLASS_NATION), ::GetUserGeoID(GEOCLASS_NATION));
    }
    EXPECT_EQ(substitute.names, (std::vector<std::string>{"GetProcessId", "GetProductInfo", "GetUserGeoID"}));
    const HMODULE kernel32 = ::GetModuleHandleW(L"Kernel32.dll");
    EXPECT_EQ(substitute.modules, (std::vector<HMODULE>{kernel32, kernel32, kernel32}));
}

TEST(KernelApiTests, RunTimeResolvedOperations_CachesAreSharedByAllObjects)
{
    EXPECT_EQ(KVWinApi::g_kernelApi->GetProcessId(::GetCurrentProcess()), ::GetCurrentProcessId());
    LookupKernelApi substitute;
    substitute.isMissing = true;
    EXPECT_EQ(substitute.GetProcessId(::GetCurrentProcess()), ::GetCurrentProcessId());
    EXPECT_TRUE(substitute.names.empty());
    // Another operation has a cache of its own.
    EXPECT_EQ(substitute.GetUserGeoID(GEOCLASS_NATION), 0);
    EXPECT_EQ(substitute.names, std::vector<std::string>{"GetUserGeoID"});
}

template <typename Call> void ExpectNotImplemented(const Call& call)
{
    ::SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(call(), 0u);
    EXPECT_EQ(::GetLastError(), 120u);
}

void ExpectNothingIsImplemented(KVWinApi::IKernelApi& api)
{
    DWORD product = 77;
    ExpectNotImplemented([&] { return api.GetProcessId(::GetCurrentProcess()); });
    ExpectNotImplemented([&] { return static_cast<DWORD>(api.GetProductInfo(6, 1, 0, 0, &product)); });
    ExpectNotImplemented([&] { return static_cast<DWORD>(api.GetUserGeoID(GEOCLASS_NATION)); });
    EXPECT_EQ(product, 77u);
}

TEST(KernelApiTests, RunTimeResolvedOperations_MissingFunction_Give0AndError120AndAreLookedUpAgain)
{
    LookupKernelApi substitute;
    substitute.isMissing = true;
    ExpectNothingIsImplemented(substitute);
    ExpectNothingIsImplemented(substitute);
    EXPECT_EQ(substitute.names.size(), 6u);
    substitute.isMissing = false;
    EXPECT_EQ(substitute.GetProcessId(::GetCurrentProcess()), ::GetCurrentProcessId());
    EXPECT_EQ(substitute.names.size(), 7u);
}

// Its look-up fails, but only after that of a second thread has succeeded.
class LateLosingKernelApi : public KVWinApi::CKernelApi
{
public:
    FARPROC GetProcAddress(HMODULE, LPCSTR) override
    {
        KVWinApi::CKernelApi other;
        EXPECT_EQ(other.GetProcessId(::GetCurrentProcess()), ::GetCurrentProcessId());
        return nullptr;
    }
};

TEST(KernelApiTests, RunTimeResolvedOperations_FailedLookUp_LeavesWhatAnotherThreadHasFound)
{
    LateLosingKernelApi losing;
    ExpectNotImplemented([&] { return losing.GetProcessId(::GetCurrentProcess()); });
    LookupKernelApi substitute;
    substitute.isMissing = true;
    EXPECT_EQ(substitute.GetProcessId(::GetCurrentProcess()), ::GetCurrentProcessId());
    EXPECT_TRUE(substitute.names.empty());
}

TEST(KernelApiTests, RunTimeResolvedOperations_WithoutModuleHandle_Give0AndError120WithoutALookup)
{
    LookupKernelApi substitute(nullptr);
    ExpectNothingIsImplemented(substitute);
    EXPECT_TRUE(substitute.names.empty());
}

int s_freedModules = 0;

BOOL WINAPI CountFreedKernel32(HMODULE module)
{
    s_freedModules += module == ::GetModuleHandleW(L"Kernel32.dll") ? 1 : 0;
    return TRUE;
}

TEST(KernelApiTests, Destruction_GivesTheModuleBackAndNothingWithoutOne)
{
    const KVTest::ImportPatch patch(__imp_FreeLibrary, reinterpret_cast<void*>(&CountFreedKernel32));
    {
        const LookupKernelApi withoutModule(nullptr);
    }
    EXPECT_EQ(s_freedModules, 0);
    {
        const KVWinApi::CKernelApi withModule;
    }
    EXPECT_EQ(s_freedModules, 1);
}
} // namespace

#undef KV_OPERATIONS
#undef KV_INTERFACE
