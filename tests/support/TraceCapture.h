#pragma once

#include <windows.h>

#include <string>

#include "logging/LogFlags.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"

namespace KVTest
{
/// Log settings of a user that send the trace log of this process to a file. Nothing is logged before the test enables
/// it.
class TraceCapture
{
public:
    TraceCapture() { m_registry.SetString(kKey, L"LogFileName", m_folder.PathOf(L"log.txt")); }
    /// The detail level limits the lines of kLogInfo.
    void Enable(DWORD categories, DWORD detailLevel = 15) const
    {
        m_registry.SetDword(kKey, L"LogCategories", categories);
        m_registry.SetDword(kKey, L"LogInfoDetailLevel", detailLevel);
    }
    /// Everything but the header block.
    void EnableAll() const { Enable(0xFF0); }
    /// Everything except the header block and the lines at entry and exit of a scope.
    void EnableMessages() const { Enable(0xFF0 & ~(KVLogging::kLogEntry | KVLogging::kLogExit)); }
    /// Each line with its tag and its end. Throws std::runtime_error if nothing was written.
    std::wstring GetText() const { return ReadUtf16File(m_folder.PathOf(L"log.txt")); }
    bool IsEmpty() const
    {
        return ::GetFileAttributesW(m_folder.PathOf(L"log.txt").c_str()) == INVALID_FILE_ATTRIBUTES;
    }

    /// For settings of a program, module or source file.
    const RegistrySandbox& GetRegistry() const noexcept { return m_registry; }

private:
    static constexpr wchar_t kKey[] = L"Software\\Norvik\\KV\\Logging";

    TemporaryFolder m_folder;
    RegistrySandbox m_registry;
};
} // namespace KVTest
