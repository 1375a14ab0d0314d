#pragma once

#include <windows.h>

#include <process.h>
#include <psapi.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace KVWinApi
{
/// Kernel, process-status and token functions (kernel32, psapi, advapi32; three operations of user32).
///
/// BeginThreadEx and EndThreadEx are the C runtime's `_beginthreadex` and `_endthreadex`, MoveMemoryBlock is its
/// `memmove`. GetProcessId, GetProductInfo and GetUserGeoID do not exist on every supported Windows version and are
/// looked up at run time. If the function is missing, they return 0 and the last error is ERROR_CALL_NOT_IMPLEMENTED
/// (120). The four process-status functions are those of KERNEL32, so that psapi.dll is not loaded.
///
/// Declaration order is slot order and part of the interface.
class IKernelApi
{
public:
    /// The start routine of a thread of the C runtime; its result is the exit code of the thread.
    using ThreadRoutine = unsigned(__stdcall*)(void*);

    virtual ~IKernelApi() = default;

    /// The system function of this name, with its arguments and its result, except where stated above.
    ///@{
    virtual HMODULE LoadLibraryW(LPCWSTR lpLibFileName) = 0;
    virtual BOOL FreeLibrary(HMODULE hLibModule) = 0;
    virtual FARPROC GetProcAddress(HMODULE hModule, LPCSTR lpProcName) = 0;
    virtual DWORD GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize) = 0;
    virtual DWORD GetModuleFileNameExW(HANDLE hProcess, HMODULE hModule, LPWSTR lpFilename, DWORD nSize) = 0;
    virtual BOOL GetVersionExW(LPOSVERSIONINFOW lpVersionInformation) = 0;
    virtual DWORD GetCurrentThreadId() = 0;
    virtual BOOL CreateProcessW(LPCWSTR lpApplicationName, LPWSTR lpCommandLine,
                                LPSECURITY_ATTRIBUTES lpProcessAttributes, LPSECURITY_ATTRIBUTES lpThreadAttributes,
                                BOOL bInheritHandles, DWORD dwCreationFlags, LPVOID lpEnvironment,
                                LPCWSTR lpCurrentDirectory, LPSTARTUPINFOW lpStartupInfo,
                                LPPROCESS_INFORMATION lpProcessInformation) = 0;
    virtual BOOL CloseHandle(HANDLE hObject) = 0;
    virtual DWORD GetTickCount() = 0;
    virtual DWORD GetTempPathW(DWORD nBufferLength, LPWSTR lpBuffer) = 0;
    virtual BOOL GetDiskFreeSpaceExW(LPCWSTR lpDirectoryName, PULARGE_INTEGER lpFreeBytesAvailableToCaller,
                                     PULARGE_INTEGER lpTotalNumberOfBytes,
                                     PULARGE_INTEGER lpTotalNumberOfFreeBytes) = 0;
    virtual HANDLE CreateThread(LPSECURITY_ATTRIBUTES lpThreadAttributes, SIZE_T dwStackSize,
                                LPTHREAD_START_ROUTINE lpStartAddress, LPVOID lpParameter, DWORD dwCreationFlags,
                                LPDWORD lpThreadId) = 0;
    virtual std::uintptr_t BeginThreadEx(void* security, unsigned stackSize, ThreadRoutine startRoutine, void* argument,
                                         unsigned creationFlags, unsigned* threadId) = 0;
    virtual void EndThreadEx(unsigned exitCode) = 0;
    virtual BOOL GetExitCodeThread(HANDLE hThread, LPDWORD lpExitCode) = 0;
    virtual BOOL GetExitCodeProcess(HANDLE hProcess, LPDWORD lpExitCode) = 0;
    virtual HANDLE GetCurrentProcess() = 0;
    virtual BOOL TerminateThread(HANDLE hThread, DWORD dwExitCode) = 0;
    virtual HANDLE CreateEventW(LPSECURITY_ATTRIBUTES lpEventAttributes, BOOL bManualReset, BOOL bInitialState,
                                LPCWSTR lpName) = 0;
    virtual HANDLE OpenEventW(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName) = 0;
    virtual BOOL ResetEvent(HANDLE hEvent) = 0;
    virtual BOOL SetEvent(HANDLE hEvent) = 0;
    virtual DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) = 0;
    virtual DWORD MsgWaitForMultipleObjectsEx(DWORD nCount, const HANDLE* pHandles, DWORD dwMilliseconds,
                                              DWORD dwWakeMask, DWORD dwFlags) = 0;
    virtual DWORD WaitForInputIdle(HANDLE hProcess, DWORD dwMilliseconds) = 0;
    virtual void GetLocalTime(LPSYSTEMTIME lpSystemTime) = 0;
    virtual void GetSystemTime(LPSYSTEMTIME lpSystemTime) = 0;
    virtual DWORD GetProcessId(HANDLE Process) = 0;
    virtual DWORD GetFileAttributesW(LPCWSTR lpFileName) = 0;
    virtual BOOL GetFileAttributesExW(LPCWSTR lpFileName, GET_FILEEX_INFO_LEVELS fInfoLevelId,
                                      LPVOID lpFileInformation) = 0;
    virtual HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES lpMutexAttributes, BOOL bInitialOwner, LPCWSTR lpName) = 0;
    virtual HANDLE OpenMutexW(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName) = 0;
    virtual BOOL ReleaseMutex(HANDLE hMutex) = 0;
    virtual BOOL CreateDirectoryW(LPCWSTR lpPathName, LPSECURITY_ATTRIBUTES lpSecurityAttributes) = 0;
    virtual LPWSTR GetCommandLineW() = 0;
    virtual DWORD GetShortPathNameW(LPCWSTR lpszLongPath, LPWSTR lpszShortPath, DWORD cchBuffer) = 0;
    virtual BOOL GetFileSizeEx(HANDLE hFile, PLARGE_INTEGER lpFileSize) = 0;
    virtual HANDLE CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                               LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD dwCreationDisposition,
                               DWORD dwFlagsAndAttributes, HANDLE hTemplateFile) = 0;
    virtual BOOL EnumProcesses(DWORD* lpidProcess, DWORD cb, DWORD* cbNeeded) = 0;
    virtual BOOL EnumProcessModules(HANDLE hProcess, HMODULE* lphModule, DWORD cb, LPDWORD lpcbNeeded) = 0;
    virtual DWORD GetModuleBaseNameW(HANDLE hProcess, HMODULE hModule, LPWSTR lpBaseName, DWORD nSize) = 0;
    virtual HANDLE OpenProcess(DWORD dwDesiredAccess, BOOL bInheritHandle, DWORD dwProcessId) = 0;
    virtual BOOL OpenProcessToken(HANDLE ProcessHandle, DWORD DesiredAccess, PHANDLE TokenHandle) = 0;
    virtual BOOL PeekNamedPipe(HANDLE hNamedPipe, LPVOID lpBuffer, DWORD nBufferSize, LPDWORD lpBytesRead,
                               LPDWORD lpTotalBytesAvail, LPDWORD lpBytesLeftThisMessage) = 0;
    virtual DWORD GetEnvironmentVariableW(LPCWSTR lpName, LPWSTR lpBuffer, DWORD nSize) = 0;
    virtual void InitializeCriticalSection(LPCRITICAL_SECTION lpCriticalSection) = 0;
    virtual void DeleteCriticalSection(LPCRITICAL_SECTION lpCriticalSection) = 0;
    virtual void EnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection) = 0;
    virtual void LeaveCriticalSection(LPCRITICAL_SECTION lpCriticalSection) = 0;
    virtual BOOL TryEnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection) = 0;
    virtual DWORD WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll,
                                         DWORD dwMilliseconds) = 0;
    virtual BOOL CheckTokenMembership(HANDLE TokenHandle, PSID SidToCheck, PBOOL IsMember) = 0;
    virtual void* MoveMemoryBlock(void* destination, const void* source, std::size_t byteCount) = 0;
    virtual BOOL CreatePipe(PHANDLE hReadPipe, PHANDLE hWritePipe, LPSECURITY_ATTRIBUTES lpPipeAttributes,
                            DWORD nSize) = 0;
    virtual void GetStartupInfoW(LPSTARTUPINFOW lpStartupInfo) = 0;
    virtual BOOL GlobalMemoryStatusEx(LPMEMORYSTATUSEX lpBuffer) = 0;
    virtual HANDLE OpenFileMappingW(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName) = 0;
    virtual HANDLE CreateFileMappingW(HANDLE hFile, LPSECURITY_ATTRIBUTES lpFileMappingAttributes, DWORD flProtect,
                                      DWORD dwMaximumSizeHigh, DWORD dwMaximumSizeLow, LPCWSTR lpName) = 0;
    virtual LPVOID MapViewOfFile(HANDLE hFileMappingObject, DWORD dwDesiredAccess, DWORD dwFileOffsetHigh,
                                 DWORD dwFileOffsetLow, SIZE_T dwNumberOfBytesToMap) = 0;
    virtual BOOL FlushViewOfFile(LPCVOID lpBaseAddress, SIZE_T dwNumberOfBytesToFlush) = 0;
    virtual BOOL UnmapViewOfFile(LPCVOID lpBaseAddress) = 0;
    virtual BOOL GetProductInfo(DWORD dwOSMajorVersion, DWORD dwOSMinorVersion, DWORD dwSpMajorVersion,
                                DWORD dwSpMinorVersion, PDWORD pdwReturnedProductType) = 0;
    virtual LCID GetSystemDefaultLCID() = 0;
    virtual LANGID GetSystemDefaultUILanguage() = 0;
    virtual LANGID GetUserDefaultUILanguage() = 0;
    virtual LCID GetUserDefaultLCID() = 0;
    virtual int GetLocaleInfoW(LCID Locale, LCTYPE LCType, LPWSTR lpLCData, int cchData) = 0;
    virtual HANDLE FindFirstFileW(LPCWSTR lpFileName, LPWIN32_FIND_DATAW lpFindFileData) = 0;
    virtual BOOL FindNextFileW(HANDLE hFindFile, LPWIN32_FIND_DATAW lpFindFileData) = 0;
    virtual BOOL FindClose(HANDLE hFindFile) = 0;
    virtual SHORT GetAsyncKeyState(int vKey) = 0;
    virtual BOOL DeleteFileW(LPCWSTR lpFileName) = 0;
    virtual UINT GetTempFileNameW(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique, LPWSTR lpTempFileName) = 0;
    virtual int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCCH lpMultiByteStr, int cbMultiByte,
                                    LPWSTR lpWideCharStr, int cchWideChar) = 0;
    virtual int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWCH lpWideCharStr, int cchWideChar,
                                    LPSTR lpMultiByteStr, int cbMultiByte, LPCCH lpDefaultChar,
                                    LPBOOL lpUsedDefaultChar) = 0;
    virtual BOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
                           LPOVERLAPPED lpOverlapped) = 0;
    virtual BOOL GetComputerNameExW(COMPUTER_NAME_FORMAT NameType, LPWSTR lpBuffer, LPDWORD nSize) = 0;
    virtual DWORD GetCurrentDirectoryW(DWORD nBufferLength, LPWSTR lpBuffer) = 0;
    virtual BOOL SetCurrentDirectoryW(LPCWSTR lpPathName) = 0;
    virtual LANGID GetUserDefaultLangID() = 0;
    virtual GEOID GetUserGeoID(GEOCLASS GeoClass) = 0;
    virtual void Sleep(DWORD dwMilliseconds) = 0;
    virtual HLOCAL LocalAlloc(UINT uFlags, SIZE_T uBytes) = 0;
    virtual HLOCAL LocalFree(HLOCAL hMem) = 0;
    virtual HGLOBAL GlobalAlloc(UINT uFlags, SIZE_T dwBytes) = 0;
    virtual BOOL ProcessIdToSessionId(DWORD dwProcessId, DWORD* pSessionId) = 0;
    virtual LPVOID GlobalLock(HGLOBAL hMem) = 0;
    virtual DWORD GetCurrentProcessId() = 0;
    virtual BOOL GlobalUnlock(HGLOBAL hMem) = 0;
    virtual HGLOBAL GlobalFree(HGLOBAL hMem) = 0;
    virtual HRSRC FindResourceW(HMODULE hModule, LPCWSTR lpName, LPCWSTR lpType) = 0;
    virtual HRSRC FindResourceExW(HMODULE hModule, LPCWSTR lpType, LPCWSTR lpName, WORD wLanguage) = 0;
    virtual HGLOBAL LoadResource(HMODULE hModule, HRSRC hResInfo) = 0;
    virtual LPVOID LockResource(HGLOBAL hResData) = 0;
    virtual DWORD SizeofResource(HMODULE hModule, HRSRC hResInfo) = 0;
    virtual BOOL GetFileTime(HANDLE hFile, LPFILETIME lpCreationTime, LPFILETIME lpLastAccessTime,
                             LPFILETIME lpLastWriteTime) = 0;
    virtual BOOL DeviceIoControl(HANDLE hDevice, DWORD dwIoControlCode, LPVOID lpInBuffer, DWORD nInBufferSize,
                                 LPVOID lpOutBuffer, DWORD nOutBufferSize, LPDWORD lpBytesReturned,
                                 LPOVERLAPPED lpOverlapped) = 0;
    virtual UINT GetSystemDirectoryW(LPWSTR lpBuffer, UINT uSize) = 0;
    virtual BOOL MoveFileExW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, DWORD dwFlags) = 0;
    virtual BOOL CopyFileW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, BOOL bFailIfExists) = 0;
    virtual BOOL SetFileAttributesW(LPCWSTR lpFileName, DWORD dwFileAttributes) = 0;
    virtual BOOL VerifyVersionInfoW(LPOSVERSIONINFOEXW lpVersionInformation, DWORD dwTypeMask,
                                    DWORDLONG dwlConditionMask) = 0;
    ///@}
};

/// Forwards every operation to the system. Holds a reference to Kernel32.dll for the run-time look-ups, taken with
/// `LoadLibraryW` and released with `FreeLibrary`. Safe on any thread: the three look-up caches are process-wide, and a
/// race only repeats a look-up.
class CKernelApi : public IKernelApi
{
public:
    CKernelApi();
    ~CKernelApi() override;
    CKernelApi(const CKernelApi&) = delete;
    CKernelApi& operator=(const CKernelApi&) = delete;

    HMODULE LoadLibraryW(LPCWSTR lpLibFileName) override;
    BOOL FreeLibrary(HMODULE hLibModule) override;
    FARPROC GetProcAddress(HMODULE hModule, LPCSTR lpProcName) override;
    DWORD GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize) override;
    DWORD GetModuleFileNameExW(HANDLE hProcess, HMODULE hModule, LPWSTR lpFilename, DWORD nSize) override;
    BOOL GetVersionExW(LPOSVERSIONINFOW lpVersionInformation) override;
    DWORD GetCurrentThreadId() override;
    BOOL CreateProcessW(LPCWSTR lpApplicationName, LPWSTR lpCommandLine, LPSECURITY_ATTRIBUTES lpProcessAttributes,
                        LPSECURITY_ATTRIBUTES lpThreadAttributes, BOOL bInheritHandles, DWORD dwCreationFlags,
                        LPVOID lpEnvironment, LPCWSTR lpCurrentDirectory, LPSTARTUPINFOW lpStartupInfo,
                        LPPROCESS_INFORMATION lpProcessInformation) override;
    BOOL CloseHandle(HANDLE hObject) override;
    DWORD GetTickCount() override;
    DWORD GetTempPathW(DWORD nBufferLength, LPWSTR lpBuffer) override;
    BOOL GetDiskFreeSpaceExW(LPCWSTR lpDirectoryName, PULARGE_INTEGER lpFreeBytesAvailableToCaller,
                             PULARGE_INTEGER lpTotalNumberOfBytes, PULARGE_INTEGER lpTotalNumberOfFreeBytes) override;
    HANDLE CreateThread(LPSECURITY_ATTRIBUTES lpThreadAttributes, SIZE_T dwStackSize,
                        LPTHREAD_START_ROUTINE lpStartAddress, LPVOID lpParameter, DWORD dwCreationFlags,
                        LPDWORD lpThreadId) override;
    std::uintptr_t BeginThreadEx(void* security, unsigned stackSize, ThreadRoutine startRoutine, void* argument,
                                 unsigned creationFlags, unsigned* threadId) override;
    void EndThreadEx(unsigned exitCode) override;
    BOOL GetExitCodeThread(HANDLE hThread, LPDWORD lpExitCode) override;
    BOOL GetExitCodeProcess(HANDLE hProcess, LPDWORD lpExitCode) override;
    HANDLE GetCurrentProcess() override;
    BOOL TerminateThread(HANDLE hThread, DWORD dwExitCode) override;
    HANDLE CreateEventW(LPSECURITY_ATTRIBUTES lpEventAttributes, BOOL bManualReset, BOOL bInitialState,
                        LPCWSTR lpName) override;
    HANDLE OpenEventW(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName) override;
    BOOL ResetEvent(HANDLE hEvent) override;
    BOOL SetEvent(HANDLE hEvent) override;
    DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) override;
    DWORD MsgWaitForMultipleObjectsEx(DWORD nCount, const HANDLE* pHandles, DWORD dwMilliseconds, DWORD dwWakeMask,
                                      DWORD dwFlags) override;
    DWORD WaitForInputIdle(HANDLE hProcess, DWORD dwMilliseconds) override;
    void GetLocalTime(LPSYSTEMTIME lpSystemTime) override;
    void GetSystemTime(LPSYSTEMTIME lpSystemTime) override;
    DWORD GetProcessId(HANDLE Process) override;
    DWORD GetFileAttributesW(LPCWSTR lpFileName) override;
    BOOL GetFileAttributesExW(LPCWSTR lpFileName, GET_FILEEX_INFO_LEVELS fInfoLevelId,
                              LPVOID lpFileInformation) override;
    HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES lpMutexAttributes, BOOL bInitialOwner, LPCWSTR lpName) override;
    HANDLE OpenMutexW(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName) override;
    BOOL ReleaseMutex(HANDLE hMutex) override;
    BOOL CreateDirectoryW(LPCWSTR lpPathName, LPSECURITY_ATTRIBUTES lpSecurityAttributes) override;
    LPWSTR GetCommandLineW() override;
    DWORD GetShortPathNameW(LPCWSTR lpszLongPath, LPWSTR lpszShortPath, DWORD cchBuffer) override;
    BOOL GetFileSizeEx(HANDLE hFile, PLARGE_INTEGER lpFileSize) override;
    HANDLE CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                       LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD dwCreationDisposition,
                       DWORD dwFlagsAndAttributes, HANDLE hTemplateFile) override;
    BOOL EnumProcesses(DWORD* lpidProcess, DWORD cb, DWORD* cbNeeded) override;
    BOOL EnumProcessModules(HANDLE hProcess, HMODULE* lphModule, DWORD cb, LPDWORD lpcbNeeded) override;
    DWORD GetModuleBaseNameW(HANDLE hProcess, HMODULE hModule, LPWSTR lpBaseName, DWORD nSize) override;
    HANDLE OpenProcess(DWORD dwDesiredAccess, BOOL bInheritHandle, DWORD dwProcessId) override;
    BOOL OpenProcessToken(HANDLE ProcessHandle, DWORD DesiredAccess, PHANDLE TokenHandle) override;
    BOOL PeekNamedPipe(HANDLE hNamedPipe, LPVOID lpBuffer, DWORD nBufferSize, LPDWORD lpBytesRead,
                       LPDWORD lpTotalBytesAvail, LPDWORD lpBytesLeftThisMessage) override;
    DWORD GetEnvironmentVariableW(LPCWSTR lpName, LPWSTR lpBuffer, DWORD nSize) override;
    void InitializeCriticalSection(LPCRITICAL_SECTION lpCriticalSection) override;
    void DeleteCriticalSection(LPCRITICAL_SECTION lpCriticalSection) override;
    void EnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection) override;
    void LeaveCriticalSection(LPCRITICAL_SECTION lpCriticalSection) override;
    BOOL TryEnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection) override;
    DWORD WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll, DWORD dwMilliseconds) override;
    BOOL CheckTokenMembership(HANDLE TokenHandle, PSID SidToCheck, PBOOL IsMember) override;
    void* MoveMemoryBlock(void* destination, const void* source, std::size_t byteCount) override;
    BOOL CreatePipe(PHANDLE hReadPipe, PHANDLE hWritePipe, LPSECURITY_ATTRIBUTES lpPipeAttributes,
                    DWORD nSize) override;
    void GetStartupInfoW(LPSTARTUPINFOW lpStartupInfo) override;
    BOOL GlobalMemoryStatusEx(LPMEMORYSTATUSEX lpBuffer) override;
    HANDLE OpenFileMappingW(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName) override;
    HANDLE CreateFileMappingW(HANDLE hFile, LPSECURITY_ATTRIBUTES lpFileMappingAttributes, DWORD flProtect,
                              DWORD dwMaximumSizeHigh, DWORD dwMaximumSizeLow, LPCWSTR lpName) override;
    LPVOID MapViewOfFile(HANDLE hFileMappingObject, DWORD dwDesiredAccess, DWORD dwFileOffsetHigh,
                         DWORD dwFileOffsetLow, SIZE_T dwNumberOfBytesToMap) override;
    BOOL FlushViewOfFile(LPCVOID lpBaseAddress, SIZE_T dwNumberOfBytesToFlush) override;
    BOOL UnmapViewOfFile(LPCVOID lpBaseAddress) override;
    BOOL GetProductInfo(DWORD dwOSMajorVersion, DWORD dwOSMinorVersion, DWORD dwSpMajorVersion, DWORD dwSpMinorVersion,
                        PDWORD pdwReturnedProductType) override;
    LCID GetSystemDefaultLCID() override;
    LANGID GetSystemDefaultUILanguage() override;
    LANGID GetUserDefaultUILanguage() override;
    LCID GetUserDefaultLCID() override;
    int GetLocaleInfoW(LCID Locale, LCTYPE LCType, LPWSTR lpLCData, int cchData) override;
    HANDLE FindFirstFileW(LPCWSTR lpFileName, LPWIN32_FIND_DATAW lpFindFileData) override;
    BOOL FindNextFileW(HANDLE hFindFile, LPWIN32_FIND_DATAW lpFindFileData) override;
    BOOL FindClose(HANDLE hFindFile) override;
    SHORT GetAsyncKeyState(int vKey) override;
    BOOL DeleteFileW(LPCWSTR lpFileName) override;
    UINT GetTempFileNameW(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique, LPWSTR lpTempFileName) override;
    int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCCH lpMultiByteStr, int cbMultiByte, LPWSTR lpWideCharStr,
                            int cchWideChar) override;
    int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWCH lpWideCharStr, int cchWideChar, LPSTR lpMultiByteStr,
                            int cbMultiByte, LPCCH lpDefaultChar, LPBOOL lpUsedDefaultChar) override;
    BOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
                   LPOVERLAPPED lpOverlapped) override;
    BOOL GetComputerNameExW(COMPUTER_NAME_FORMAT NameType, LPWSTR lpBuffer, LPDWORD nSize) override;
    DWORD GetCurrentDirectoryW(DWORD nBufferLength, LPWSTR lpBuffer) override;
    BOOL SetCurrentDirectoryW(LPCWSTR lpPathName) override;
    LANGID GetUserDefaultLangID() override;
    GEOID GetUserGeoID(GEOCLASS GeoClass) override;
    void Sleep(DWORD dwMilliseconds) override;
    HLOCAL LocalAlloc(UINT uFlags, SIZE_T uBytes) override;
    HLOCAL LocalFree(HLOCAL hMem) override;
    HGLOBAL GlobalAlloc(UINT uFlags, SIZE_T dwBytes) override;
    BOOL ProcessIdToSessionId(DWORD dwProcessId, DWORD* pSessionId) override;
    LPVOID GlobalLock(HGLOBAL hMem) override;
    DWORD GetCurrentProcessId() override;
    BOOL GlobalUnlock(HGLOBAL hMem) override;
    HGLOBAL GlobalFree(HGLOBAL hMem) override;
    HRSRC FindResourceW(HMODULE hModule, LPCWSTR lpName, LPCWSTR lpType) override;
    HRSRC FindResourceExW(HMODULE hModule, LPCWSTR lpType, LPCWSTR lpName, WORD wLanguage) override;
    HGLOBAL LoadResource(HMODULE hModule, HRSRC hResInfo) override;
    LPVOID LockResource(HGLOBAL hResData) override;
    DWORD SizeofResource(HMODULE hModule, HRSRC hResInfo) override;
    BOOL GetFileTime(HANDLE hFile, LPFILETIME lpCreationTime, LPFILETIME lpLastAccessTime,
                     LPFILETIME lpLastWriteTime) override;
    BOOL DeviceIoControl(HANDLE hDevice, DWORD dwIoControlCode, LPVOID lpInBuffer, DWORD nInBufferSize,
                         LPVOID lpOutBuffer, DWORD nOutBufferSize, LPDWORD lpBytesReturned,
                         LPOVERLAPPED lpOverlapped) override;
    UINT GetSystemDirectoryW(LPWSTR lpBuffer, UINT uSize) override;
    BOOL MoveFileExW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, DWORD dwFlags) override;
    BOOL CopyFileW(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, BOOL bFailIfExists) override;
    BOOL SetFileAttributesW(LPCWSTR lpFileName, DWORD dwFileAttributes) override;
    BOOL VerifyVersionInfoW(LPOSVERSIONINFOEXW lpVersionInformation, DWORD dwTypeMask,
                            DWORDLONG dwlConditionMask) override;

protected:
    /// For substitutes that imitate a system on which loading Kernel32.dll fails (null) or gives a different handle.
    /// Takes ownership of the handle.
    explicit CKernelApi(HMODULE kernel32) noexcept : m_kernel32(kernel32) {}

private:
    template <typename Result, typename... Parameters>
    Result CallResolved(std::atomic<Result(WINAPI*)(Parameters...)>& cache, const char* name,
                        std::type_identity_t<Parameters>... arguments);

    HMODULE m_kernel32;
};

/// The current facade, never null. Read it at each call and keep no copy: a substitute redirects the whole process.
extern constinit IKernelApi* g_kernelApi;
} // namespace KVWinApi
