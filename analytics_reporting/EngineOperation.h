#pragma once

#include <initializer_list>
#include <list>
#include <string>

#include "analytics_reporting/Dimensions.h"
#include "analytics_reporting/PrinterProperties.h"
#include "logging/LogFunction.h"
#include "utils/base/StructuredExceptionScope.h"

namespace KVAnalyticsReporting
{
/// What the log says of a call that is not made.
struct Refusals
{
    const wchar_t* optedOut;
    const wchar_t* notStarted;
};

/// One call of an operation of the engine: keeps exceptions and faults inside, logs refusals, and reports through the
/// measurement client. Lives on the stack of the operation and refers to its trace scope and to the engine's flags.
///
/// Every line is logged through that trace scope, whose log takes lineNumber for a line of the operation's source file.
/// So lineNumber is that of the calling statement (`__builtin_LINE`, since clang 14 has no std::source_location).
class CEngineOperation
{
public:
    /// name: the operation's in the log line about an exception. optedIn and started: the engine's flags, which Report
    /// reads when it is called.
    CEngineOperation(KVLogging::CLogFunction& traceScope, const wchar_t* name, const bool& optedIn,
                     const bool& started) noexcept;

    /// Returns the result of body, or false if body throws or faults. What body has changed by then stays changed.
    template <typename Body> bool Run(const Body& body, int lineNumber = __builtin_LINE()) const noexcept
    {
        bool result = false;
        try
        {
            const KVUtils::CStructuredExceptionScope translator;
            translator.Run([&] { result = body(); });
        }
        catch (...)
        {
            LogException(lineNumber);
        }
        return result;
    }

    /// Runs body, which sets dimensions and sends events, for a user who opted in and an engine that is started.
    template <typename Body>
    void Report(const Refusals& refusals, const Body& body, int lineNumber = __builtin_LINE()) const noexcept
    {
        const auto runIfAllowed = [&] {
            const bool isAllowed =
                Check(m_optedIn, refusals.optedOut, lineNumber) && Check(m_started, refusals.notStarted, lineNumber);
            if (isAllowed)
            {
                body();
            }
            return isAllowed;
        };
        Run(runIfAllowed, lineNumber);
    }

    /// Returns condition, and logs refusal if it is false.
    bool Check(bool condition, const wchar_t* refusal, int lineNumber = __builtin_LINE()) const noexcept;

    /// Sets a dimension of the next hit. A value that the client refuses is logged and never stops the event.
    void Set(const Dimension& dimension, const std::wstring& value, int lineNumber = __builtin_LINE()) const;
    /// The same with the record's value, or "Unknown".
    void Set(const Dimension& dimension, const PrinterProperties& record, int lineNumber = __builtin_LINE()) const;

    /// Sends an event, or logs that the client refuses it.
    void Send(const std::wstring& category, const std::wstring& action, const std::wstring& label,
              int lineNumber = __builtin_LINE()) const;
    /// The same. loggedLabel: the label in the log line.
    void Send(const std::wstring& category, const std::wstring& action, const std::wstring& label,
              const wchar_t* loggedLabel, int lineNumber = __builtin_LINE()) const;
    /// Sends the number of printers and then one event for each, with its dimensions in the order given.
    void SendPrinters(const std::list<PrinterProperties>& records, std::initializer_list<Dimension> dimensions,
                      const std::wstring& label, int lineNumber = __builtin_LINE()) const;

private:
    void LogException(int lineNumber) const noexcept;

    KVLogging::CLogFunction& m_traceScope;
    const wchar_t* m_name;
    const bool& m_optedIn;
    const bool& m_started;
};
} // namespace KVAnalyticsReporting
