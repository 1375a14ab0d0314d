#include "winapi/KernelApi.h"

#include <cstring>

#include "winapi/base/ProcessStatus.h"
#include "winapi/base/SystemLibraries.h"
#include "winapi/FacadeInstance.h"

namespace KVWinApi
{
namespace
{
KV_FACADE_INSTANCE CKernelApi s_kernelApi;

// One cache for each operation, shared by all objects of the class; null until a look-up succeeds.
std::atomic<DWORD(WINAPI*)(HANDLE)> s_getProcessId;
std::atomic<BOOL(WINAPI*)(DWORD, DWORD, DWORD, DWORD, PDWORD)> s_getProductInfo;
std::atomic<GEOID(WINAPI*)(GEOCLASS)> s_getUserGeoId;
} // namespace

constinit IKernelApi* g_kernelApi = &s_kernelApi;

CKernelApi::CKernelApi() : CKernelApi(::LoadLibraryW(L"Kernel32.dll"))
{
}

CKernelApi::~CKernelApi()
{
    if (m_kernel32 != nullptr)
    {
        ::FreeLibrary(m_kernel32);
    }
}

HMODULE CKernelApi::LoadLibraryW(LPCWSTR lpLibFileName)
{
    return ::LoadLibraryW(lpLibFileName);
}

BOOL CKernelApi::FreeLibrary(HMODULE hLibModule)
{
    return ::FreeLibrary(hLibModule);
}

FARPROC CKernelApi::GetProcAddress(HMODULE hModule, LPCSTR lpProcName)
{
    return ::GetProcAddress(hModule, lpProcName);
}

DWORD CKernelApi::GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize)
{
    return ::GetModuleFileNameW(hModule, lpFilename, nSize);
}

DWORD CKernelApi::GetModuleFileNameExW(HANDLE hProcess, HMODULE hModule, LPWSTR lpFilename, DWORD nSize)
{
    return ::K32GetModuleFileNameExW(hProcess, hModule, lpFilename, nSize);
}

BOOL CKernelApi::GetVersionExW(LPOSVERSIONINFOW lpVersionInformation)
{
    return ::GetVersionExW(lpVersionInformation);
}

DWORD CKernelApi::GetCurrentThreadId()
{
    return ::GetCurrentThreadId();
}

BOOL CKernelApi::CreateProcessW(LPCWSTR lpApplicationName, LPWSTR lpCommandLine,
                                LPSECURITY_ATTRIBUTES lpProcessAttributes, LPSECURITY_ATTRIBUTES lpThreadAttributes,
                                BOOL bInheritHandles, DWORD dwCreationFlags, LPVOID lpEnvironment,
                                LPCWSTR lpCurrentDirectory, LPSTARTUPINFOW lpStartupInfo,
                                LPPROCESS_INFORMATION lpProcessInformation)
{
    return ::CreateProcessW(lpApplicationName, lpCommandLine, lpProcessAttributes, lpThreadAttributes, bInheritHandles,
                            dwCreationFlags, lpEnvironment, lpCurrentDirectory, lpStartupInfo, lpProcessInformation);
}

BOOL CKernelApi::CloseHandle(HANDLE hObject)
{
    return ::CloseHandle(hObject);
}

DWORD CKernelApi::GetTickCount()
{
    return ::GetTickCount();
}

DWORD CKernelApi::GetTempPathW(DWORD nBufferLength, LPWSTR lpBuffer)
{
    return ::GetTempPathW(nBufferLength, lpBuffer);
}

BOOL CKernelApi::GetDiskFreeSpaceExW(LPCWSTR lpDirectoryName, PULARGE_INTEGER lpFreeBytesAvailableToCaller,
                                     PULARGE_INTEGER lpTotalNumberOfBytes, PULARGE_INTEGER lpTotalNumberOfFreeBytes)
{
    return ::GetDiskFreeSpaceExW(lpDirectoryName, lpFreeBytesAvailableToCaller, lpTotalNumberOfBytes,
                                 lpTotalNumberOfFreeBytes);
}

HANDLE CKernelApi::CreateThread(LPSECURITY_ATTRIBUTES lpThreadAttributes, SIZE_T dwStackSize,
                                LPTHREAD_START_ROUTINE lpStartAddress, LPVOID lpParameter, DWORD dwCreationFlags,
                                LPDWORD lpThreadId)
{
    return ::CreateThread(lpThreadAttributes, dwStackSize, lpStartAddress, lpParameter, dwCreationFlags, lpThreadId);
}

std::uintptr_t CKernelApi::BeginThreadEx(void* security, unsigned stackSize, ThreadRoutine startRoutine, void* argument,
                                         unsigned creationFlags, unsigned* threadId)
{
    return ::_beginthreadex(security, stackSize, startRoutine, argument, creationFlags, threadId);
}

void CKernelApi::EndThreadEx(unsigned exitCode)
{
    ::_endthreadex(exitCode);
}

BOOL CKernelApi::GetExitCodeThread(HANDLE hThread, LPDWORD lpExitCode)
{
    return ::GetExitCodeThread(hThread, lpExitCode);
}

BOOL CKernelApi::GetExitCodeProcess(HANDLE hProcess, LPDWORD lpExitCode)
{
    return ::GetExitCodeProcess(hProcess, lpExitCode);
}

HANDLE CKernelApi::GetCurrentProcess()
{
    return ::GetCurrentProcess();
}

BOOL CKernelApi::TerminateThread(HANDLE hThread, DWORD dwExitCode)
{
    return ::TerminateThread(hThread, dwExitCode);
}

HANDLE CKernelApi::CreateEventW(LPSECURITY_ATTRIBUTES lpEventAttributes, BOOL bManualReset, BOOL bInitialState,
                                LPCWSTR lpName)
{
    return ::CreateEventW(lpEventAttributes, bManualReset, bInitialState, lpName);
}

HANDLE CKernelApi::OpenEventW(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName)
{
    return ::OpenEventW(dwDesiredAccess, bInheritHandle, lpName);
}

BOOL CKernelApi::ResetEvent(HANDLE hEvent)
{
    return ::ResetEvent(hEvent);
}

BOOL CKernelApi::SetEvent(HANDLE hEvent)
{
    return ::SetEvent(hEvent);
}

DWORD CKernelApi::WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds)
{
    return ::WaitForSingleObject(hHandle, dwMilliseconds);
}

DWORD CKernelApi::MsgWaitForMultipleObjectsEx(DWORD nCount, const HANDLE* pHandles, DWORD dwMilliseconds,
                                              DWORD dwWakeMask, DWORD dwFlags)
{
    return CallOr(WAIT_FAILED, KV_SYSTEM_FUNCTION(g_user32Dll, MsgWaitForMultipleObjectsEx), nCount, pHandles,
                  dwMilliseconds, dwWakeMask, dwFlags);
}

DWORD CKernelApi::WaitForInputIdle(HANDLE hProcess, DWORD dwMilliseconds)
{
    return CallOr(WAIT_FAILED, KV_SYSTEM_FUNCTION(g_user32Dll, WaitForInputIdle), hProcess, dwMilliseconds);
}

void CKernelApi::GetLocalTime(LPSYSTEMTIME lpSystemTime)
{
    ::GetLocalTime(lpSystemTime);
}

void CKernelApi::GetSystemTime(LPSYSTEMTIME lpSystemTime)
{
    ::GetSystemTime(lpSystemTime);
}

DWORD CKernelApi::GetProcessId(HANDLE Process)
{
    return CallResolved(s_getProcessId, "GetProcessId", Process);
}

DWORD CKernelApi::GetFileAttributesW(LPCWSTR lpFileName)
{
    return ::GetFileAttributesW(lpFileName);
}

BOOL CKernelApi::GetFileAttributesExW(LPCWSTR lpFileName, GET_FILEEX_INFO_LEVELS fInfoLevelId, LPVOID lpFileInformation)
{
    return ::GetFileAttributesExW(lpFileName, fInfoLevelId, lpFileInformation);
}

HANDLE CKernelApi::CreateMutexW(LPSECURITY_ATTRIBUTES lpMutexAttributes, BOOL bInitialOwner, LPCWSTR lpName)
{
    return ::CreateMutexW(lpMutexAttributes, bInitialOwner, lpName);
}

HANDLE CKernelApi::OpenMutexW(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName)
{
    return ::OpenMutexW(dwDesiredAccess, bInheritHandle, lpName);
}

BOOL CKernelApi::ReleaseMutex(HANDLE hMutex)
{
    return ::ReleaseMutex(hMutex);
}

BOOL CKernelApi::CreateDirectoryW(LPCWSTR lpPathName, LPSECURITY_ATTRIBUTES lpSecurityAttributes)
{
    return ::CreateDirectoryW(lpPathName, lpSecurityAttributes);
}

LPWSTR CKernelApi::GetCommandLineW()
{
    return ::GetCommandLineW();
}

DWORD CKernelApi::GetShortPathNameW(LPCWSTR lpszLongPath, LPWSTR lpszShortPath, DWORD cchBuffer)
{
    return ::GetShortPathNameW(lpszLongPath, lpszShortPath, cchBuffer);
}

BOOL CKernelApi::GetFileSizeEx(HANDLE hFile, PLARGE_INTEGER lpFileSize)
{
    return ::GetFileSizeEx(hFile, lpFileSize);
}

HANDLE CKernelApi::CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                               LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD dwCreationDisposition,
                               DWORD dwFlagsAndAttributes, HANDLE hTemplateFile)
{
    return ::CreateFileW(lpFileName, dwDesiredAccess, dwShareMode, lpSecurityAttributes, dwCreationDisposition,
                         dwFlagsAndAttributes, hTemplateFile);
}

BOOL CKernelApi::EnumProcesses(DWORD* lpidProcess, DWORD cb, DWORD* cbNeeded)
{
    return ::K32EnumProcesses(lpidProcess, cb, cbNeeded);
}

BOOL CKernelApi::EnumProcessModules(HANDLE hProcess, HMODULE* lphModule, DWORD cb, LPDWORD lpcbNeeded)
{
    return ::K32EnumProcessModules(hProcess, lphModule, cb, lpcbNeeded);
}

DWORD CKernelApi::GetModuleBaseNameW(HANDLE hProcess, HMODULE hModule, LPWSTR lpBaseName, DWORD nSize)
{
    return ::K32GetModuleBaseNameW(hProcess, hModule, lpBaseName, nSize);
}

HANDLE CKernelApi::OpenProcess(DWORD dwDesiredAccess, BOOL bInheritHandle, DWORD dwProcessId)
{
    return ::OpenProcess(dwDesiredAccess, bInheritHandle, dwProcessId);
}

BOOL CKernelApi::OpenProcessToken(HANDLE ProcessHandle, DWORD DesiredAccess, PHANDLE TokenHandle)
{
    return ::OpenProcessToken(ProcessHandle, DesiredAccess, TokenHandle);
}

BOOL CKernelApi::PeekNamedPipe(HANDLE hNamedPipe, LPVOID lpBuffer, DWORD nBufferSize, LPDWORD lpBytesRead,
                               LPDWORD lpTotalBytesAvail, LPDWORD lpBytesLeftThisMessage)
{
    return ::PeekNamedPipe(hNamedPipe, lpBuffer, nBufferSize, lpBytesRead, lpTotalBytesAvail, lpBytesLeftThisMessage);
}

DWORD CKernelApi::GetEnvironmentVariableW(LPCWSTR lpName, LPWSTR lpBuffer, DWORD nSize)
{
    return ::GetEnvironmentVariableW(lpName, lpBuffer, nSize);
}

void CKernelApi::InitializeCriticalSection(LPCRITICAL_SECTION lpCriticalSection)
{
    ::InitializeCriticalSection(lpCriticalSection);
}

void CKernelApi::DeleteCriticalSection(LPCRITICAL_SECTION lpCriticalSection)
{
    ::DeleteCriticalSection(lpCriticalSection);
}

void CKernelApi::EnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection)
{
    ::EnterCriticalSection(lpCriticalSection);
}

void CKernelApi::LeaveCriticalSection(LPCRITICAL_SECTION lpCriticalSection)
{
    ::LeaveCriticalSection(lpCriticalSection);
}

BOOL CKernelApi::TryEnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection)
{
    return ::TryEnterCriticalSection(lpCriticalSection);
}

DWORD CKernelApi::WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll, DWORD dwMilliseconds)
{
    return ::WaitForMultipleObjects(nCount, lpHandles, bWaitAll, dwMilliseconds);
}

BOOL CKernelApi::CheckTokenMembership(HANDLE TokenHandle, PSID SidToCheck, PBOOL IsMember)
{
    return ::CheckTokenMembership(TokenHandle, SidToCheck, IsMember);
}

void* CKernelApi::MoveMemoryBlock(void* destination, const void* source, std::size_t byteCount)
{
    return std::memmove(destination, source, byteCount);
}

BOOL CKernelApi::CreatePipe(PHANDLE hReadPipe, PHANDLE hWritePipe, LPSECURITY_ATTRIBUTES lpPipeAttributes, DWORD nSize)
{
    return ::CreatePipe(hReadPipe, hWritePipe, lpPipeAttributes, nSize);
}

void CKernelApi::GetStartupInfoW(LPSTARTUPINFOW lpStartupInfo)
{
    ::GetStartupInfoW(lpStartupInfo);
}

BOOL CKernelApi::GlobalMemoryStatusEx(LPMEMORYSTATUSEX lpBuffer)
{
    return ::GlobalMemoryStatusEx(lpBuffer);
}

HANDLE CKernelApi::OpenFileMappingW(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName)
{
    return ::OpenFileMappingW(dwDesiredAccess, bInheritHandle, lpName);
}

HANDLE CKernelApi::CreateFileMappingW(HANDLE hFile, LPSECURITY_ATTRIBUTES lpFileMappingAttributes, DWORD flProtect,
                                      DWORD dwMaximumSizeHigh, DWORD dwMaximumSizeLow, LPCWSTR lpName)
{
    return ::CreateFileMappingW(hFile, lpFileMappingAttributes, flProtect, dwMaximumSizeHigh, dwMaximumSizeLow, lpName);
}

LPVOID CKernelApi::MapViewOfFile(HANDLE hFileMappingObject, DWORD dwDesiredAccess, DWORD dwFileOffsetHigh,
                                 DWORD dwFileOffsetLow, SIZE_T dwNumberOfBytesToMap)
{
    return ::MapViewOfFile(hFileMappingObject, dwDesiredAccess, dwFileOffsetHigh, dwFileOffsetLow,
                           dwNumberOfBytesToMap);
}

BOOL CKernelApi::FlushViewOfFile(LPCVOID lpBaseAddress, SIZE_T dwNumberOfBytesToFlush)
{
    return ::FlushViewOfFile(lpBaseAddress, dwNumberOfBytesToFlush);
}

BOOL CKernelApi::UnmapViewOfFile(LPCVOID lpBaseAddress)
{
    return ::UnmapViewOfFile(lpBaseAddress);
}

BOOL CKernelApi::GetProductInfo(DWORD dwOSMajorVersion, DWORD dwOSMinorVersion, DWORD dwSpMajorVersion,
                                DWORD dwSpMinorVersion, PDWORD pdwReturnedProductType)
{
    return CallResolved(s_getProductInfo, "GetProductInfo", dwOSMajorVersion, dwOSMinorVersion, dwSpMajorVersion,
                        dwSpMinorVersion, pdwReturnedProductType);
}

LCID CKernelApi::GetSystemDefaultLCID()
{
    return ::GetSystemDefaultLCID();
}

LANGID CKernelApi::GetSystemDefaultUILanguage()
{
    return ::GetSystemDefaultUILanguage();
}

LANGID CKernelApi::GetUserDefaultUILanguage()
{
    return ::GetUserDefaultUILanguage();
}

LCID CKernelApi::GetUserDefaultLCID()
{
    return ::GetUserDefaultLCID();
}

int CKernelApi::GetLocaleInfoW(LCID Locale, LCTYPE LCType, LPWSTR lpLCData, int cchData)
{
    return ::GetLocaleInfoW(Locale, LCType, lpLCData, cchData);
}

HANDLE CKernelApi::FindFirstFileW(LPCWSTR lpFileName, LPWIN32_FIND_DATAW lpFindFileData)
{
    return ::FindFirstFileW(lpFileName, lpFindFileData);
}

BOOL CKernelApi::FindNextFileW(HANDLE hFindFile, LPWIN32_FIND_DATAW lpFindFileData)
{
    return ::FindNextFileW(hFindFile, lpFindFileData);
}

BOOL CKernelApi::FindClose(HANDLE hFindFile)
{
    return ::FindClose(hFindFile);
}

SHORT CKernelApi::GetAsyncKeyState(int vKey)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, GetAsyncKeyState), vKey);
}

BOOL CKernelApi::DeleteFileW(LPCWSTR lpFileName)
{
    return ::DeleteFileW(lpFileName);
}

UINT CKernelApi::GetTempFileNameW(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique, LPWSTR lpTempFileName)
{
    return ::GetTempFileNameW(lpPathName, lpPrefixString, uUnique, lpTempFileName);
}

int CKernelApi::MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCCH lpMultiByteStr, int cbMultiByte,
                                    LPWSTR lpWideCharStr, int cchWideChar)
{
    return ::MultiByteToWideChar(CodePage, dwFlags, lpMultiByteStr, cbMultiByte, lpWideCharStr, cchWideChar);
}

int CKernelApi::WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWCH lpWideCharStr, int cchWideChar,
                                    LPSTR lpMultiByteStr, int cbMultiByte, LPCCH lpDefaultChar,
                                    LPBOOL lpUsedDefaultChar)
{
    return ::WideCharToMultiByte(CodePage, dwFlags, lpWideCharStr, cchWideChar, lpMultiByteStr, cbMultiByte,
                                 lpDefaultChar, lpUsedDefaultChar);
}

BOOL CKernelApi::WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
                           LPOVERLAPPED lpOverlapped)
{
    return ::WriteFile(hFile, lpBuffer, nNumberOfBytesToWrite, lpNumberOfBytesWritten, lpOverlapped);
}

BOOL CKernelApi::GetComputerNameExW(COMPUTER_NAME_FORMAT NameType, LPWSTR lpBuffer, LPDWORD nSize)
{
    return ::GetComputerNameExW(NameType, lpBuffer, nSize);
}

DWORD CKernelApi::GetCurrentDirectoryW(DWORD nBufferLength, LPWSTR lpBuffer)
{
    return ::GetCurrentDirectoryW(nBufferLength, lpBuffer);
}

BOOL CKernelApi::SetCurrentDirectoryW(LPCWSTR lpPathName)
{
    return ::SetCurrentDirectoryW(lpPathName);
}

LANGID CKernelApi::GetUserDefaultLangID()
{
    return ::GetUserDefaultLangID();
}

GEOID CKernelApi::GetUserGeoID(GEOCLASS GeoClass)
{
    return CallResolved(s_getUserGeoId, "GetUserGeoID", GeoClass);
}

void CKernelApi::Sleep(DWORD dwMilliseconds)
{
    ::Sleep(dwMilliseconds);
}

HLOCAL CKernelApi::LocalAlloc(UINT uFlags, SIZE_T uBytes)
{
    return ::LocalAlloc(uFlags, uBytes);
}

HLOCAL CKernelApi::LocalFree(HLOCAL hMem)
{
    return ::LocalFree(hMem);
}

HGLOBAL CKernelApi::GlobalAlloc(UINT uFlags, SIZE_T dwBytes)
{
    return ::GlobalAlloc(uFlags, dwBytes);
}

BOOL CKernelApi::ProcessIdToSessionId(DWORD dwProcessId, DWORD* pSessionId)
{
    return ::ProcessIdToSessionId(dwProcessId, pSessionId);
}

LPVOID CKernelApi::GlobalLock(HGLOBAL hMem)
{
    return ::GlobalLock(hMem);
}

DWORD CKernelApi::GetCurrentProcessId()
{
    return ::GetCurrentProcessId();
}

BOOL CKernelApi::GlobalUnlock(HGLOBAL hMem)
{
    return ::GlobalUnlock(hMem);
}

HGLOBAL CKernelApi::GlobalFree(HGLOBAL hMem)
{
    return ::GlobalFree(hMem);
}

HRSRC CKernelApi::FindResourceW(HMODULE hModule, LPCWSTR lpName, LPCWSTR lpType)
{
    return ::FindResourceW(hModule, lpName, lpType);
}

HRSRC CKernelApi::FindResourceExW(HMODULE hModule, LPCWSTR lpType, LPCWSTR lpName, WORD wLanguage)
{
    return ::FindResourceExW(hModule, lpType, lpName, wLanguage);
}

HGLOBAL CKernelApi::LoadResource(HMODULE hModule, HRSRC hResInfo)
{
    return ::LoadResource(hModule, hResInfo);
}

LPVOID CKernelApi::LockResource(HGLOBAL hResData)
{
    return ::LockResource(hResData);
}

DWORD CKernelApi::SizeofResource(HMODULE hModule, HRSRC hResInfo)
{
    return ::SizeofResource(hModule, hResInfo);
}

BOOL CKernelApi::GetFileTime(HANDLE hFile, LPFILETIME lpCreationTime, LPFILETIME lpLastAccessTime,
                             LPFILETIME lpLastWriteTime)
{
    return ::GetFileTime(hFile, lpCreationTime, lpLastAccessTime, lpLastWriteTime);
}

BOOL CKernelApi::DeviceIoControl(HANDLE hDevice, DWORD dwIoControlCode, LPVOID lpInBuffer, DWORD nInBufferSize,
                                 LPVOID lpOutBuffer, DWORD nOutBufferSize, LPDWORD lpBytesReturned,
                                 LPOVERLAPPED lpOverlapped)
{
    return ::DeviceIoControl(hDevice, dwIoControlCode, lpInBuffer, nInBufferSize, lpOutBuffer, nOutBufferSize,
                             lpBytesReturned, lpOverlapped);
}

UINT CKernelApi::GetSystemDirectoryW(LPWSTR lpBuffer, UINT uSize)
{
    return ::GetSystemDirectoryW(lpBuffer, uSize);
}

BOOL CKernelApi::MoveFileExW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, DWORD dwFlags)
{
    return ::MoveFileExW(lpExistingFileName, lpNewFileName, dwFlags);
}

BOOL CKernelApi::CopyFileW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, BOOL bFailIfExists)
{
    return ::CopyFileW(lpExistingFileName, lpNewFileName, bFailIfExists);
}

BOOL CKernelApi::SetFileAttributesW(LPCWSTR lpFileName, DWORD dwFileAttributes)
{
    return ::SetFileAttributesW(lpFileName, dwFileAttributes);
}

BOOL CKernelApi::VerifyVersionInfoW(LPOSVERSIONINFOEXW lpVersionInformation, DWORD dwTypeMask,
                                    DWORDLONG dwlConditionMask)
{
    return ::VerifyVersionInfoW(lpVersionInformation, dwTypeMask, dwlConditionMask);
}

template <typename Result, typename... Parameters>
Result CKernelApi::CallResolved(std::atomic<Result(WINAPI*)(Parameters...)>& cache, const char* name,
                                std::type_identity_t<Parameters>... arguments)
{
    auto function = cache.load(std::memory_order_relaxed);
    if (function == nullptr && m_kernel32 != nullptr)
    {
        // The object's own operation, so that a substitute sees the look-up.
        const FARPROC found = GetProcAddress(m_kernel32, name);
        function = reinterpret_cast<Result(WINAPI*)(Parameters...)>(reinterpret_cast<void*>(found));
        if (function != nullptr) // a failed look-up must not erase what another thread has found meanwhile
        {
            cache.store(function, std::memory_order_relaxed);
        }
    }
    if (function == nullptr)
    {
        ::SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
        return 0;
    }
    return function(arguments...);
}
} // namespace KVWinApi
