#include "logging/LogFunction.h"

#include "logging/LastErrorRestore.h"
#include "logging/LogFlags.h"
#include "logging/LogModule.h"
#include "logging/system/PerformanceClock.h"
#include "utils/base/Win32Exception.h"

namespace KVLogging
{
CLogFunction::CLogFunction(CLogModule* module, const CLogSourceFile& sourceFile, const wchar_t* fullName,
                           int lineNumber) noexcept
    : CLogFunction(module, sourceFile, fullName, lineNumber, 0, false, nullptr, nullptr)
{
}

CLogFunction::CLogFunction(CLogModule* module, const CLogSourceFile& sourceFile, const wchar_t* fullName,
                           int lineNumber, std::uint32_t errorCode, bool isException, const wchar_t* entryFormat,
                           va_list* arguments) noexcept
    : m_module(module), m_scope{errorCode,
                                isException ? ExceptionState::kUnhandled : ExceptionState::kNone,
                                lineNumber,
                                sourceFile,
                                GetPerformanceTicks(),
                                fullName}
{
    if (m_module == nullptr)
    {
        return;
    }
    try
    {
        WriteEntryLine(entryFormat, arguments);
    }
    catch (...) // NOLINT(bugprone-empty-catch): the traced function goes on without its entry line
    {
    }
}

CLogFunction::~CLogFunction()
{
    if (m_module == nullptr)
    {
        return;
    }
    m_scope.lineNumber = 0;
    if (KVUtils::CWin32Exception::GetLiveCount() < 1)
    {
        m_module->LogShortName(m_scope, kLogExit, true);
    }
    else
    {
        m_module->LogShortName(m_scope, kLogExit, false);
        m_module->LogString(&m_scope, kLogExit, L"   *** UNHANDLED EXCEPTION PENDING ***", true);
    }
    if (m_scope.indentedFile != nullptr) // the exit line was not written
    {
        m_module->ForgetEntry(m_scope);
    }
}

void CLogFunction::LogString(std::uint32_t flags, int lineNumber, const wchar_t* text, bool endOfLine) noexcept
{
    m_scope.lineNumber = lineNumber;
    if (m_module != nullptr)
    {
        m_module->LogString(&m_scope, flags, text, endOfLine);
    }
}

void CLogFunction::LogVariadic(std::uint32_t flags, int lineNumber, const wchar_t* format, ...) noexcept
{
    m_scope.lineNumber = lineNumber;
    if (m_module != nullptr)
    {
        va_list arguments;
        va_start(arguments, format);
        m_module->LogFormattedString(&m_scope, flags, format, arguments);
        va_end(arguments);
    }
}

void CLogFunction::WriteEntryLine(const wchar_t* entryFormat, va_list* arguments)
{
    if (entryFormat == nullptr || *entryFormat == L'\0')
    {
        m_module->LogShortName(m_scope, kLogEntry, true);
        return;
    }
    const CLastErrorRestore lastError;
    m_scope.pendingText = m_scope.GetShortName();
    if (arguments != nullptr)
    {
        m_scope.pendingText += L", ";
        m_module->LogFormattedString(&m_scope, kLogEntry | kLogInterProcess, entryFormat, *arguments);
    }
    else
    {
        m_module->LogString(&m_scope, kLogEntry, entryFormat, true);
    }
    m_scope.pendingText.clear(); // of an entry line that is not wanted: it is not the beginning of the next line
}
} // namespace KVLogging
