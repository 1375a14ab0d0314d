#pragma once

#include <windows.h>

#include <sal.h>

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "logging/line/ErrorTextFormatter.h"
#include "logging/LineSink.h"
#include "logging/system/CriticalSection.h"

namespace KVLogging
{
struct LogModuleSettings;
struct ModuleState;
struct TraceScope;

/// The logger of one module (a library, or the program itself), a static object of it. Decides for each line whether it
/// is wanted, by the user's settings in the registry (see docs/logging.md), composes it and writes it to the debugger
/// (`OutputDebugStringW`), to the line sink if there is one, and to the log file that the settings name.
///
/// Any thread; the module's lines are serialised by its critical section, and its destructor waits for the lines that
/// are being logged. No operation throws, whatever happens while logging, or changes the thread's last error. If the
/// object is static, every operation except GetName and ResetSettings may be called before its construction and after
/// its destruction; it then does nothing.
///
/// The order of the virtual operations is part of the interface.
class CLogModule
{
public:
    /// moduleName: the name of the module's registry key; null for the name of the program or library that contains the
    /// logging code, without extension. buildTime: shown in the header block of log files, for example "04:48:18".
    CLogModule(const char* moduleName, const char* buildTime) noexcept;
    virtual ~CLogModule();
    CLogModule(const CLogModule&) = delete;
    CLogModule& operator=(const CLogModule&) = delete;

    /// Sets the module's own settings to zero: no categories, no options, no file. Called before they are read anew, in
    /// the module's critical section and with the settings mutex held.
    virtual void ResetSettings() noexcept;

    /// Logs a text. scope: the function that logs, null for none; a line without a scope carries no line number and
    /// never opens the log file's header. Without endOfLine the text waits in the scope for the rest of its line.
    void LogString(TraceScope* scope, std::uint32_t flags, const wchar_t* text, bool endOfLine) noexcept;
    /// Formats the arguments by the wide printf conventions of the Windows C runtime (`%s` is wide text) and logs the
    /// result as a line. A format that the runtime refuses costs the line.
    void LogFormattedString(TraceScope* scope, std::uint32_t flags, _Printf_format_string_ const wchar_t* format,
                            va_list arguments) noexcept;
    /// Logs the short name of the scope, which is computed only if the line is wanted.
    void LogShortName(TraceScope& scope, std::uint32_t flags, bool endOfLine) noexcept;

    /// The scope ends without an exit line: the indentation of its entry line stays.
    void ForgetEntry(TraceScope& scope) noexcept;

    /// Sends every further line that would go to a file to the sink as well, even if no file is named; null ends it.
    /// The sink stays the caller's and lives until it is detached. Attaching reads the settings first if that is due;
    /// while a sink is attached they are not read again. Waits for lines that are being logged.
    void AttachLineSink(ILineSink* sink) noexcept;
    /// The formatter for the error code lines; null, the initial value, for the system's texts.
    void SetErrorTextFormatter(ErrorTextFormatter formatter) noexcept;
    /// "[Err: 0x%08X] " and the text of the error code, by the formatter or the system. Empty if memory is short.
    std::wstring FormatErrorText(std::uint32_t errorCode) noexcept;

    /// Ends all logging of the module: no setting is read and no line is written any more. For a program that must not
    /// leave a trace, as its first step. The named objects of this process, which the constructor has made, go with it.
    void Silence() noexcept { m_isEnabled = false; }

    /// The name of the registry key: as given, or that of the program or library.
    const std::wstring& GetName() const noexcept;

private:
    class CCall;

    template <typename Body> void Log(TraceScope* scope, std::uint32_t flags, const Body& body) noexcept;
    bool IsKnownDisabled(std::uint32_t flags) const noexcept;
    bool MayRefresh() const noexcept;
    std::optional<LogModuleSettings> FindSettings(const TraceScope* scope, std::uint32_t flags) noexcept;
    void WaitForCalls() noexcept;

    // Null if memory is short. Guarded by the critical section.
    std::unique_ptr<ModuleState> m_state;
    // The members below are used before and after the object's life. They are volatile, or else the compiler leaves out
    // the destructor's last stores.
    CCriticalSection m_criticalSection;
    volatile std::atomic<std::uint32_t> m_callCount = 0; // calls that may wait for the critical section
    volatile std::atomic<bool> m_isEnabled = false;      // between construction and destruction
};
} // namespace KVLogging
