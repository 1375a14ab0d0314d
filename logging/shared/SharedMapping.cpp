#include "logging/shared/SharedMapping.h"

#include <utility>

#include "logging/system/ModulePath.h"
#include "logging/system/SlimLock.h"
#include "utils/base/Decimal.h"

namespace KVLogging
{
namespace
{
std::wstring ObjectName(const std::wstring& executableName, const wchar_t* kind, const wchar_t* suffix)
{
    return StripExtension(executableName) + L"[" + KVUtils::ToDecimal(::GetCurrentProcessId()) + L"]" + kind + suffix;
}

// What the standard library decides about the memory of a block besides its size: whose library it is, the version of
// its binary interface, its checks, and the C runtime whose heap holds the block.
constexpr std::uint64_t GetLibraryLayout() noexcept
{
#if defined(_MSC_VER)
    constexpr std::uint64_t kMicrosoft = 1;
#if defined(_DEBUG)
    constexpr std::uint64_t kHasDebugHeap = 1;
#else
    constexpr std::uint64_t kHasDebugHeap = 0;
#endif
    return CombineLayout({kMicrosoft, _MSC_VER / 100, _ITERATOR_DEBUG_LEVEL, kHasDebugHeap});
#else
#if defined(_UCRT)
    constexpr std::uint64_t kRuntime = 1;
#else
    constexpr std::uint64_t kRuntime = 0;
#endif
#if defined(_LIBCPP_VERSION)
    constexpr std::uint64_t kLlvm = 2;
    return CombineLayout({kLlvm, _LIBCPP_ABI_VERSION, kRuntime});
#else
    constexpr std::uint64_t kGnu = 3;
#if defined(_GLIBCXX_DEBUG)
    constexpr std::uint64_t kIsChecked = 1;
#else
    constexpr std::uint64_t kIsChecked = 0;
#endif
    return CombineLayout({kGnu, _GLIBCXX_USE_CXX11_ABI, kIsChecked, kRuntime});
#endif
#endif
}
} // namespace

std::uint64_t CSharedMapping::MarkOf(const void* place, std::uint64_t layout) noexcept
{
    constexpr std::uint64_t kMark = 0x4B564C6F67426C6B;
    return kMark ^ reinterpret_cast<std::uintptr_t>(place) ^ CombineLayout({layout, GetLibraryLayout()});
}

bool CSharedMapping::IsPlainMemory(const void* place, DWORD type, std::size_t byteCount) noexcept
{
    MEMORY_BASIC_INFORMATION memory{};
    if (::VirtualQuery(place, &memory, sizeof(memory)) != sizeof(memory))
    {
        return false;
    }
    const std::size_t offset =
        reinterpret_cast<std::uintptr_t>(place) - reinterpret_cast<std::uintptr_t>(memory.BaseAddress);
    return memory.State == MEM_COMMIT && memory.Type == type && memory.Protect == PAGE_READWRITE &&
           memory.RegionSize - offset >= byteCount;
}

bool CSharedMapping::IsBlock(const void* place, std::size_t byteCount, std::uint64_t layout) noexcept
{
    // Private, hence not written by another process; the mapping itself is not.
    return reinterpret_cast<std::uintptr_t>(place) % alignof(BlockHead) == 0 &&
           IsPlainMemory(place, MEM_PRIVATE, byteCount) &&
           static_cast<const BlockHead*>(place)->mark == MarkOf(place, layout);
}

std::shared_ptr<CSharedMapping> CSharedMapping::Open(SharedMappingSlot& slot, const std::wstring& executableName,
                                                     const wchar_t* kind)
{
    const CSlimLockHold hold(slot.lock);
    // Without an owner, the mapping in the slot is about to be destroyed on a different thread.
    std::shared_ptr<CSharedMapping> mapping = slot.mapping != nullptr ? slot.mapping->weak_from_this().lock() : nullptr;
    if (mapping == nullptr)
    {
        KVWinApi::CUniqueSystemHandle mutex(
            ::CreateMutexW(nullptr, FALSE, ObjectName(executableName, kind, L"Lock").c_str()));
        if (mutex.IsValid())
        {
            mapping = std::make_shared<CSharedMapping>(slot, std::move(mutex));
            slot.mapping = mapping.get();
        }
    }
    return mapping;
}

CSharedMapping::CSharedMapping(SharedMappingSlot& slot, KVWinApi::CUniqueSystemHandle mutex) noexcept
    : m_slot(slot), m_mutex(std::move(mutex))
{
}

CSharedMapping::~CSharedMapping()
{
    const CSlimLockHold hold(m_slot.lock);
    if (m_slot.mapping == this)
    {
        m_slot.mapping = nullptr;
    }
}

bool CSharedMapping::OpenView(const std::wstring& executableName, const wchar_t* kind, DWORD byteCount)
{
    if (m_view.IsValid())
    {
        return true;
    }
    m_mapping.Reset(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, byteCount,
                                         ObjectName(executableName, kind, L"MappedFile").c_str()));
    if (m_mapping.IsValid())
    {
        m_view.Reset(::MapViewOfFile(m_mapping.Get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, byteCount));
    }
    // Another program may have made the mapping: of a program file, of reserved pages.
    if (!m_view.IsValid() || !IsPlainMemory(m_view.Get(), MEM_MAPPED, byteCount))
    {
        m_view.Reset();
        m_mapping.Reset();
        return false;
    }
    return true;
}
} // namespace KVLogging
