#pragma once

#include <windows.h>

namespace KVTest
{
/// Overwrites one entry of the program's import address table for the object's lifetime.
class ImportPatch
{
public:
    ImportPatch(void*& place, void* function) : m_place(place), m_original(place) { Write(function); }
    ~ImportPatch() { Write(m_original); }
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

    /// The entry before it was overwritten.
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

/// Declares the import address table entry of a system function, whose linker name is `__imp_` with the function's
/// name. At file scope.
#define KV_DECLARE_IMPORT(operation) extern "C" void* __imp_##operation;
