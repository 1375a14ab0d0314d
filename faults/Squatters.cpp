#include "faults/Squatters.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace KVFaults
{
namespace
{
constexpr DWORD kPageBytes = 4096;

HANDLE MakeMapping(const std::wstring& name, DWORD protection, DWORD byteCount)
{
    return ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, protection, 0, byteCount, name.c_str());
}

std::vector<char> ReadOwnImage()
{
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The first page of this image says that no block exists yet; a program that believes it writes to read-only memory.
HANDLE MakeImageMapping(const std::wstring& name)
{
    constexpr std::size_t kPointerOffset = 8; // of the mapping's pointer to its block; the loader ignores these bytes
    std::vector<char> image = ReadOwnImage();
    std::fill_n(image.begin() + kPointerOffset, sizeof(void*), '\0');
    const std::filesystem::path path = std::filesystem::temp_directory_path() / L"kv_fault_image.exe";
    std::ofstream(path, std::ios::binary).write(image.data(), static_cast<std::streamsize>(image.size()));
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_EXECUTE, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    const HANDLE mapping = ::CreateFileMappingW(file, nullptr, PAGE_READONLY | SEC_IMAGE, 0, 0, name.c_str());
    const DWORD error = ::GetLastError();
    ::CloseHandle(file);
    ::SetLastError(error);
    return mapping;
}

HANDLE MakeGarbageMapping(const std::wstring& name)
{
    constexpr int kGarbage = 0xCC;
    const HANDLE mapping = MakeMapping(name, PAGE_READWRITE, kPageBytes);
    const DWORD error = ::GetLastError();
    void* const view = mapping != nullptr ? ::MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0) : nullptr;
    if (view != nullptr)
    {
        std::memset(view, kGarbage, kPageBytes);
        ::UnmapViewOfFile(view);
    }
    ::SetLastError(error);
    return mapping;
}
} // namespace

CSquatter::~CSquatter()
{
    for (const HANDLE object : m_objects)
    {
        ::CloseHandle(object);
    }
}

bool CSquatter::Take(const std::wstring& name, const std::string& how)
{
    ::SetLastError(ERROR_SUCCESS);
    const HANDLE object = Make(name, how);
    const bool isNew = ::GetLastError() != ERROR_ALREADY_EXISTS;
    if (object != nullptr)
    {
        m_objects.push_back(object);
    }
    return object != nullptr && isNew;
}

HANDLE CSquatter::Make(const std::wstring& name, const std::string& how)
{
    constexpr DWORD kSmallBytes = 16;
    constexpr DWORD kReservedBytes = 65536;
    if (how == "held")
    {
        return ::CreateMutexW(nullptr, TRUE, name.c_str());
    }
    if (how == "event")
    {
        return ::CreateEventW(nullptr, TRUE, FALSE, name.c_str());
    }
    if (how == "image")
    {
        return MakeImageMapping(name);
    }
    if (how == "reserved")
    {
        return MakeMapping(name, PAGE_READWRITE | SEC_RESERVE, kReservedBytes);
    }
    if (how == "read-only")
    {
        return MakeMapping(name, PAGE_READONLY, kPageBytes);
    }
    if (how == "small")
    {
        return MakeMapping(name, PAGE_READWRITE, kSmallBytes);
    }
    return how == "garbage" ? MakeGarbageMapping(name) : nullptr;
}
} // namespace KVFaults
