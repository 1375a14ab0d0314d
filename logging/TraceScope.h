#pragma once

#include <cstdint>
#include <string>

namespace KVLogging
{
class CLogSourceFile;
struct LogFileRecord;

/// How an exception leaves a function; noted on the exit line. The values are fixed, and 1 is none of them.
enum class ExceptionState : std::int32_t
{
    kNone = 0,
    kHandled = 2,   // "(handled exception) "
    kUnhandled = 3, // "(*unhandled exception*) "
};

/// What a module needs of a function scope to log its lines. Kept by CLogFunction, on the stack of one thread.
struct TraceScope
{
    std::uint32_t errorCode;               ///< explained by a second exit line; 0 for none
    ExceptionState exceptionState;         ///< noted on the exit line
    int lineNumber;                        ///< in the source file, of the line that is logged
    const CLogSourceFile& sourceFile;      ///< for the settings per source file
    std::int64_t startTime;                ///< a performance-counter value
    const wchar_t* fullName;               ///< namespaces, class and function
    std::wstring pendingText = {};         ///< the line under construction
    bool isSplit = false;                  ///< the two names are filled in
    std::wstring className = {};           ///< see GetNameOfClass
    std::wstring shortName = {};           ///< see GetShortName
    LogFileRecord* indentedFile = nullptr; ///< what the entry line has indented; null for none
    std::uint32_t openBefore = 0;          ///< scopes of this thread that had indented the file before

    /// "Class::Method" without template arguments, or the full name if it has no such part. Split on first need.
    const std::wstring& GetShortName();
    /// Empty if the full name has one component only. Split on first need.
    const std::wstring& GetNameOfClass();
};
} // namespace KVLogging
