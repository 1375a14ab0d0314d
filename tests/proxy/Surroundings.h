#pragma once

#include <windows.h>

#include <tlhelp32.h>

#include <functional>
#include <list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TemporaryFolder.h"
#include "utils/PathOfExecutableOverride.h"
#include "winapi/KernelApi.h"
#include "winapi/ShellApi.h"
#include "winapi/ToolHlpApi.h"
#include "winapi/WinApi.h"

namespace KVTest
{
/// The surroundings of the program, initially as a report needs them: a product folder with a config.ini, the
/// participation program beside the program, and the device centre's host as parent. Each test changes its own part.
/// All calls except those named here are the system's own.
///
/// Calls about processes are recorded in `processCalls`.
class Surroundings
{
public:
    Surroundings()
    {
        MakeProductFolder();
        KVUtils::g_pathOfExecutableOverride = m_product.PathOf(L"bin");
        WriteConfig("");
    }
    ~Surroundings() { KVUtils::g_pathOfExecutableOverride.clear(); }
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;

    static constexpr DWORD kOwnId = 4000;
    static constexpr DWORD kParentId = 3000;
    static HANDLE Snapshot() { return reinterpret_cast<HANDLE>(0x5110); }
    static HANDLE Parent() { return reinterpret_cast<HANDLE>(0x5220); }
    static HMODULE ParentModule() { return reinterpret_cast<HMODULE>(0x5330); }

    static std::wstring HostPath()
    {
        wchar_t folder[MAX_PATH + 1] = {};
        ::GetSystemWow64DirectoryW(folder, MAX_PATH);
        return folder + std::wstring(L"\\mshta.exe");
    }

    /// Writes the whole config.ini; adds the data folder.
    void WriteConfig(const std::string& content) const
    {
        std::string dataFolder;
        for (const wchar_t character : m_product.PathOf(L"data"))
        {
            dataFolder += static_cast<char>(character);
        }
        m_product.WriteFile(L"config.ini", content + "\r\n[Directories]\r\nDataFolder=" + dataFolder + "\r\n");
    }
    void RemoveConfig() const { ::DeleteFileW(m_product.PathOf(L"config.ini").c_str()); }
    void RemoveParticipationProgram() const { ::DeleteFileW(m_product.PathOf(L"bin\\NorvikCustPartic.exe").c_str()); }
    void OptOut() const
    {
        m_product.MakeFolder(L"data");
        m_product.MakeFolder(L"data\\NorvikCustPartic");
        m_product.WriteFile(L"data\\NorvikCustPartic\\OptedOut", "");
    }
    const TemporaryFolder& GetProductFolder() const { return m_product; }

    class Kernel : public KVWinApi::CKernelApi
    {
    public:
        explicit Kernel(Surroundings& surroundings) : m_surroundings(surroundings) {}
        LPWSTR GetCommandLineW() override
        {
            m_surroundings.onCommandLine();
            return m_surroundings.commandLine.data();
        }
        DWORD GetTickCount() override
        {
            m_surroundings.onTick();
            if (m_surroundings.ticks.empty())
            {
                return CKernelApi::GetTickCount();
            }
            const DWORD now = m_surroundings.ticks.front();
            m_surroundings.ticks.pop_front();
            return now;
        }
        DWORD GetFileAttributesW(LPCWSTR path) override
        {
            m_surroundings.attributeCalls.emplace_back(path);
            if (m_surroundings.markError == ERROR_SUCCESS || !std::wstring(path).ends_with(L"\\OptedOut"))
            {
                return CKernelApi::GetFileAttributesW(path);
            }
            ::SetLastError(m_surroundings.markError);
            return INVALID_FILE_ATTRIBUTES;
        }
        DWORD GetCurrentProcessId() override
        {
            m_surroundings.Record(L"own id");
            return kOwnId;
        }
        HANDLE OpenProcess(DWORD access, BOOL inherit, DWORD processId) override
        {
            m_surroundings.Record(L"open " + std::to_wstring(access) + (inherit ? L" inheritable " : L" ") +
                                  std::to_wstring(processId));
            return m_surroundings.opensParent ? Parent() : nullptr;
        }
        BOOL EnumProcessModules(HANDLE process, HMODULE* modules, DWORD size, LPDWORD needed) override
        {
            m_surroundings.Record(NameOf(L"modules ", process) + L" " + std::to_wstring(size));
            *modules = ParentModule();
            *needed = 5 * sizeof(HMODULE);
            return m_surroundings.listsModules ? TRUE : FALSE;
        }
        DWORD GetModuleFileNameExW(HANDLE process, HMODULE module, LPWSTR path, DWORD size) override
        {
            m_surroundings.Record(NameOf(L"path ", process) + (module == ParentModule() ? L" " : L" other ") +
                                  std::to_wstring(size));
            // If the path is longer, the system fills the whole buffer and omits the end.
            return static_cast<DWORD>(m_surroundings.parentPath.copy(path, size));
        }
        BOOL CloseHandle(HANDLE handle) override
        {
            if (handle != Snapshot() && handle != Parent())
            {
                return CKernelApi::CloseHandle(handle);
            }
            m_surroundings.Record(NameOf(L"close ", handle));
            return TRUE;
        }
        FARPROC GetProcAddress(HMODULE module, LPCSTR name) override
        {
            if (std::string_view(name) != "GetNativeSystemInfo")
            {
                return CKernelApi::GetProcAddress(module, name);
            }
            s_architecture = m_surroundings.architecture;
            return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&GetSystemInfoOfTest));
        }

    private:
        static std::wstring NameOf(const wchar_t* verb, HANDLE handle)
        {
            return verb + std::wstring(handle == Snapshot() ? L"snapshot" : handle == Parent() ? L"parent" : L"other");
        }
        static void WINAPI GetSystemInfoOfTest(LPSYSTEM_INFO information)
        {
            *information = SYSTEM_INFO{};
            information->wProcessorArchitecture = s_architecture;
        }
        static inline WORD s_architecture = 0;
        Surroundings& m_surroundings;
    };

    class ToolHlp : public KVWinApi::CToolHlpApi
    {
    public:
        explicit ToolHlp(Surroundings& surroundings) : m_surroundings(surroundings) {}
        HANDLE CreateToolhelp32Snapshot(DWORD flags, DWORD processId) override
        {
            m_surroundings.Record(L"snapshot " + std::to_wstring(flags) + L" " + std::to_wstring(processId));
            return m_surroundings.takesSnapshot ? Snapshot() : INVALID_HANDLE_VALUE;
        }
        BOOL Process32FirstW(HANDLE snapshot, LPPROCESSENTRY32W entry) override
        {
            m_next = 0;
            return Give(L"first", snapshot, entry);
        }
        BOOL Process32NextW(HANDLE snapshot, LPPROCESSENTRY32W entry) override
        {
            return Give(L"next", snapshot, entry);
        }

    private:
        BOOL Give(const std::wstring& verb, HANDLE snapshot, LPPROCESSENTRY32W entry)
        {
            m_surroundings.Record(verb + (snapshot == Snapshot() ? L" " : L" other ") + std::to_wstring(entry->dwSize));
            if (m_next >= m_surroundings.processes.size())
            {
                return FALSE;
            }
            entry->dwSize = 1; // the next call has to set it again
            entry->th32ProcessID = m_surroundings.processes[m_next].first;
            entry->th32ParentProcessID = m_surroundings.processes[m_next].second;
            ++m_next;
            return TRUE;
        }

        std::size_t m_next = 0;
        Surroundings& m_surroundings;
    };

    class Shell : public KVWinApi::CShellApi
    {
    public:
        explicit Shell(Surroundings& surroundings) : m_surroundings(surroundings) {}
        HRESULT SHGetFolderPathW(HWND window, int folder, HANDLE token, DWORD flags, LPWSTR path) override
        {
            m_surroundings.shellCalls.push_back((window == nullptr ? L"" : L"window ") + std::to_wstring(folder) +
                                                (token == nullptr ? L" " : L" token ") + std::to_wstring(flags));
            if (SUCCEEDED(m_surroundings.shellResult))
            {
                const std::wstring found = L"C:\\Shell\\Folder";
                path[found.copy(path, MAX_PATH)] = L'\0';
            }
            return m_surroundings.shellResult;
        }

    private:
        Surroundings& m_surroundings;
    };

    class WinApi : public KVWinApi::CWinApi
    {
    public:
        explicit WinApi(Surroundings& surroundings) : m_surroundings(surroundings) {}
        BOOL InternetSetOptionW(HINTERNET handle, DWORD option, LPVOID value, DWORD size) override
        {
            m_surroundings.optionCalls.push_back((handle == nullptr ? L"" : L"handle ") + std::to_wstring(option) +
                                                 L" " + std::to_wstring(*static_cast<DWORD*>(value)) + L" " +
                                                 std::to_wstring(size));
            return FALSE;
        }

    private:
        Surroundings& m_surroundings;
    };

    std::wstring commandLine = L"program.exe";
    std::function<void()> onCommandLine = [] {}; // called when it is read
    std::function<void()> onTick = [] {};        // called when the clock is read
    std::list<DWORD> ticks;                      // the readings of the clock, in order; then the system's
    std::vector<std::pair<DWORD, DWORD>> processes = {{4, 0}, {kParentId, 4}, {kOwnId, kParentId}, {5000, kOwnId}};
    bool takesSnapshot = true;
    bool opensParent = true;
    bool listsModules = true;
    std::wstring parentPath = HostPath();
    WORD architecture = PROCESSOR_ARCHITECTURE_AMD64;
    HRESULT shellResult = S_OK;
    DWORD markError = ERROR_SUCCESS; // why the opt-out mark cannot be accessed
    std::vector<std::wstring> processCalls;
    std::vector<std::wstring> attributeCalls;
    std::vector<std::wstring> shellCalls;
    std::vector<std::wstring> optionCalls; // options of WinINet that were set: option, value, size

private:
    void MakeProductFolder() const
    {
        m_product.MakeFolder(L"bin");
        m_product.WriteFile(L"bin\\NorvikCustPartic.exe", "");
    }
    void Record(const std::wstring& call) { processCalls.push_back(call); }

    TemporaryFolder m_product;
    Kernel m_kernel{*this};
    ToolHlp m_toolHlp{*this};
    Shell m_shell{*this};
    WinApi m_winApi{*this};
    ScopedSubstitute<KVWinApi::IKernelApi> m_kernelSwap{KVWinApi::g_kernelApi, m_kernel};
    ScopedSubstitute<KVWinApi::IToolHlpApi> m_toolHlpSwap{KVWinApi::g_toolHlpApi, m_toolHlp};
    ScopedSubstitute<KVWinApi::IShellApi> m_shellSwap{KVWinApi::g_shellApi, m_shell};
    ScopedSubstitute<KVWinApi::IWinApi> m_winApiSwap{KVWinApi::g_winApi, m_winApi};
};
} // namespace KVTest
