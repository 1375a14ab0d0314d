#pragma once

#include <windows.h>

#include <cstdint>
#include <new>
#include <string>

#include "logging/SystemHandle.h"

namespace KVLogging
{
/// Longest wait for the mutex of a shared block. Rather than to keep the traced program waiting, a line is skipped.
constexpr DWORD kSharedBlockWaitMs = 50;

/// The named mutex and mapping behind CSharedBlock. All modules of one process meet in them, also when each library
/// carries its own copy of the logging code; the process id in the names keeps other processes away.
///
/// The mapping holds a reference count and a pointer to the block, which lies on the process heap: each module sees the
/// mapping at another address, where a container that points into itself would not work.
class CSharedMapping
{
public:
    /// executableName: with extension. Nothing is created yet.
    CSharedMapping() noexcept = default;
    CSharedMapping(const CSharedMapping&) = delete;
    CSharedMapping& operator=(const CSharedMapping&) = delete;

    HANDLE GetMutex() const noexcept { return m_mutex.get(); }

protected:
    ~CSharedMapping() = default;

    struct Header
    {
        std::uint32_t referenceCount;
        void* block;
    };

    /// Creates or opens the mutex, if that is not done yet. kind is the object's part of the name.
    bool OpenMutex(const std::wstring& executableName, const wchar_t* kind);
    /// Creates or opens the mapping and maps it. A new one is all zero. Called with the mutex held.
    bool OpenMapping(const std::wstring& executableName, const wchar_t* kind, DWORD byteCount);
    void CloseMapping() noexcept;
    void CloseMutex() noexcept { m_mutex.reset(); }
    Header* GetHeader() const noexcept { return static_cast<Header*>(m_view.get()); }

private:
    UniqueSystemHandle m_mutex;
    UniqueSystemHandle m_mapping;
    UniqueView m_view; // declared after the mapping, hence unmapped before it is closed
};

/// One module's hold on a block that all modules of the process share: the first to attach makes it, the last to detach
/// destroys it. Block names its mapping with the constants kKind and kMappingBytes and is made from the name of the
/// executable. Used by one thread at a time, under the module's critical section.
template <typename Block> class CSharedBlock : public CSharedMapping
{
public:
    ~CSharedBlock() { Detach(); }

    bool IsAttached() const noexcept { return GetHeader() != nullptr; }

    /// Attaches, or leaves the block unattached when the mutex is not to be had in time or memory is short.
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
        const CMutexLock lock(GetMutex(), kSharedBlockWaitMs);
        if (!lock.IsHeld() || !OpenMapping(executableName, Block::kKind, Block::kMappingBytes))
        {
            return false;
        }
        Header& header = *GetHeader();
        if (header.block == nullptr) // the mapping is new, or who made it ran out of memory
        {
            header.block = new (std::nothrow) Block(executableName);
        }
        if (header.block == nullptr)
        {
            CloseMapping();
            return false;
        }
        ++header.referenceCount;
        return true;
    }

    /// Detaches and closes the mutex. When the mutex is not to be had in time the count stays as it is, and with it the
    /// block: it may be in use.
    void Detach() noexcept
    {
        if (IsAttached())
        {
            const CMutexLock lock(GetMutex(), kSharedBlockWaitMs);
            Header& header = *GetHeader();
            if (lock.IsHeld() && --header.referenceCount == 0)
            {
                delete Get();
                header.block = nullptr;
            }
            CloseMapping();
        }
        CloseMutex();
    }

    /// The block; null when unattached. To be used with the mutex held.
    Block* Get() const noexcept { return IsAttached() ? static_cast<Block*>(GetHeader()->block) : nullptr; }
};
} // namespace KVLogging
