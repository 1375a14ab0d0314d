#include "tests/support/ChildProcess.h"

#include <stdexcept>
#include <vector>

namespace KVTest
{
std::wstring PathBesideTest(std::wstring_view fileName)
{
    wchar_t path[MAX_PATH] = {};
    const DWORD length = ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    if (length == 0 || length == MAX_PATH)
    {
        throw std::runtime_error("the path of the test program is not to be had");
    }
    const std::wstring program(path, length);
    return program.substr(0, program.rfind(L'\\') + 1).append(fileName);
}

namespace
{
// One attribute for CreateProcessW: the parent of the new process.
class ParentAttribute
{
public:
    explicit ParentAttribute(HANDLE parent) : m_parent(parent)
    {
        SIZE_T size = 0;
        ::InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        m_memory.resize(size);
        if (::InitializeProcThreadAttributeList(Get(), 1, 0, &size) == FALSE)
        {
            throw std::runtime_error("no list of attributes can be made");
        }
        if (::UpdateProcThreadAttribute(Get(), 0, PROC_THREAD_ATTRIBUTE_PARENT_PROCESS, &m_parent, sizeof(m_parent),
                                        nullptr, nullptr) == FALSE)
        {
            ::DeleteProcThreadAttributeList(Get());
            throw std::runtime_error("the parent cannot be chosen");
        }
    }
    ~ParentAttribute() { ::DeleteProcThreadAttributeList(Get()); }
    ParentAttribute(const ParentAttribute&) = delete;
    ParentAttribute& operator=(const ParentAttribute&) = delete;

    LPPROC_THREAD_ATTRIBUTE_LIST Get() noexcept
    {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_memory.data());
    }

private:
    HANDLE m_parent;
    std::vector<BYTE> m_memory;
};
} // namespace

ChildProcess::ChildProcess(std::wstring commandLine, const wchar_t* workingFolder, HANDLE parent)
{
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof(startup);
    std::optional<ParentAttribute> attribute;
    if (parent != nullptr)
    {
        startup.lpAttributeList = attribute.emplace(parent).Get();
    }
    if (::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, EXTENDED_STARTUPINFO_PRESENT, nullptr,
                         workingFolder, &startup.StartupInfo, &m_process) == FALSE)
    {
        throw std::runtime_error("the process cannot be started");
    }
}

ChildProcess::~ChildProcess()
{
    if (!WaitForExit(0))
    {
        Terminate();
    }
    ::CloseHandle(m_process.hThread);
    ::CloseHandle(m_process.hProcess);
}

std::optional<DWORD> ChildProcess::WaitForExit(DWORD timeoutMs) const
{
    DWORD exitCode = 0;
    if (::WaitForSingleObject(m_process.hProcess, timeoutMs) != WAIT_OBJECT_0 ||
        ::GetExitCodeProcess(m_process.hProcess, &exitCode) == FALSE)
    {
        return std::nullopt;
    }
    return exitCode;
}

void ChildProcess::Terminate() const
{
    constexpr DWORD kEndMs = 10000;
    ::TerminateProcess(m_process.hProcess, 1);
    ::WaitForSingleObject(m_process.hProcess, kEndMs);
}

std::optional<DWORD> RunBesideTest(std::wstring_view fileName, std::wstring_view arguments, DWORD timeoutMs)
{
    std::wstring commandLine = L"\"" + PathBesideTest(fileName) + L"\"";
    if (!arguments.empty())
    {
        commandLine.append(L" ").append(arguments);
    }
    return ChildProcess(std::move(commandLine)).WaitForExit(timeoutMs);
}
} // namespace KVTest
