#pragma once

#include <cstdarg>
#include <cstdint>
#include <type_traits>

#include "logging/line/FormatCheck.h"
#include "logging/LogSourceFile.h"
#include "logging/TraceScope.h"

namespace KVLogging
{
class CLogModule;

/// The trace scope of a function: writes an entry line when it is made and an exit line when it is destroyed. The
/// function logs its lines through it, each with its place in the source. Opened with KV_TRACE of logging/Trace.h as a
/// function's first statement.
///
/// On the stack of one thread. Nothing it does throws or changes the thread's last error, even if the module has been
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

    /// A line of plain text. Without endOfLine it is the beginning of a line, which the scope's next text continues.
    void LogString(std::uint32_t flags, int lineNumber, const wchar_t* text, bool endOfLine = true) noexcept;
    /// A formatted line. In the wide printf conventions of the Windows C runtime `%s` is wide text. A format that does
    /// not fit its arguments does not compile (see logging/line/FormatCheck.h).
    template <typename... Arguments>
    void LogFormattedString(std::uint32_t flags, int lineNumber,
                            CCheckedFormat<std::type_identity_t<Arguments>...> format, Arguments... arguments) noexcept
    {
        LogVariadic(flags, lineNumber, format.Get(), arguments...);
    }

    /// The error code that a second exit line explains; 0 for none.
    void SetErrorCode(std::uint32_t errorCode) noexcept { m_scope.errorCode = errorCode; }
    /// How an exception leaves the function; noted on the exit line.
    void SetExceptionState(ExceptionState state) noexcept { m_scope.exceptionState = state; }

    /// The place in the source file of the line logged last.
    int GetLineNumber() const noexcept { return m_scope.lineNumber; }

private:
    void WriteEntryLine(const wchar_t* entryFormat, va_list* arguments);
    void LogVariadic(std::uint32_t flags, int lineNumber, const wchar_t* format, ...) noexcept;

    CLogModule* m_module; // null for none
    TraceScope m_scope;
};
} // namespace KVLogging
