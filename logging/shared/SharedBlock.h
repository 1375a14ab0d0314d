#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <new>
#include <string>

#include "winapi/base/SystemHandles.h"

namespace KVLogging
{
/// Longest wait for the mutex of a shared block. After that the line is dropped, so that logging never stalls the
/// traced program.
constexpr DWORD kSharedBlockWaitMs = 50;

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

/// The named mutex and mapping behind CSharedBlock. All modules of one process meet in them, even if each library
/// carries its own copy of the logging code; the process id in the names keeps other processes away.
///
/// The mapping holds the reference count and a pointer to the block, which lies on the process heap: each module sees
/// the mapping at a different address, where a container that points into itself would not work.
///
/// Any program of the user's session can make objects of these names first, of any kind, and can write to the mapping
/// at any time. A view is therefore used only if it is ordinary read-write memory. A pointer found there is read once,
/// and followed only if it leads to private memory of this process that bears the mark of a block. The count that
/// decides is kept with the block; the one in the mapping is a copy.
class CSharedMapping
{
public:
    /// Nothing is created yet.
    CSharedMapping() noexcept = default;
    CSharedMapping(const CSharedMapping&) = delete;
    CSharedMapping& operator=(const CSharedMapping&) = delete;

    /// Null before it is opened, and if it could not be opened.
    HANDLE GetMutex() const noexcept { return m_mutex.Get(); }

protected:
    ~CSharedMapping() = default;

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

    /// Creates or opens the mutex unless it is open. kind is the object's part of the name.
    bool OpenMutex(const std::wstring& executableName, const wchar_t* kind);
    /// Creates or opens the mapping and maps it. A new one is all zero. A mapping whose view is not committed
    /// read-write memory of the full size is closed again. Called with the mutex held.
    bool OpenMapping(const std::wstring& executableName, const wchar_t* kind, DWORD byteCount);
    /// Does nothing if it is not open.
    void CloseMapping() noexcept;
    /// Does nothing if it is not open.
    void CloseMutex() noexcept { m_mutex.Reset(); }
    /// Called with the mapping open.
    Header& GetHeader() const noexcept { return *static_cast<Header*>(m_view.Get()); }

private:
    // Whether byteCount bytes from there on are committed read-write memory of that type (MEM_MAPPED, MEM_PRIVATE).
    static bool IsPlainMemory(const void* place, DWORD type, std::size_t byteCount) noexcept;

    KVWinApi::CUniqueSystemHandle m_mutex;
    KVWinApi::CUniqueSystemHandle m_mapping;
    KVWinApi::CUniqueView m_view; // declared after the mapping, hence unmapped before it is closed
};

/// One module's hold on a block that all modules of the process share: the first to attach makes it, the last to detach
/// destroys it. Block names its mapping with the constants kKind and kMappingBytes, describes its memory with GetLayout
/// and is made from the name of the executable. Used by one thread at a time, under the module's critical section.
template <typename Block> class CSharedBlock : public CSharedMapping
{
public:
    ~CSharedBlock() { Detach(); }

    /// True between a successful Attach and Detach.
    bool IsAttached() const noexcept { return m_marked != nullptr; }

    /// Attaches. Leaves the block unattached if the mutex is not obtained in time, memory is short, another program has
    /// taken the names, or the block was made by a module that would read it differently.
    /// executableName: with extension.
    bool Attach(const std::wstring& executableName)
    {
        static_assert(sizeof(Header) <= Block::kMappingBytes);
        if (IsAttached())
        {
            return true;
        }
        if (!OpenMutex(executableName, Block::kKind))
        {
            return false;
        }
        const KVWinApi::CUniqueMutexHold hold = KVWinApi::HoldMutex(GetMutex(), kSharedBlockWaitMs);
        if (!hold.IsValid() || !OpenMapping(executableName, Block::kKind, Block::kMappingBytes))
        {
            return false;
        }
        m_marked = FindOrMake(executableName);
        if (m_marked == nullptr)
        {
            CloseMapping();
            return false;
        }
        GetHeader().referenceCount = ++m_marked->head.referenceCount;
        return true;
    }

    /// Detaches and closes the mutex. If the mutex is not obtained in time, the count stays as it is, and with it the
    /// block: it may be in use.
    void Detach() noexcept
    {
        if (IsAttached())
        {
            const KVWinApi::CUniqueMutexHold hold = KVWinApi::HoldMutex(GetMutex(), kSharedBlockWaitMs);
            if (hold.IsValid())
            {
                GetHeader().referenceCount = --m_marked->head.referenceCount;
                if (m_marked->head.referenceCount == 0)
                {
                    GetHeader().block = nullptr;
                    const std::unique_ptr<MarkedBlock> last(m_marked);
                }
            }
            m_marked = nullptr;
            CloseMapping();
        }
        CloseMutex();
    }

    /// The block; null when unattached. To be used with the mutex held.
    Block* Get() const noexcept { return IsAttached() ? &m_marked->block : nullptr; }

private:
    // Raised by each change of what a block holds or means that leaves all sizes as they are.
    static constexpr std::uint64_t kLayoutNumber = 2;

    struct MarkedBlock
    {
        explicit MarkedBlock(const std::wstring& executableName)
            : head{MarkOf(this, GetLayout()), 0}, block(executableName)
        {
        }
        // A mark must not outlive its block.
        ~MarkedBlock() { head.mark = 0; }
        MarkedBlock(const MarkedBlock&) = delete;
        MarkedBlock& operator=(const MarkedBlock&) = delete;

        BlockHead head;
        Block block;
    };

    static constexpr std::uint64_t GetLayout() noexcept
    {
        return CombineLayout({kLayoutNumber, sizeof(MarkedBlock), alignof(MarkedBlock), Block::GetLayout()});
    }

    MarkedBlock* FindOrMake(const std::wstring& executableName) const
    {
        void* const found = GetHeader().block; // once: it may change at any time
        if (found != nullptr)
        {
            return IsBlock(found, sizeof(MarkedBlock), GetLayout()) ? static_cast<MarkedBlock*>(found) : nullptr;
        }
        // The mapping is new, or its maker ran out of memory.
        std::unique_ptr<MarkedBlock> made(new (std::nothrow) MarkedBlock(executableName));
        GetHeader().block = made.get();
        return made.release();
    }

    MarkedBlock* m_marked = nullptr; // shared by the modules that are attached; the last one destroys it
};
} // namespace KVLogging
