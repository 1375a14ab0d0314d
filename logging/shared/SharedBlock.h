#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <new>
#include <string>

#include "logging/shared/SharedMapping.h"
#include "winapi/base/SystemHandles.h"

namespace KVLogging
{
/// Longest wait for the mutex of a shared block. After that the line is dropped, so that logging never stalls the
/// traced program.
constexpr DWORD kSharedBlockWaitMs = 50;

/// One module's hold on a block that all modules of the process share: the first to attach makes it, the last to detach
/// destroys it. The modules of one image share the handles and the view as well, and each of them counts. Block names
/// its mapping with the constants kKind and kMappingBytes, describes its memory with GetLayout and is made from the
/// name of the executable. Used by one thread at a time, under the module's critical section.
template <typename Block> class CSharedBlock
{
public:
    CSharedBlock() noexcept = default;
    ~CSharedBlock() { Detach(); }
    CSharedBlock(const CSharedBlock&) = delete;
    CSharedBlock& operator=(const CSharedBlock&) = delete;

    /// True between a successful Attach and Detach.
    bool IsAttached() const noexcept { return m_marked != nullptr; }
    /// Null when unattached.
    HANDLE GetMutex() const noexcept { return IsAttached() ? m_mapping->GetMutex() : nullptr; }

    /// Attaches. Leaves the block unattached, and nothing open, if the mutex is not obtained in time, memory is short,
    /// another program has taken the names, or the block was made by a module that would read it differently.
    /// executableName: with extension.
    bool Attach(const std::wstring& executableName)
    {
        static_assert(sizeof(CSharedMapping::Header) <= Block::kMappingBytes);
        if (IsAttached())
        {
            return true;
        }
        const std::shared_ptr<CSharedMapping> mapping = CSharedMapping::Open(s_slot, executableName, Block::kKind);
        if (mapping == nullptr)
        {
            return false;
        }
        const KVWinApi::CUniqueMutexHold hold = KVWinApi::HoldMutex(mapping->GetMutex(), kSharedBlockWaitMs);
        if (!hold.IsValid() || !mapping->OpenView(executableName, Block::kKind, Block::kMappingBytes))
        {
            return false;
        }
        m_marked = FindOrMake(mapping->GetHeader(), executableName);
        if (m_marked == nullptr)
        {
            return false;
        }
        mapping->GetHeader().referenceCount = ++m_marked->head.referenceCount;
        m_mapping = mapping;
        return true;
    }

    /// Detaches. If the mutex is not obtained in time, the count stays as it is, and with it the block: it may be in
    /// use.
    void Detach() noexcept
    {
        if (!IsAttached())
        {
            return;
        }
        {
            const KVWinApi::CUniqueMutexHold hold = KVWinApi::HoldMutex(GetMutex(), kSharedBlockWaitMs);
            if (hold.IsValid())
            {
                CountDown();
            }
        }
        m_marked = nullptr;
        m_mapping.reset(); // closed by the last module of the image
    }

    /// The block; null when unattached. To be used with the mutex held, except for atomic members.
    Block* Get() const noexcept { return IsAttached() ? &m_marked->block : nullptr; }

private:
    // The one of this image for blocks of this kind.
    inline static constinit SharedMappingSlot s_slot;

    // Raised by each change of what a block holds or means that leaves all sizes as they are.
    static constexpr std::uint64_t kLayoutNumber = 2;

    struct MarkedBlock
    {
        explicit MarkedBlock(const std::wstring& executableName)
            : head{CSharedMapping::MarkOf(this, GetLayout()), 0}, block(executableName)
        {
        }
        // A mark must not outlive its block.
        ~MarkedBlock() { head.mark = 0; }
        MarkedBlock(const MarkedBlock&) = delete;
        MarkedBlock& operator=(const MarkedBlock&) = delete;

        CSharedMapping::BlockHead head;
        Block block;
    };

    static constexpr std::uint64_t GetLayout() noexcept
    {
        return CombineLayout({kLayoutNumber, sizeof(MarkedBlock), alignof(MarkedBlock), Block::GetLayout()});
    }

    static MarkedBlock* FindOrMake(CSharedMapping::Header& header, const std::wstring& executableName)
    {
        void* const found = header.block; // once: it may change at any time
        if (found != nullptr)
        {
            const bool isBlock = CSharedMapping::IsBlock(found, sizeof(MarkedBlock), GetLayout());
            return isBlock ? static_cast<MarkedBlock*>(found) : nullptr;
        }
        // The mapping is new, or its maker ran out of memory.
        std::unique_ptr<MarkedBlock> made(new (std::nothrow) MarkedBlock(executableName));
        header.block = made.get();
        return made.release();
    }

    // Called with the mutex held.
    void CountDown() noexcept
    {
        CSharedMapping::Header& header = m_mapping->GetHeader();
        header.referenceCount = --m_marked->head.referenceCount;
        if (m_marked->head.referenceCount == 0)
        {
            header.block = nullptr;
            const std::unique_ptr<MarkedBlock> last(m_marked);
        }
    }

    std::shared_ptr<CSharedMapping> m_mapping; // null when unattached
    MarkedBlock* m_marked = nullptr;           // shared by the modules that are attached; the last one destroys it
};
} // namespace KVLogging
