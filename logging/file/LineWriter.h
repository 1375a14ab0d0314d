#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "logging/file/FileTurn.h"
#include "logging/LogModuleSettings.h"

namespace KVLogging
{
class CLogFile;
struct ModuleState;

/// Writes the lines of one logging call to the debugger, to the module's sink and to the log file, in this order.
///
/// Has the turn at the file from its construction to its destruction, except while a sink runs or after GiveUpTurn.
/// Lines for which the turn is not obtained in time wait in the module's queue, as do those whose file cannot be
/// opened. On the stack of one thread in the module's critical section, outside CStructuredExceptionScope::Run.
class CLineWriter
{
public:
    /// Both outlive the object. settings: those of the line.
    CLineWriter(ModuleState& module, const LogModuleSettings& settings) noexcept;

    /// Opens the file for the first time and writes its header block, if that is to be done.
    void OpenIfPending();
    /// flags: the line's category bits that are enabled. lineNumber: in the source file, 0 for none.
    void WriteLine(std::uint32_t flags, int lineNumber, const std::wstring& message);
    /// Before code that is not the log's own runs. The next line takes the turn again.
    void GiveUpTurn() noexcept { m_turn.GiveUp(); }

private:
    struct LineText;

    void WriteHeader();
    bool IsFull() const noexcept;
    void WriteToDebugger(const LineText& line) const;
    void WriteToSink(const LineText& line);
    void WriteToFile(const LineText& line);
    void AppendLine(CLogFile& logFile, const LineText& line);
    void QueueLine(const LineText& line, std::wstring fileName, DWORD openError);

    ModuleState& m_module;
    const LogModuleSettings& m_settings;
    LogFileRecord* m_file; // null for none
    CFileTurn m_turn;
    bool m_isInHeader = false;
};
} // namespace KVLogging
