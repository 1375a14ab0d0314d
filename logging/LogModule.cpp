#include "logging/LogModule.h"

#include <algorithm>
#include <limits>

#include "logging/file/FirstOpening.h"
#include "logging/file/LogFile.h"
#include "logging/file/LogFileRecord.h"
#include "logging/LastErrorRestore.h"
#include "logging/line/ErrorText.h"
#include "logging/line/HeaderBlock.h"
#include "logging/line/LineFormat.h"
#include "logging/line/TextFormat.h"
#include "logging/LogFlags.h"
#include "logging/LogFunction.h"
#include "logging/settings/SettingsReader.h"
#include "logging/system/ModulePath.h"
#include "logging/system/PerformanceClock.h"
#include "utils/base/StructuredExceptionScope.h"
#include "utils/base/Win32Exception.h"

namespace KVLogging
{
namespace
{
// The date on which the logging code was built, fixed so that two builds of one source are the same.
constexpr char kBuildDate[] = "Aug 22 2014";

// Longest wait for other threads' lines to the same file: one for each other module at most, each far shorter. It is
// there for a sink or a monitor that logs through another module, which could otherwise wait for ever.
constexpr DWORD kFileRecordWaitMs = 2000;

std::wstring Widen(const char* text)
{
    const int room = ::MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(std::max(room, 1)), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text, -1, wide.data(), room);
    wide.pop_back(); // the terminating zero
    return wide;
}

bool IsGiven(const char* text) noexcept
{
    return text != nullptr && *text != '\0';
}

// Bytes, 0 for no limit.
std::uint32_t SizeLimit(const LogModuleSettings& settings) noexcept
{
    return (settings.Options & kOptionSizeLimitMask) << kOptionSizeLimitShift;
}

const wchar_t* ExceptionNote(ExceptionState state) noexcept
{
    switch (state)
    {
    case ExceptionState::Handled:
        return L"(handled exception) ";
    case ExceptionState::Unhandled:
        return L"(*unhandled exception*) ";
    case ExceptionState::None:
        break;
    }
    return L"";
}

// In pieces: the pieces need no memory, which may be what is short.
void NoteFault(const wchar_t* opening, const KVUtils::CWin32Exception& fault) noexcept
{
    ::OutputDebugStringW(opening);
    ::OutputDebugStringW(fault.GetMessageText());
    ::OutputDebugStringW(L")\r\n");
}
} // namespace

struct CLogModule::Line
{
    const LogModuleSettings& Settings;
    CLogFunction* Scope; // null for none
    std::uint32_t Flags;
    DWORD LastError; // the caller's

    /// The flags that are enabled as well.
    std::uint32_t EffectiveFlags() const noexcept { return Settings.Categories & Flags; }
    bool IsTooDetailed() const noexcept
    {
        return Has(kLogInfo) && Settings.DetailLevel < (Flags & kLogDetailLevelMask);
    }
    bool Has(std::uint32_t flag) const noexcept { return (Flags & flag) != 0; }
    bool HasOption(std::uint32_t option) const noexcept { return (Settings.Options & option) != 0; }
};

CLogModule::CLogModule(const char* moduleName, const char* buildTime) noexcept
{
    const CLastErrorRestore lastError;
    try
    {
        m_name =
            IsGiven(moduleName) ? Widen(moduleName) : StripExtension(GetFilePart(GetModulePath(GetLoggingModule())));
        m_executableName = GetFilePart(GetModulePath(nullptr));
        m_buildStamp = Widen(kBuildDate) + L" " + Widen(buildTime != nullptr ? buildTime : "");
        m_processTag = FormatText(L"[%ld] ", static_cast<long>(::GetCurrentProcessId()));
        m_previousLine = GetPerformanceTicks();
        m_settings.Own = std::make_unique<LogModuleSettings>();
        m_settings.Block.Attach(m_executableName);
        m_monitor.Attach(m_executableName);
        m_isEnabled = true;
    }
    catch (...) // NOLINT(bugprone-empty-catch): memory is short; the module stays silent
    {
    }
}

CLogModule::~CLogModule()
{
    const CLastErrorRestore lastError;
    const CCriticalSectionLock lock(m_criticalSection);
    // First, so that threads which come now do not queue up for a lock that is about to go. For what comes later, the
    // destructors of other libraries' static objects, the flag stays.
    m_isEnabled = false;
    m_settings.Own.reset();
    m_settings.Block.Detach();
    m_monitor.Detach();
}

void CLogModule::ResetSettings() noexcept
{
    if (m_settings.Own != nullptr)
    {
        *m_settings.Own = LogModuleSettings();
    }
}

void CLogModule::LogString(CLogFunction* scope, std::uint32_t flags, const wchar_t* text, bool endOfLine) noexcept
{
    if (!m_isEnabled)
    {
        return;
    }
    const CLastErrorRestore lastError;
    if (const std::optional<LogModuleSettings> settings = FindSettings(scope, flags))
    {
        const Line line{*settings, scope, flags, lastError.GetSaved()};
        InternalLogSimpleString(line, text != nullptr ? text : L"", endOfLine);
    }
}

void CLogModule::LogFormattedString(CLogFunction* scope, std::uint32_t flags, const wchar_t* format,
                                    va_list arguments) noexcept
{
    if (!m_isEnabled)
    {
        return;
    }
    const CLastErrorRestore lastError;
    if (const std::optional<LogModuleSettings> settings = FindSettings(scope, flags))
    {
        const Line line{*settings, scope, flags, lastError.GetSaved()};
        InternalLogFormattedString(line, format, arguments);
    }
}

void CLogModule::LogShortName(CLogFunction& scope, std::uint32_t flags, bool endOfLine) noexcept
{
    if (!m_isEnabled)
    {
        return;
    }
    const CLastErrorRestore lastError;
    if (const std::optional<LogModuleSettings> settings = FindSettings(&scope, flags))
    {
        const Line line{*settings, &scope, flags, lastError.GetSaved()};
        InternalLogSimpleString(line, nullptr, endOfLine);
    }
}

void CLogModule::ForgetEntry(CLogFunction& scope) noexcept
{
    if (!m_isEnabled)
    {
        return;
    }
    const CCriticalSectionLock lock(m_criticalSection);
    if (!m_isEnabled) // destroyed while this thread waited
    {
        return;
    }
    const CLogFunction::EntryIndentation entry = scope.GetEntryIndentation();
    // Not worth a wait: all that an outer scope could do wrong is to indent too little.
    const CMutexLock fileLock(entry.File->Lock.get(), 0);
    if (fileLock.IsHeld())
    {
        entry.File->Indentation.Forget(entry.OpenBefore);
    }
}

void CLogModule::AttachLineSink(ILineSink* sink) noexcept
{
    if (!m_isEnabled)
    {
        return;
    }
    const CLastErrorRestore lastError;
    const CCriticalSectionLock lock(m_criticalSection);
    if (sink != nullptr)
    {
        FindSettings(nullptr, 0); // reads the registry if that is due: with a sink attached it is not read
    }
    m_lineSink = sink;
}

void CLogModule::SetErrorTextFormatter(ErrorTextFormatter formatter) noexcept
{
    if (!m_isEnabled)
    {
        return;
    }
    const CCriticalSectionLock lock(m_criticalSection);
    m_errorTextFormatter = formatter;
}

std::wstring CLogModule::FormatErrorText(std::uint32_t errorCode) noexcept
{
    std::wstring text;
    if (!m_isEnabled)
    {
        return text;
    }
    const CLastErrorRestore lastError;
    const CCriticalSectionLock lock(m_criticalSection);
    try
    {
        const KVUtils::CStructuredExceptionScope translator;
        translator.Run([&] { text = ComposeErrorText(errorCode, m_errorTextFormatter, m_scratch); });
    }
    catch (...) // NOLINT(bugprone-empty-catch): no text then
    {
    }
    return text;
}

// The enable test: the settings that apply when the line is enabled, nothing otherwise.
std::optional<LogModuleSettings> CLogModule::FindSettings(const CLogFunction* scope, std::uint32_t flags) noexcept
{
    const CCriticalSectionLock lock(m_criticalSection);
    if (!m_isEnabled) // destroyed while this thread waited
    {
        return std::nullopt;
    }
    try
    {
        const std::optional<LogModuleSettings> settings = LookUpSettings(scope);
        if (settings && (settings->Categories & flags) != 0)
        {
            return settings;
        }
    }
    catch (...) // NOLINT(bugprone-empty-catch): memory is short, or the scope is damaged; the line is not logged
    {
    }
    return std::nullopt;
}

// A copy, since another module may read the settings anew as soon as the mutex is released. The file record stays.
//
// The scope is the caller's, and so may ResetSettings be: a guard of its own inside the locks, since the traced program
// may run all this in one of its own, and a fault would leave them held.
std::optional<LogModuleSettings> CLogModule::LookUpSettings(const CLogFunction* scope)
{
    MonitorValues monitorValues;
    LogModuleSettings settings;
    {
        const CSettingsLock lock(m_settings, m_executableName);
        SettingsBlock* const block = lock.GetBlock();
        if (block == nullptr)
        {
            return std::nullopt;
        }
        const KVUtils::CStructuredExceptionScope translator;
        translator.Run([&] {
            if (m_lineSink == nullptr && IsRefreshDue(::GetTickCount()))
            {
                RefreshSettings(*block, monitorValues);
            }
            settings = *m_settings.Own;
            if (scope != nullptr)
            {
                const auto found = block->SourceFiles.find(scope->GetSourceFile().GetName());
                settings = found != block->SourceFiles.end() ? found->second : settings;
            }
        });
    }
    BindMonitor(monitorValues);
    return settings;
}

bool CLogModule::IsRefreshDue(DWORD now) const noexcept
{
    const LogFileRecord* const file = m_settings.Own->FileRecord;
    const bool isOpenPending = file != nullptr && file->IsOpenPending;
    return !m_settings.WasRefreshed || isOpenPending || IsIntervalOver(m_settings.LastRefresh, now, m_pollIntervalMs);
}

void CLogModule::RefreshSettings(SettingsBlock& block, MonitorValues& monitorValues)
{
    m_settings.WasRefreshed = true;
    m_settings.LastRefresh = ::GetTickCount();
    ResetSettings(); // so that what is no longer in the registry falls back to the defaults
    ReadLogSettings(m_name, block, *m_settings.Own, m_pollIntervalMs, monitorValues);
    m_settings.LastRefresh = ::GetTickCount();
}

// After the settings are released: other modules need not wait for the monitor.
void CLogModule::BindMonitor(const MonitorValues& values) noexcept
{
    if (values.ClassId.empty())
    {
        return;
    }
    try
    {
        const KVUtils::CStructuredExceptionScope translator;
        translator.Run([&] { m_monitor.Update(values, m_executableName); });
    }
    catch (...) // NOLINT(bugprone-empty-catch): a monitor that fails to start is not the traced program's business
    {
    }
}

// Runs the body of a worker: nothing leaves it, and a line that fails in it is dropped.
//
// The locks are taken outside Run, since a fault does not run the destructors of what it leaves in there.
template <typename Body>
void CLogModule::RunWorker(const wchar_t* faultNote, const Line& line, const Body& body) noexcept
{
    const CCriticalSectionLock lock(m_criticalSection);
    const HANDLE fileMutex = line.Settings.FileRecord != nullptr ? line.Settings.FileRecord->Lock.get() : nullptr;
    const CMutexLock fileLock(fileMutex, kFileRecordWaitMs);
    if (fileMutex != nullptr && !fileLock.IsHeld())
    {
        return;
    }
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
    if (line.Scope != nullptr)
    {
        line.Scope->GetPendingText().clear();
    }
}

// text: null for the short name of the scope.
void CLogModule::InternalLogSimpleString(const Line& line, const wchar_t* text, bool endOfLine) noexcept
{
    if (line.IsTooDetailed())
    {
        return;
    }
    RunWorker(L"Exception Exit: InternalLogSimpleString (", line, [&] {
        if (line.Scope == nullptr)
        {
            WriteLine(line.Settings, line.EffectiveFlags(), 0, text);
            return;
        }
        AppendToScope(line, text);
        OpenIfPending(line.Settings);
        if (!endOfLine)
        {
            return;
        }
        if (line.Has(kLogExit))
        {
            PrepareExit(line);
        }
        WriteScopeLine(line);
        if (line.Has(kLogEntry))
        {
            FinishEntry(line);
        }
        if (line.Has(kLogExit))
        {
            FinishExit(line);
        }
    });
}

void CLogModule::InternalLogFormattedString(const Line& line, const wchar_t* format, va_list arguments) noexcept
{
    if (line.IsTooDetailed()) // before the work of formatting
    {
        return;
    }
    RunWorker(L"Exception Exit: InternalLogFormattedString (", line, [&] {
        const std::optional<std::wstring> text = format != nullptr ? FormatText(format, arguments) : std::nullopt;
        if (text)
        {
            InternalLogSimpleString(line, text->c_str(), true);
        }
    });
}

void CLogModule::AppendToScope(const Line& line, const wchar_t* text)
{
    CLogFunction& scope = *line.Scope;
    if (text != nullptr)
    {
        scope.GetPendingText() += text;
    }
    else
    {
        scope.GetPendingText() += scope.GetShortName();
    }
}

void CLogModule::PrepareExit(const Line& line)
{
    std::wstring& text = line.Scope->GetPendingText();
    if (line.HasOption(kOptionDuration))
    {
        const std::int64_t ticks = GetPerformanceTicks() - line.Scope->GetStartTime();
        AppendFormatted(text, m_scratch, L" (Dur: %I64d us) ", TicksToMicroseconds(ticks));
    }
    text += ExceptionNote(line.Scope->GetExceptionState());
    if (line.HasOption(kOptionIndent) && line.Settings.FileRecord != nullptr)
    {
        CLogFunction::EntryIndentation& entry = line.Scope->GetEntryIndentation();
        if (entry.File == line.Settings.FileRecord)
        {
            line.Settings.FileRecord->Indentation.Leave(entry.OpenBefore);
            entry.File = nullptr;
        }
        else
        {
            line.Settings.FileRecord->Indentation.Leave();
        }
    }
}

void CLogModule::WriteScopeLine(const Line& line)
{
    WriteLine(line.Settings, line.EffectiveFlags(), line.Scope->GetLineNumber(), line.Scope->GetPendingText());
    line.Scope->GetPendingText().clear();
}

void CLogModule::FinishEntry(const Line& line)
{
    m_monitor.Notify(MonitorEvent::Class, line.Scope->GetClassName().c_str());
    m_monitor.Notify(MonitorEvent::Entry, line.Scope->GetShortName().c_str());
    if (line.HasOption(kOptionIndent) && line.Settings.FileRecord != nullptr)
    {
        line.Scope->GetEntryIndentation() = {line.Settings.FileRecord, line.Settings.FileRecord->Indentation.Enter()};
    }
}

void CLogModule::FinishExit(const Line& line)
{
    if (line.Scope->GetErrorCode() != 0)
    {
        // The traced function's, not what writing its exit line has left.
        ::SetLastError(line.LastError);
        const std::wstring text = ComposeErrorText(line.Scope->GetErrorCode(), m_errorTextFormatter, m_scratch);
        if (!text.empty())
        {
            WriteLine(line.Settings, line.Settings.Categories & kLogErrorCode, 0, text);
        }
    }
    m_monitor.Notify(MonitorEvent::Exit, line.Scope->GetShortName().c_str());
}

void CLogModule::OpenIfPending(const LogModuleSettings& settings)
{
    LogFileRecord* const file = settings.FileRecord;
    if (file == nullptr || !file->IsOpenPending)
    {
        return;
    }
    // Cleared at once, so that a failing header line does not open the file, and perhaps empty it, a second time.
    file->IsOpenPending = false;
    OpenFirst(*file, settings.Options);
    if ((settings.Categories & kLogHeader) != 0)
    {
        for (const std::wstring& line : ComposeHeaderBlock(m_processTag, m_buildStamp, file->FileName))
        {
            WriteLine(settings, kLogHeader, 0, line);
        }
        if ((settings.Options & kOptionListModules) != 0)
        {
            for (const std::wstring& path : ListProcessModules())
            {
                WriteLine(settings, kLogHeader, 0, path);
            }
        }
    }
    // Again: a header that reaches the size limit by itself would otherwise have every line start a fresh file.
    file->IsOpenPending = false;
}

void CLogModule::WriteLine(const LogModuleSettings& settings, std::uint32_t flags, int lineNumber,
                           const std::wstring& message)
{
    const std::wstring prefix =
        ComposePrefix({settings.Options, flags, lineNumber, m_processTag, m_previousLine}, m_scratch);
    if ((flags & kLogToDebugger) != 0 || (settings.Options & kOptionDebugger) != 0)
    {
        ::OutputDebugStringW(prefix.c_str());
        ::OutputDebugStringW(settings.FileRecord != nullptr ? settings.FileRecord->Indentation.GetText().c_str() : L"");
        ::OutputDebugStringW(message.c_str());
        ::OutputDebugStringW(L"\r\n");
    }
    WriteToFile(settings, prefix, message);
    if ((settings.Options & kOptionSincePrevious) != 0)
    {
        m_previousLine = GetPerformanceTicks();
    }
}

void CLogModule::WriteToFile(const LogModuleSettings& settings, const std::wstring& prefix, const std::wstring& message)
{
    const LogFileRecord* const file = settings.FileRecord;
    const bool hasFile = file != nullptr && !file->FileName.empty();
    if (!hasFile && m_lineSink == nullptr)
    {
        return;
    }
    const std::uint32_t limit = SizeLimit(settings);
    if (limit != 0 && file != nullptr && file->FileSize >= limit)
    {
        return;
    }
    if (m_lineSink != nullptr)
    {
        m_lineSink->WriteLine(prefix.c_str(), file != nullptr ? file->Indentation.GetText().c_str() : L"",
                              message.c_str());
    }
    if (hasFile) // a sink alone: there is nothing to open, and nothing to wait in the queue for
    {
        AppendToFile(settings, prefix, message);
    }
}

void CLogModule::AppendToFile(const LogModuleSettings& settings, const std::wstring& prefix,
                              const std::wstring& message)
{
    LogFileRecord& file = *settings.FileRecord;
    // One write, so that a process that ends in the middle leaves no half line. Deliberate: an empty message has no
    // line end, the next line continues on its line.
    const std::wstring text = prefix + file.Indentation.GetText() + (message.empty() ? message : message + L"\r\n");
    const std::uint32_t limit = SizeLimit(settings);
    CLogFile logFile(file.FileName, OPEN_ALWAYS);
    if (!logFile.IsOpen())
    {
        QueueLine(file, logFile.GetOpenError(), prefix, message);
        return;
    }
    if (limit != 0 && logFile.GetSize() >= limit)
    {
        return;
    }
    m_queue.WriteTo(logFile);
    logFile.Write(text);
    std::uint64_t size = logFile.GetSize();
    if (limit != 0 && size >= limit)
    {
        logFile.Write(FormatText(L"*** FILE SIZE LIMIT REACHED, LOGGING DISABLED FOR %s MODULE ***", m_name.c_str()));
        if ((settings.Options & kOptionRestartAtLimit) == kOptionRestartAtLimit)
        {
            file.IsOpenPending = true;
            size = 0;
        }
    }
    file.FileSize =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(size, std::numeric_limits<std::uint32_t>::max()));
}

void CLogModule::QueueLine(const LogFileRecord& file, DWORD openError, const std::wstring& prefix,
                           const std::wstring& message)
{
    m_queue.Push(prefix + file.Indentation.GetText() + message + L"\r\n");
    if (openError != ERROR_SUCCESS)
    {
        ::SetLastError(openError);
        const std::wstring errorText = ComposeErrorText(openError, m_errorTextFormatter, m_scratch);
        ::OutputDebugStringW(
            (L"Unable to open log file:\r\n<" + file.FileName + L">\r\n" + errorText + L"\r\n").c_str());
    }
}
} // namespace KVLogging
