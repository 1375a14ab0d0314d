#include "utils/base/FileVersionInfo.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <new>

#include "winapi/base/SystemLibraries.h"

namespace KVUtils
{
namespace
{
using KVWinApi::g_versionDll;

constexpr std::size_t kMaxBlockName = 260; // characters, the terminating zero included

bool QueryValue(const void* versionData, const wchar_t* name, void*& value, UINT& size)
{
    return Call(KV_SYSTEM_FUNCTION(g_versionDll, VerQueryValueW), versionData, name, &value, &size) != FALSE;
}
} // namespace

CFileVersionInfo::CFileVersionInfo(const wchar_t* filePath)
{
    if (filePath == nullptr || !ReadVersionData(filePath))
    {
        return;
    }
    FindTranslations();
    FindFixedFileInfo();
}

bool CFileVersionInfo::ReadVersionData(const wchar_t* filePath)
{
    DWORD ignored = 0;
    const DWORD size = Call(KV_SYSTEM_FUNCTION(g_versionDll, GetFileVersionInfoSizeW), filePath, &ignored);
    if (size == 0)
    {
        return false;
    }
    try
    {
        m_versionData = std::make_unique<std::byte[]>(size);
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
    if (Call(KV_SYSTEM_FUNCTION(g_versionDll, GetFileVersionInfoW), filePath, 0, size, m_versionData.get()) == FALSE)
    {
        m_versionData.reset();
        return false;
    }
    m_versionDataSize = size;
    return true;
}

// Bytes from that place to the end of the version data; 0 if it is outside.
std::size_t CFileVersionInfo::GetRoomFrom(const void* place) const noexcept
{
    // An unsigned difference: it is huge for a place before the data.
    const std::uintptr_t offset =
        reinterpret_cast<std::uintptr_t>(place) - reinterpret_cast<std::uintptr_t>(m_versionData.get());
    return offset < m_versionDataSize ? m_versionDataSize - offset : 0;
}

void CFileVersionInfo::FindTranslations()
{
    void* table = nullptr;
    UINT byteCount = 0;
    if (QueryValue(m_versionData.get(), L"\\VarFileInfo\\Translation", table, byteCount))
    {
        // The length comes from the file; a damaged one leads up to 64 KiB beyond the data.
        const std::size_t available = std::min<std::size_t>(byteCount, GetRoomFrom(table));
        m_translations = static_cast<const Translation*>(table);
        m_translationCount = static_cast<UINT>(available / sizeof(Translation));
    }
}

void CFileVersionInfo::FindFixedFileInfo()
{
    void* fixedFileInfo = nullptr;
    UINT byteCount = 0;
    if (QueryValue(m_versionData.get(), L"\\", fixedFileInfo, byteCount) && byteCount >= sizeof(VS_FIXEDFILEINFO) &&
        GetRoomFrom(fixedFileInfo) >= sizeof(VS_FIXEDFILEINFO))
    {
        m_fixedFileInfo = static_cast<const VS_FIXEDFILEINFO*>(fixedFileInfo);
    }
}

// Null if the entry is missing or does not end inside the version data.
const wchar_t* CFileVersionInfo::FindText(const wchar_t* blockName) const
{
    void* value = nullptr;
    UINT characterCount = 0;
    if (!QueryValue(m_versionData.get(), blockName, value, characterCount))
    {
        return nullptr;
    }
    const auto* const text = static_cast<const wchar_t*>(value);
    const std::size_t room = GetRoomFrom(text) / sizeof(wchar_t);
    return room != 0 && std::wmemchr(text, L'\0', room) != nullptr ? text : nullptr;
}

const wchar_t* CFileVersionInfo::GetStringValue(const wchar_t* name) const
{
    if (name == nullptr || m_versionData == nullptr || m_translations == nullptr || m_translationCount == 0)
    {
        return nullptr;
    }
    const wchar_t* value = nullptr;
    // Deliberate: no early exit, the last translation that holds the entry wins. A query that fails leaves the value of
    // an earlier one in place.
    for (UINT i = 0; i < m_translationCount; ++i)
    {
        wchar_t blockName[kMaxBlockName];
        const int length = _snwprintf_s(blockName, kMaxBlockName, _TRUNCATE, L"\\StringFileInfo\\%04x%04x\\%ls",
                                        static_cast<unsigned>(m_translations[i].language),
                                        static_cast<unsigned>(m_translations[i].codePage), name);
        if (length < 0)
        {
            return nullptr; // cut: no entry has a name of this length, and the cut name may be another entry's
        }
        if (const wchar_t* const text = FindText(blockName))
        {
            value = text;
        }
    }
    return value;
}

const wchar_t* CFileVersionInfo::GetCompanyName() const
{
    return GetStringValue(L"CompanyName");
}

const wchar_t* CFileVersionInfo::GetFileDescription() const
{
    return GetStringValue(L"FileDescription");
}

const wchar_t* CFileVersionInfo::GetFileVersion() const
{
    return GetStringValue(L"FileVersion");
}

const wchar_t* CFileVersionInfo::GetProductName() const
{
    return GetStringValue(L"ProductName");
}

const wchar_t* CFileVersionInfo::GetProductVersion() const
{
    return GetStringValue(L"ProductVersion");
}
} // namespace KVUtils
