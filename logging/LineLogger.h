#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstdint>

#include "logging/LogModuleSettings.h"

namespace KVLogging
{
class CLineWriter;
struct ModuleState;
struct TraceScope;

/// Logs the text of one logging call that passed the enable test: completes it from the scope, has it written, and
/// notifies the monitor. Whatever goes wrong costs the line and no more. On the stack of one thread in the module's
/// critical section.
class CLineLogger
{
public:
    /// module, settings and scope (null for none) outlive the object. lastError: the caller's.
    CLineLogger(ModuleState& module, const LogModuleSettings& settings, TraceScope* scope, std::uint32_t flags,
                DWORD lastError) noexcept;

    /// text: null for the short name of the scope. Without endOfLine it waits in the scope for the rest of its line.
    void InternalLogSimpleString(const wchar_t* text, bool endOfLine) noexcept;
    /// A line without the end that a format lacks. A format that the C runtime refuses costs the line.
    void InternalLogFormattedString(const wchar_t* format, va_list arguments) noexcept;

private:
    template <typename Body> void RunGuarded(const wchar_t* faultNote, const Body& body) noexcept;

    bool Has(std::uint32_t flag) const noexcept { return (m_flags & flag) != 0; }
    bool IsTooDetailed() const noexcept;
    LogFileRecord* GetIndentedFile() const noexcept;

    void LogInScope(CLineWriter& writer, const wchar_t* text, bool endOfLine);
    void AppendToScope(const wchar_t* text);
    void PrepareExit();
    void TakeBackIndentation();
    void WriteScopeLine(CLineWriter& writer);
    void FinishEntry(CLineWriter& writer);
    void WriteErrorLine(CLineWriter& writer);
    void FinishExit(CLineWriter& writer);

    ModuleState& m_module;
    const LogModuleSettings& m_settings;
    TraceScope* m_scope;
    std::uint32_t m_flags;
    DWORD m_lastError;
};
} // namespace KVLogging
