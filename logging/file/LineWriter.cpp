#include "logging/file/LineWriter.h"

#include <algorithm>
#include <limits>

#include "logging/file/FirstOpening.h"
#include "logging/file/LogFile.h"
#include "logging/line/ErrorText.h"
#include "logging/line/HeaderBlock.h"
#include "logging/line/LineFormat.h"
#include "logging/line/TextFormat.h"
#include "logging/LogFlags.h"
#include "logging/ModuleState.h"
#include "logging/system/PerformanceClock.h"

namespace KVLogging
{
namespace
{
// Bytes, 0 for no limit.
std::uint32_t SizeLimit(std::uint32_t options) noexcept
{
    return (options & kOptionSizeLimitMask) << kOptionSizeLimitShift;
}
} // namespace

struct CLineWriter::LineText
{
    std::wstring Join(std::wstring_view lineEnd) const
    {
        std::wstring text;
        text.reserve(prefix.size() + indentation.size() + message.size() + lineEnd.size());
        return text.append(prefix).append(indentation).append(message).append(lineEnd);
    }

    const std::wstring prefix;
    const std::wstring indentation;
    const std::wstring& message;
};

CLineWriter::CLineWriter(ModuleState& module, const LogModuleSettings& settings) noexcept
    : m_module(module), m_settings(settings), m_file(settings.fileRecord), m_turn(m_file)
{
}

void CLineWriter::OpenIfPending()
{
    // Cleared at once, so that a failing header line does not open the file, and perhaps empty it, a second time.
    if (m_file != nullptr && m_turn.IsHeld() && m_file->isOpenPending.exchange(false))
    {
        m_file->fileName = OpenFirst(m_file->configuredName, m_settings.Options);
        if ((m_settings.Categories & kLogHeader) != 0)
        {
            WriteHeader();
        }
    }
}

void CLineWriter::WriteHeader()
{
    m_isInHeader = true;
    for (const std::wstring& line : ComposeHeaderBlock(m_module.processTag, m_module.buildStamp, m_file->fileName))
    {
        WriteLine(kLogHeader, 0, line);
    }
    if ((m_settings.Options & kOptionListModules) != 0)
    {
        for (const std::wstring& path : ListProcessModules())
        {
            WriteLine(kLogHeader, 0, path);
        }
    }
    m_isInHeader = false;
}

void CLineWriter::WriteLine(std::uint32_t flags, int lineNumber, const std::wstring& message)
{
    m_turn.Take();
    const LineText line{
        ComposePrefix({m_settings.Options, flags, lineNumber, m_module.processTag, m_module.previousLine}),
        m_file != nullptr ? m_file->indentation.GetText() : std::wstring(), message};
    if ((flags & kLogToDebugger) != 0 || (m_settings.Options & kOptionDebugger) != 0)
    {
        WriteToDebugger(line);
    }
    if (!IsFull())
    {
        WriteToSink(line);
        WriteToFile(line);
    }
    if ((m_settings.Options & kOptionSincePrevious) != 0)
    {
        m_module.previousLine = GetPerformanceTicks();
    }
}

bool CLineWriter::IsFull() const noexcept
{
    const std::uint32_t limit = SizeLimit(m_settings.Options);
    return limit != 0 && m_file != nullptr && m_file->fileSize >= limit;
}

void CLineWriter::WriteToDebugger(const LineText& line) const
{
    ::OutputDebugStringW(line.prefix.c_str());
    ::OutputDebugStringW(line.indentation.c_str());
    ::OutputDebugStringW(line.message.c_str());
    ::OutputDebugStringW(L"\r\n");
}

void CLineWriter::WriteToSink(const LineText& line)
{
    if (m_module.lineSink != nullptr)
    {
        m_turn.GiveUp();
        m_module.lineSink->WriteLine(line.prefix.c_str(), line.indentation.c_str(), line.message.c_str());
        m_turn.Take();
    }
}

void CLineWriter::WriteToFile(const LineText& line)
{
    if (m_file == nullptr)
    {
        return;
    }
    if (!m_turn.IsHeld())
    {
        // The configured name: the full path belongs to the thread that has the turn.
        QueueLine(line, m_file->configuredName, ERROR_BUSY);
        return;
    }
    CLogFile logFile(m_file->fileName, OPEN_ALWAYS);
    if (!logFile.IsOpen())
    {
        QueueLine(line, m_file->fileName, logFile.GetOpenError());
        return;
    }
    const std::uint32_t limit = SizeLimit(m_settings.Options);
    if (limit == 0 || logFile.GetSize() < limit)
    {
        AppendLine(logFile, line);
    }
}

void CLineWriter::AppendLine(CLogFile& logFile, const LineText& line)
{
    m_module.queue.WriteTo(logFile);
    // One write, so that a process that ends in the middle leaves no half line. Deliberate: an empty message has no
    // line end, and the next line continues on its line. Callers compose lines in that way.
    logFile.Write(line.Join(line.message.empty() ? L"" : L"\r\n"));
    std::uint64_t size = logFile.GetSize();
    const std::uint32_t limit = SizeLimit(m_settings.Options);
    if (limit != 0 && size >= limit)
    {
        logFile.Write(
            FormatText(L"*** FILE SIZE LIMIT REACHED, LOGGING DISABLED FOR %s MODULE ***", m_module.name.c_str()));
        if ((m_settings.Options & kOptionRestartAtLimit) == kOptionRestartAtLimit)
        {
            // Not in the header: one that reaches the limit by itself would have every line start a fresh file.
            m_file->isOpenPending = !m_isInHeader;
            size = 0;
        }
    }
    m_file->fileSize =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(size, std::numeric_limits<std::uint32_t>::max()));
}

// fileName: a copy, since the turn is given up below.
void CLineWriter::QueueLine(const LineText& line, std::wstring fileName, DWORD openError)
{
    m_module.queue.Push(line.Join(L"\r\n"));
    if (openError != ERROR_SUCCESS)
    {
        m_turn.GiveUp(); // the formatter is not the log's own code
        ::SetLastError(openError);
        const std::wstring errorText = ComposeErrorText(openError, m_module.errorTextFormatter, m_module.scratch);
        ::OutputDebugStringW(
            (L"Unable to open log file:\r\n<" + std::move(fileName) + L">\r\n" + errorText + L"\r\n").c_str());
    }
}
} // namespace KVLogging
