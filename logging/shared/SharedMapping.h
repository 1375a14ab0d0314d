#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>

#include "winapi/base/SystemHandles.h"

namespace KVLogging
{
class CSharedMapping;

/// One number for several that decide how memory is laid out.
constexpr std::uint64_t CombineLayout(std::initializer_list<std::uint64_t> values) noexcept
{
    constexpr std::uint64_t kStart = 0xCBF29CE484222325;
    constexpr std::uint64_t kFactor = 0x100000001B3;
    std::uint64_t layout = kStart;
    for (const std::uint64_t value : values)
    {
        layout = (layout ^ value) * kFactor;
    }
    return layout;
}

/// Where the modules of one image, the program or a library, find the mapping that one of them has opened. A static
/// object that is made at compile time and has no destructor, since modules are static objects too and are destroyed in
/// any order.
struct SharedMappingSlot
{
    SRWLOCK lock = SRWLOCK_INIT;       ///< guards the pointer
    CSharedMapping* mapping = nullptr; ///< belongs to the modules that use it; null if none does
};

/// The named mutex and mapping behind the blocks of one kind, opened once for all modules of an image that use them at
/// the same time; the last of these modules closes them. All images of one process meet in them, even if each carries
/// its own copy of the logging code; the process id in the names keeps other processes away.
///
/// The mapping holds the reference count and a pointer to the block, which lies on the process heap: each image sees
/// the mapping at a different address, where a container that points into itself would not work.
///
/// Any program of the user's session can make objects of these names first, of any kind, and can write to the mapping
/// at any time. A view is therefore used only if it is ordinary read-write memory. A pointer found there is read once,
/// and followed only if it leads to private memory of this process that bears the mark of a block. The count that
/// decides is kept with the block; the one in the mapping is a copy.
///
/// Open, GetMutex and the destructor: any thread. All else: with the mutex held.
class CSharedMapping : public std::enable_shared_from_this<CSharedMapping>
{
public:
    /// What the mapping holds.
    struct Header
    {
        std::uint32_t referenceCount; ///< follows the one of the block
        void* block;                  ///< null if none exists yet
    };
    /// What the memory of a block begins with.
    struct BlockHead
    {
        std::uint64_t mark;           ///< MarkOf its address and layout
        std::uint32_t referenceCount; ///< modules that are attached
    };
    /// What distinguishes a block at that place from other memory, and from the blocks of modules that would read it
    /// differently. layout: of the block itself; that of the standard library is added.
    static std::uint64_t MarkOf(const void* place, std::uint64_t layout) noexcept;
    /// Whether a block of that size (bytes) and layout can be at that place. Safe for any value.
    static bool IsBlock(const void* place, std::size_t byteCount, std::uint64_t layout) noexcept;

    /// The mapping in the slot; if there is none, a new one, whose mutex is created or opened (`CreateMutexW`). Null if
    /// that fails. kind is the object's part of the names. executableName: with extension.
    static std::shared_ptr<CSharedMapping> Open(SharedMappingSlot& slot, const std::wstring& executableName,
                                                const wchar_t* kind);

    /// For Open.
    CSharedMapping(SharedMappingSlot& slot, KVWinApi::CUniqueSystemHandle mutex) noexcept;
    ~CSharedMapping();
    CSharedMapping(const CSharedMapping&) = delete;
    CSharedMapping& operator=(const CSharedMapping&) = delete;

    HANDLE GetMutex() const noexcept { return m_mutex.Get(); }

    /// Creates or opens the mapping and maps it (`CreateFileMappingW`, `MapViewOfFile`), unless that has been done. A
    /// new one is all zero. False if that fails; a mapping whose view is not committed read-write memory of the full
    /// size is closed again.
    bool OpenView(const std::wstring& executableName, const wchar_t* kind, DWORD byteCount);
    /// Called after OpenView has returned true.
    Header& GetHeader() const noexcept { return *static_cast<Header*>(m_view.Get()); }

private:
    // Whether byteCount bytes from there on are committed read-write memory of that type (MEM_MAPPED, MEM_PRIVATE).
    static bool IsPlainMemory(const void* place, DWORD type, std::size_t byteCount) noexcept;

    SharedMappingSlot& m_slot;
    KVWinApi::CUniqueSystemHandle m_mutex;
    KVWinApi::CUniqueSystemHandle m_mapping;
    KVWinApi::CUniqueView m_view; // declared after the mapping, hence unmapped before it is closed
};
} // namespace KVLogging
