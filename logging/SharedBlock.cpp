#include "logging/SharedBlock.h"

namespace KVLogging
{
namespace
{
std::wstring ObjectName(const std::wstring& executableName, const wchar_t* kind, const wchar_t* suffix)
{
    return executableName.substr(0, executableName.rfind(L'.')) + L"[" + std::to_wstring(::GetCurrentProcessId()) +
           L"]" + kind + suffix;
}
} // namespace

bool CSharedMapping::OpenMutex(const std::wstring& executableName, const wchar_t* kind)
{
    if (m_mutex == nullptr)
    {
        m_mutex.reset(::CreateMutexW(nullptr, FALSE, ObjectName(executableName, kind, L"Lock").c_str()));
    }
    return m_mutex != nullptr;
}

bool CSharedMapping::OpenMapping(const std::wstring& executableName, const wchar_t* kind, DWORD byteCount)
{
    m_mapping.reset(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, byteCount,
                                         ObjectName(executableName, kind, L"MappedFile").c_str()));
    if (m_mapping != nullptr)
    {
        m_view.reset(::MapViewOfFile(m_mapping.get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, byteCount));
    }
    return m_view != nullptr;
}

void CSharedMapping::CloseMapping() noexcept
{
    m_view.reset();
    m_mapping.reset();
}
} // namespace KVLogging
