#pragma once

#include <windows.h>

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <optional>
#include <string>

#include "logging/file/LineQueue.h"
#include "logging/line/ScratchBuffer.h"
#include "logging/LineSink.h"
#include "logging/LogModuleSettings.h"
#include "logging/settings/SettingsAccess.h"
#include "logging/shared/ExtMonitor.h"
#include "logging/system/CriticalSection.h"

namespace KVLogging
{
class CLogFunction;

/// Explains error codes of a module's own. Writes at most length characters to buffer and returns their number; 0 when
/// it does not know the code, which the system is then asked about.
using ErrorTextFormatter = std::uint32_t (*)(std::uint32_t errorCode, wchar_t* buffer, std::uint32_t length);

/// The logger of one module (a library, or the program itself), a static object of it. Decides for each line whether it
/// is wanted, by the user's settings in the registry (see docs/logging.md), composes it and sends it to the debugger
/// (`OutputDebugStringW`), to the log file that the settings name, and to the line sink if there is one.
///
/// Any thread; the module's lines are serialised by its critical section. No operation throws, whatever happens while
/// logging, or changes the thread's last error. As far as the object is static its operations, GetName apart, may be
/// called before it is constructed and after it is destroyed: nothing is logged then.
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
    /// the module's critical section and under the lock of the settings.
    virtual void ResetSettings() noexcept;

    /// Logs a text. scope: the function that logs, null for none; a line without a scope carries no line number and
    /// never opens the log file's header. Without endOfLine the text waits in the scope for the rest of its line.
    void LogString(CLogFunction* scope, std::uint32_t flags, const wchar_t* text, bool endOfLine) noexcept;
    /// Formats the arguments by the wide printf conventions of the Windows C runtime (`%s` is wide text) and logs the
    /// result as a line. A format that the runtime refuses costs the line.
    void LogFormattedString(CLogFunction* scope, std::uint32_t flags, const wchar_t* format,
                            va_list arguments) noexcept;
    /// Logs the short name of the scope, which is computed only when the line is wanted.
    void LogShortName(CLogFunction& scope, std::uint32_t flags, bool endOfLine) noexcept;

    /// The scope ends without an exit line: what its entry line has indented stays so.
    void ForgetEntry(CLogFunction& scope) noexcept;

    /// Sends every further line that would go to a file to the sink as well, also when no file is named; null ends it.
    /// The sink stays the caller's and lives until it is detached. Settings are brought up to date on attaching, if
    /// they are due, and are not read again while a sink is attached. Waits for lines that are being written.
    void AttachLineSink(ILineSink* sink) noexcept;
    /// The formatter for the error code lines; null, as it is at first, for the system's texts.
    void SetErrorTextFormatter(ErrorTextFormatter formatter) noexcept;
    /// "[Err: 0x%08X] " and the text of the error code, by the formatter or the system. Empty when memory is short.
    std::wstring FormatErrorText(std::uint32_t errorCode) noexcept;

    /// Of the registry key: as given, or that of the program or library.
    const std::wstring& GetName() const noexcept { return m_name; }

private:
    struct Line; // one logging call that passed the enable test

    std::optional<LogModuleSettings> FindSettings(const CLogFunction* scope, std::uint32_t flags) noexcept;
    std::optional<LogModuleSettings> LookUpSettings(const CLogFunction* scope);
    bool IsRefreshDue(DWORD now) const noexcept;
    void RefreshSettings(SettingsBlock& block, MonitorValues& monitorValues);
    void BindMonitor(const MonitorValues& values) noexcept;

    void InternalLogSimpleString(const Line& line, const wchar_t* text, bool endOfLine) noexcept;
    void InternalLogFormattedString(const Line& line, const wchar_t* format, va_list arguments) noexcept;
    template <typename Body> void RunWorker(const wchar_t* faultNote, const Line& line, const Body& body) noexcept;

    void AppendToScope(const Line& line, const wchar_t* text);
    void WriteScopeLine(const Line& line);
    void PrepareExit(const Line& line);
    void FinishEntry(const Line& line);
    void FinishExit(const Line& line);
    void OpenIfPending(const LogModuleSettings& settings);
    void WriteLine(const LogModuleSettings& settings, std::uint32_t flags, int lineNumber, const std::wstring& message);
    void WriteToFile(const LogModuleSettings& settings, const std::wstring& prefix, const std::wstring& message);
    void AppendToFile(const LogModuleSettings& settings, const std::wstring& prefix, const std::wstring& message);
    void QueueLine(const LogFileRecord& file, DWORD openError, const std::wstring& prefix, const std::wstring& message);

    std::wstring m_name;
    std::wstring m_executableName;
    std::wstring m_buildStamp;
    std::wstring m_processTag;
    DWORD m_pollIntervalMs = 30000;
    std::int64_t m_previousLine = 0; // performance counter
    CSettingsAccess m_settings;
    ErrorTextFormatter m_errorTextFormatter = nullptr;
    CCriticalSection m_criticalSection; // guards all other members but the flag at the end
    ScratchBuffer m_scratch{};
    CLineQueue m_queue;
    CExtMonitor m_monitor;
    ILineSink* m_lineSink = nullptr;
    // Volatile, or the compiler leaves out the destructor's last store, which later callers rely on.
    volatile std::atomic<bool> m_isEnabled = false;
};
} // namespace KVLogging
