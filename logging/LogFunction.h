#pragma once

#include <cstdarg>
#include <cstdint>
#include <string>

#include "logging/LogModule.h"
#include "logging/LogSourceFile.h"

namespace KVLogging
{
struct LogFileRecord;

/// How a function is being left by an exception; named on its exit line. The values are fixed, 1 has none.
enum class ExceptionState : std::int32_t
{
    None = 0,
    Handled = 2,   // "(handled exception) "
    Unhandled = 3, // "(*unhandled exception*) "
};

/// The trace scope of a function: an entry line when it is made, an exit line when it is destroyed, and in between the
/// lines that the function logs through it, each with its place in the source. Opened with KV_TRACE of
/// logging/Trace.h as a function's first statement.
///
/// On the stack of one thread. Nothing it does throws or changes the thread's last error, also when the module has been
/// destroyed already. Owns nothing but its texts: module, source file and full name outlive it.
class CLogFunction
{
public:
    /// The ordinary scope. module may be null: then nothing is logged. fullName: namespaces, class and function.
    CLogFunction(CLogModule* module, const CLogSourceFile& sourceFile, const wchar_t* fullName,
                 int lineNumber) noexcept;

    /// errorCode: reported at exit when it is not 0. isException: the scope starts with an unhandled exception.
    /// entryFormat: follows the short name on the entry line, formatted when arguments are given (after ", ", and the
    /// line then carries kLogInterProcess too), else as it stands. Null or empty for the short name alone.
    CLogFunction(CLogModule* module, const CLogSourceFile& sourceFile, const wchar_t* fullName, int lineNumber,
                 std::uint32_t errorCode, bool isException, const wchar_t* entryFormat, va_list* arguments) noexcept;

    virtual ~CLogFunction();
    CLogFunction(const CLogFunction&) = delete;
    CLogFunction& operator=(const CLogFunction&) = delete;

    /// A line of plain text, or without endOfLine the beginning of one, which the scope's next line continues.
    void LogString(std::uint32_t flags, int lineNumber, const wchar_t* text, bool endOfLine = true) noexcept;
    /// A formatted line. In the wide printf conventions of the Windows C runtime `%s` is wide text.
    void LogFormattedString(std::uint32_t flags, int lineNumber, const wchar_t* format, ...) noexcept;

    /// The error code that a second exit line explains; 0 for none.
    void SetErrorCode(std::uint32_t errorCode) noexcept { m_errorCode = errorCode; }
    /// Tells how the function is being left; named on the exit line.
    void SetExceptionState(ExceptionState state) noexcept { m_exceptionState = state; }

    /// What the module logger needs of the scope.
    ///@{
    std::uint32_t GetErrorCode() const noexcept { return m_errorCode; }
    ExceptionState GetExceptionState() const noexcept { return m_exceptionState; }
    int GetLineNumber() const noexcept { return m_lineNumber; }
    const CLogSourceFile& GetSourceFile() const noexcept { return m_sourceFile; }
    ///@}
    /// A performance-counter value.
    std::int64_t GetStartTime() const noexcept { return m_startTime; }
    /// Collects the line under construction.
    std::wstring& GetPendingText() noexcept { return m_pendingText; }
    /// What the entry line has indented.
    struct EntryIndentation
    {
        LogFileRecord* File = nullptr; ///< null for none
        std::uint32_t OpenBefore = 0;  ///< scopes of this thread that had indented the file before
    };
    /// Kept by the module logger from the entry line to the exit line.
    EntryIndentation& GetEntryIndentation() noexcept { return m_entryIndentation; }
    /// "Class::Method" without template arguments, or the full name when it has no such part. Split on first need.
    const std::wstring& GetShortName();
    /// Empty when the full name has one component only. Split on first need.
    const std::wstring& GetClassName();

private:
    void WriteEntryLine(const wchar_t* entryFormat, va_list* arguments);
    void SplitFullName();

    std::uint32_t m_errorCode;
    ExceptionState m_exceptionState;
    int m_lineNumber;
    CLogModule* m_module;
    const CLogSourceFile& m_sourceFile;
    std::int64_t m_startTime;
    std::wstring m_pendingText;
    const wchar_t* m_fullName;
    bool m_isSplit = false;
    std::wstring m_className;
    std::wstring m_shortName;
    EntryIndentation m_entryIndentation;
};
} // namespace KVLogging
