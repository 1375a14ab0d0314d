#include "logging/LogFunction.h"

#include "logging/LastErrorRestore.h"
#include "logging/line/FunctionName.h"
#include "logging/LogFlags.h"
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
    : m_errorCode(errorCode), m_exceptionState(isException ? ExceptionState::Unhandled : ExceptionState::None),
      m_lineNumber(lineNumber), m_module(module), m_sourceFile(sourceFile), m_startTime(GetPerformanceTicks()),
      m_fullName(fullName)
{
    if (m_module == nullptr)
    {
        return;
    }
    const CLastErrorRestore lastError;
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
    const CLastErrorRestore lastError;
    m_lineNumber = 0;
    if (KVUtils::CWin32Exception::GetLiveCount() < 1)
    {
        m_module->LogShortName(*this, kLogExit, true);
    }
    else
    {
        m_module->LogShortName(*this, kLogExit, false);
        m_module->LogString(this, kLogExit, L"   *** UNHANDLED EXCEPTION PENDING ***", true);
    }
    if (m_entryIndentation.File != nullptr) // the exit line was not written
    {
        m_module->ForgetEntry(*this);
    }
}

void CLogFunction::LogString(std::uint32_t flags, int lineNumber, const wchar_t* text, bool endOfLine) noexcept
{
    const CLastErrorRestore lastError;
    m_lineNumber = lineNumber;
    if (m_module != nullptr)
    {
        m_module->LogString(this, flags, text, endOfLine);
    }
}

void CLogFunction::LogFormattedString(std::uint32_t flags, int lineNumber, const wchar_t* format, ...) noexcept
{
    const CLastErrorRestore lastError;
    m_lineNumber = lineNumber;
    if (m_module != nullptr)
    {
        va_list arguments;
        va_start(arguments, format);
        m_module->LogFormattedString(this, flags, format, arguments);
        va_end(arguments);
    }
}

const std::wstring& CLogFunction::GetShortName()
{
    SplitFullName();
    return m_shortName;
}

const std::wstring& CLogFunction::GetClassName()
{
    SplitFullName();
    return m_className;
}

void CLogFunction::WriteEntryLine(const wchar_t* entryFormat, va_list* arguments)
{
    if (entryFormat == nullptr || *entryFormat == L'\0')
    {
        m_module->LogShortName(*this, kLogEntry, true);
        return;
    }
    m_pendingText = GetShortName();
    if (arguments != nullptr)
    {
        m_pendingText += L", ";
        m_module->LogFormattedString(this, kLogEntry | kLogInterProcess, entryFormat, *arguments);
    }
    else
    {
        m_module->LogString(this, kLogEntry, entryFormat, true);
    }
    m_pendingText.clear(); // of an entry line that is not wanted: it is not the beginning of the next line
}

void CLogFunction::SplitFullName()
{
    if (m_isSplit)
    {
        return;
    }
    FunctionName name = SplitFunctionName(m_fullName);
    m_className = std::move(name.ClassName);
    m_shortName = !name.ShortName.empty() ? std::move(name.ShortName) : m_fullName;
    m_isSplit = true;
}
} // namespace KVLogging
