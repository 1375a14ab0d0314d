#include "doctor/report/Description.h"

#include "analytics_reporting/SystemFacts.h"
#include "doctor/report/HitParameters.h"
#include "doctor/report/NetworkErrors.h"

namespace KVAnalyticsDoctor
{
namespace
{
using DataFolderSource = ConfigurationFindings::DataFolderSource;
using QueueState = GAClient::QueueFileView::State;

// The beginning tells two ids apart, but no receiver's records can be searched for it.
std::wstring Mask(const std::wstring& clientId, const Options& options)
{
    constexpr std::size_t kShown = 4;
    return options.id ? clientId : clientId.substr(0, clientId.size() > 3 * kShown ? kShown : 0) + L"...";
}

void DescribeVerdict(const Verdict& verdict, IReport& report)
{
    report.BeginSection(L"verdict", L"Verdict");
    report.Hint(verdict.text);
    report.Hint(L"This holds for a run that the device centre starts. Started by anything else, the program ends at "
                L"once.");
    report.Flag(L"wouldReport", L"would report", verdict.exitCode == 0);
    report.Text(L"reason", L"reason", verdict.reason);
    report.Number(L"exitCode", L"exit code of the doctor", verdict.exitCode, L"");
    if (verdict.programResult)
    {
        report.Bits(L"programResult", L"exit code of a run", static_cast<std::uint32_t>(*verdict.programResult));
        report.Text(L"programResultName", L"its name", verdict.programResultName);
    }
    else
    {
        report.Missing(L"programResult", L"exit code of a run", L"unknown");
        report.Missing(L"programResultName", L"its name", L"unknown");
    }
    report.Text(L"doctorVersion", L"version of the doctor", KVAnalyticsReporting::GetApplicationVersion());
    report.EndSection();
}

void DescribeProgram(const ProgramFindings& program, IReport& report)
{
    report.Text(L"path", L"file", program.path);
    report.Flag(L"present", L"exists", program.isPresent);
    report.Text(L"version", L"version", program.version);
    report.Text(L"hostPath", L"must be started by", program.hostPath);
    report.Flag(L"hostPresent", L"that exists", program.isHostPresent);
}

void DescribeConsent(const KVAnalyticsProxy::Consent& consent, IReport& report)
{
    report.Flag(L"given", L"given", consent.IsGiven());
    report.Text(L"participationProgram", L"participation program", consent.programPath);
    report.Flag(L"participationProgramPresent", L"that exists", consent.programPresent);
    report.Text(L"optOutMark", L"opt-out mark", consent.markPath);
    report.Flag(L"optedOut", L"that exists", consent.optedOut);
}

const wchar_t* NameOf(DataFolderSource source)
{
    switch (source)
    {
    case DataFolderSource::kConfigured:
        return L"config.ini";
    case DataFolderSource::kDefault:
        return L"default";
    default:
        return L"none";
    }
}

// A path that is not full never leads to the mark.
bool IsFullPath(const std::wstring& path)
{
    const bool hasDrive = path.size() > 2 && path[1] == L':' && (path[2] == L'\\' || path[2] == L'/');
    return hasDrive || path.starts_with(L"\\\\");
}

void DescribeConfiguration(const ConfigurationFindings& configuration, IReport& report)
{
    report.Text(L"path", L"file", configuration.path);
    report.Flag(L"present", L"exists", configuration.isPresent);
    report.Text(L"propertyIdPrefix", L"PropertyIDPrefix", configuration.propertyIdPrefix);
    report.Text(L"propertyId", L"property ID of hits", configuration.propertyId);
    report.Text(L"useSslText", L"UseSSL", configuration.useSslText);
    report.Flag(L"useSsl", L"hits are encrypted", configuration.useSsl);
    report.Text(L"modelName", L"ModelName", configuration.modelName);
    report.Text(L"dataFolder", L"data folder", configuration.dataFolder);
    report.Text(L"dataFolderSource", L"comes from", NameOf(configuration.dataFolderSource));
    if (!IsFullPath(configuration.dataFolder))
    {
        report.Hint(L"The data folder is no full path, so the opt-out mark is never found.");
    }
}

void DescribeClient(const ClientFindings& client, const Options& options, IReport& report)
{
    report.Text(L"folder", L"folder", client.folder);
    report.Text(L"identityFile", L"file of the client id", client.identityFile);
    if (client.clientId.empty())
    {
        report.Missing(L"clientId", L"client id", L"none yet; the first report makes one");
    }
    else
    {
        report.Text(L"clientId", L"client id", Mask(client.clientId, options));
    }
    report.Number(L"clientIdLength", L"its length", static_cast<std::int64_t>(client.clientId.size()), L" characters");
    report.Flag(L"canStoreClientId", L"a new one can be stored", client.canStoreClientId);
}

const wchar_t* NameOf(QueueState state)
{
    switch (state)
    {
    case QueueState::kAbsent:
        return L"absent";
    case QueueState::kRead:
        return L"read";
    case QueueState::kLink:
        return L"link";
    default:
        return L"unreadable";
    }
}

void DescribeHits(const std::vector<std::wstring>& requests, const Options& options, IReport& report)
{
    report.BeginList(L"decodedHits", L"hits, oldest first");
    for (const std::wstring& request : requests)
    {
        report.BeginItem();
        report.BeginList(L"parameters", L"parameters");
        for (const HitParameter& parameter : DecodeHit(request))
        {
            report.BeginItem();
            report.Text(L"key", L"key", parameter.key);
            report.Text(L"name", L"name", parameter.name);
            report.Text(L"value", L"value", parameter.key == L"cid" ? Mask(parameter.value, options) : parameter.value);
            report.EndItem();
        }
        report.EndList();
        report.EndItem();
    }
    report.EndList();
}

void DescribeQueue(const QueueFindings& queue, const Options& options, IReport& report)
{
    report.Text(L"path", L"file", queue.path);
    report.Text(L"state", L"state", NameOf(queue.view.state));
    report.Number(L"error", L"error code", queue.view.error, L"");
    report.Number(L"size", L"size", queue.view.size, L" bytes");
    report.Flag(L"full", L"full", queue.isFull);
    report.Number(L"hits", L"hits for the next run", static_cast<std::int64_t>(queue.view.requests.size()), L"");
    if (queue.oldestAgeSeconds)
    {
        report.Number(L"oldestAgeSeconds", L"age of the oldest", *queue.oldestAgeSeconds, L" seconds");
    }
    else
    {
        report.Missing(L"oldestAgeSeconds", L"age of the oldest", L"unknown; no hit carries a time");
    }
    if (options.hits)
    {
        DescribeHits(queue.view.requests, options, report);
    }
}

void DescribeLogValue(const LogValue& value, IReport& report)
{
    report.BeginItem();
    report.Text(L"name", L"name", value.name);
    if (value.isIgnored)
    {
        report.Missing(L"value", L"value", L"of a different type, ignored");
    }
    else if (value.isNumber)
    {
        report.Bits(L"value", L"value", value.number);
    }
    else
    {
        report.Text(L"value", L"value", value.text);
    }
    report.EndItem();
}

void DescribeLogModule(const LogModuleFindings& module, IReport& report)
{
    report.BeginItem();
    report.Text(L"name", L"module", module.name);
    report.Bits(L"categories", L"categories", module.categories);
    report.Bits(L"options", L"options", module.options);
    report.Number(L"detailLevel", L"detail level", module.detailLevel, L"");
    report.Text(L"file", L"log file", module.file);
    report.EndItem();
}

void DescribeLog(const LogFindings& log, IReport& report)
{
    report.BeginList(L"levels", L"keys of the user's registry");
    for (const LogLevel& level : log.levels)
    {
        report.BeginItem();
        report.Text(L"key", L"key", level.key);
        report.BeginList(L"values", L"values");
        for (const LogValue& value : level.values)
        {
            DescribeLogValue(value, report);
        }
        report.EndList();
        report.EndItem();
    }
    report.EndList();
    report.Flag(L"moreKeys", L"there are more keys", log.hasMoreKeys);
    report.BeginList(L"modules", L"what that means for");
    for (const LogModuleFindings& module : log.modules)
    {
        DescribeLogModule(module, report);
    }
    report.EndList();
    report.Text(L"monitorClass", L"external monitor", log.monitorClass);
}

void DescribeConnection(const ConnectionFindings& connection, IReport& report)
{
    report.Text(L"host", L"collection host", connection.host);
    report.Number(L"port", L"port", connection.port, L"");
    report.Flag(L"connected", L"system says it is connected", connection.isConnected);
    report.Flag(L"proxyForComputer", L"settings of the computer", connection.isProxyForComputer);
    report.Text(L"autoConfigUrl", L"script for the proxy", connection.autoConfigUrl);
    report.Text(L"proxy", L"proxy", connection.proxy);
    report.Text(L"proxyBypass", L"not for", connection.proxyBypass);
    if (!connection.isConnected)
    {
        report.Hint(L"A run ends as usual, but its hits wait until there is a connection.");
    }
}

void DescribeReach(const ReachFindings& reach, IReport& report)
{
    report.Flag(L"reached", L"reached", reach.isReached);
    report.Number(L"status", L"status of the answer", reach.status, L"");
    report.Number(L"error", L"error code", reach.error, L"");
    const wchar_t* const meaning = GetMeaningOfReach(reach);
    report.Text(L"meaning", L"meaning", meaning);
}

// A section of the report; one that could not be determined is null.
template <typename Part, typename DescribePart>
void DescribeSection(const std::optional<Part>& part, const wchar_t* member, const wchar_t* title, IReport& report,
                     const DescribePart& describe)
{
    if (!part)
    {
        report.Missing(member, title, L"could not be determined");
        return;
    }
    report.BeginSection(member, title);
    describe(*part);
    report.EndSection();
}
} // namespace

void Describe(const Findings& findings, const Verdict& verdict, const Options& options, IReport& report)
{
    DescribeVerdict(verdict, report);
    DescribeSection(findings.program, L"program", L"Program", report,
                    [&](const auto& part) { DescribeProgram(part, report); });
    DescribeSection(findings.consent, L"consent", L"Consent", report,
                    [&](const auto& part) { DescribeConsent(part, report); });
    DescribeSection(findings.configuration, L"configuration", L"Configuration", report,
                    [&](const auto& part) { DescribeConfiguration(part, report); });
    DescribeSection(findings.client, L"client", L"Client id", report,
                    [&](const auto& part) { DescribeClient(part, options, report); });
    DescribeSection(findings.queue, L"queue", L"Waiting hits", report,
                    [&](const auto& part) { DescribeQueue(part, options, report); });
    DescribeSection(findings.log, L"log", L"Trace log", report, [&](const auto& part) { DescribeLog(part, report); });
    DescribeSection(findings.connection, L"connection", L"Connection", report,
                    [&](const auto& part) { DescribeConnection(part, report); });
    if (findings.isReachAsked)
    {
        DescribeSection(findings.reach, L"reach", L"Collection host", report,
                        [&](const auto& part) { DescribeReach(part, report); });
    }
}
} // namespace KVAnalyticsDoctor
