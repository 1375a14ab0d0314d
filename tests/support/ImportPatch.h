#pragma once

#include <windows.h>

namespace KVTest
{
/// Overwrites one place of the program's import table for the object's lifetime.
class ImportPatch
{
public:
    ImportPatch(void*& place, void* function) : m_place(place), m_original(place) { Write(function); }
    ~ImportPatch() { Write(m_original); }
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

    /// What stood there.
    void* GetOriginal() const noexcept { return m_original; }

private:
    void Write(void* function)
    {
        DWORD previous = 0;
        ::VirtualProtect(&m_place, sizeof(m_place), PAGE_READWRITE, &previous);
        m_place = function;
        ::VirtualProtect(&m_place, sizeof(m_place), previous, &previous);
    }

    void*& m_place;
    void* m_original;
};
} // namespace KVTest

/// The place of a system function in the import table, as the linker names it: `__imp_` and the name. At file scope.
#define KV_DECLARE_IMPORT(operation) extern "C" void* __imp_##operation;
