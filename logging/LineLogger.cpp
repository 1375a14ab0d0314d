#include "logging/LineLogger.h"

#include <optional>
#include <string>

#include "logging/file/LineWriter.h"
#include "logging/line/ErrorText.h"
#include "logging/line/TextFormat.h"
#include "logging/LogFlags.h"
#include "logging/ModuleState.h"
#include "logging/system/PerformanceClock.h"
#include "logging/TraceScope.h"
#include "utils/base/StructuredExceptionScope.h"
#include "utils/base/Win32Exception.h"

namespace KVLogging
{
namespace
{
const wchar_t* ExceptionNote(ExceptionState state) noexcept
{
    switch (state)
    {
    case ExceptionState::kHandled:
        return L"(handled exception) ";
    case ExceptionState::kUnhandled:
        return L"(*unhandled exception*) ";
    case ExceptionState::kNone:
        break;
    }
    return L"";
}

// In pieces, which need no memory: that may be what is short.
void NoteFault(const wchar_t* opening, const KVUtils::CWin32Exception& fault) noexcept
{
    ::OutputDebugStringW(opening);
    ::OutputDebugStringW(fault.GetMessageText());
    ::OutputDebugStringW(L")\r\n");
}
} // namespace

CLineLogger::CLineLogger(ModuleState& module, const LogModuleSettings& settings, TraceScope* scope, std::uint32_t flags,
                         DWORD lastError) noexcept
    : m_module(module), m_settings(settings), m_scope(scope), m_flags(flags), m_lastError(lastError)
{
}

void CLineLogger::InternalLogSimpleString(const wchar_t* text, bool endOfLine) noexcept
{
    if (IsTooDetailed())
    {
        return;
    }
    CLineWriter writer(m_module, m_settings); // outside the guard, since a fault runs no destructors in it
    RunGuarded(L"Exception Exit: InternalLogSimpleString (", [&] {
        if (m_scope != nullptr)
        {
            LogInScope(writer, text, endOfLine);
        }
        else
        {
            writer.WriteLine(m_settings.Categories & m_flags, 0, text);
        }
    });
}

void CLineLogger::LogInScope(CLineWriter& writer, const wchar_t* text, bool endOfLine)
{
    AppendToScope(text);
    writer.OpenIfPending();
    if (!endOfLine)
    {
        return;
    }
    if (Has(kLogExit))
    {
        PrepareExit();
    }
    WriteScopeLine(writer);
    if (Has(kLogEntry))
    {
        FinishEntry(writer);
    }
    if (Has(kLogExit))
    {
        FinishExit(writer);
    }
}

void CLineLogger::InternalLogFormattedString(const wchar_t* format, va_list arguments) noexcept
{
    if (IsTooDetailed()) // before the work of formatting
    {
        return;
    }
    std::optional<std::wstring> text;
    RunGuarded(L"Exception Exit: InternalLogFormattedString (",
               [&] { text = format != nullptr ? FormatText(format, arguments) : std::nullopt; });
    if (text)
    {
        InternalLogSimpleString(text->c_str(), true);
    }
}

// Runs a worker's body. Nothing leaves it, and a line that fails in it is dropped.
template <typename Body> void CLineLogger::RunGuarded(const wchar_t* faultNote, const Body& body) noexcept
{
    try
    {
        const KVUtils::CStructuredExceptionScope translator;
        translator.Run(body);
        return;
    }
    catch (const KVUtils::CWin32Exception& fault)
    {
        NoteFault(faultNote, fault);
    }
    catch (...) // NOLINT(bugprone-empty-catch): dropped below
    {
    }
    if (m_scope != nullptr)
    {
        m_scope->pendingText.clear();
    }
}

bool CLineLogger::IsTooDetailed() const noexcept
{
    return Has(kLogInfo) && m_settings.DetailLevel < (m_flags & kLogDetailLevelMask);
}

LogFileRecord* CLineLogger::GetIndentedFile() const noexcept
{
    return (m_settings.Options & kOptionIndent) != 0 ? m_settings.fileRecord : nullptr;
}

void CLineLogger::AppendToScope(const wchar_t* text)
{
    if (text != nullptr)
    {
        m_scope->pendingText += text;
    }
    else
    {
        m_scope->pendingText += m_scope->GetShortName();
    }
}

void CLineLogger::PrepareExit()
{
    if ((m_settings.Options & kOptionDuration) != 0)
    {
        const std::int64_t ticks = GetPerformanceTicks() - m_scope->startTime;
        AppendFormatted(m_scope->pendingText, m_module.scratch, L" (Dur: %I64d us) ", TicksToMicroseconds(ticks));
    }
    m_scope->pendingText += ExceptionNote(m_scope->exceptionState);
    TakeBackIndentation();
}

void CLineLogger::TakeBackIndentation()
{
    LogFileRecord* const file = GetIndentedFile();
    if (file == nullptr)
    {
        return;
    }
    if (m_scope->indentedFile == file)
    {
        file->indentation.Leave(m_scope->openBefore);
        m_scope->indentedFile = nullptr;
    }
    else
    {
        file->indentation.Leave();
    }
}

void CLineLogger::WriteScopeLine(CLineWriter& writer)
{
    writer.WriteLine(m_settings.Categories & m_flags, m_scope->lineNumber, m_scope->pendingText);
    m_scope->pendingText.clear();
}

void CLineLogger::FinishEntry(CLineWriter& writer)
{
    if (m_module.monitor.IsBound())
    {
        writer.GiveUpTurn();
        m_module.monitor.Notify(MonitorEvent::kClass, m_scope->GetNameOfClass().c_str());
        m_module.monitor.Notify(MonitorEvent::kEntry, m_scope->GetShortName().c_str());
    }
    if (LogFileRecord* const file = GetIndentedFile())
    {
        m_scope->openBefore = file->indentation.Enter();
        m_scope->indentedFile = file;
    }
}

void CLineLogger::FinishExit(CLineWriter& writer)
{
    if (m_scope->errorCode != 0)
    {
        WriteErrorLine(writer);
    }
    if (m_module.monitor.IsBound())
    {
        writer.GiveUpTurn();
        m_module.monitor.Notify(MonitorEvent::kExit, m_scope->GetShortName().c_str());
    }
}

void CLineLogger::WriteErrorLine(CLineWriter& writer)
{
    if (m_module.errorTextFormatter != nullptr)
    {
        writer.GiveUpTurn();
    }
    // The traced function's, not what writing its exit line has left.
    ::SetLastError(m_lastError);
    const std::wstring text = ComposeErrorText(m_scope->errorCode, m_module.errorTextFormatter, m_module.scratch);
    if (!text.empty())
    {
        writer.WriteLine(m_settings.Categories & kLogErrorCode, 0, text);
    }
}
} // namespace KVLogging
