#include "doctor/Doctor.h"

#include <memory>

#include "doctor/Examination.h"
#include "doctor/report/Description.h"
#include "doctor/report/JsonReport.h"
#include "doctor/report/TextReport.h"

namespace KVAnalyticsDoctor
{
namespace
{
constexpr wchar_t kUsage[] = L"KVAnalyticsDoctor [/json] [/hits] [/id] [/connect] [/?]\r\n"
                             L"\r\n"
                             L"Says what a run of KVAnalyticsProxy.exe would find on this computer and for this user. "
                             L"Sends, writes and starts\r\n"
                             L"nothing.\r\n"
                             L"\r\n"
                             L"  /json      for tools: one JSON object\r\n"
                             L"  /hits      shows the waiting hits, decoded\r\n"
                             L"  /id        shows the whole client id\r\n"
                             L"  /connect   connects to the collection host once, without a hit; may take a minute\r\n"
                             L"  /?         this text\r\n"
                             L"\r\n"
                             L"Exit codes:\r\n";

std::unique_ptr<IReport> MakeReport(const Options& options)
{
    if (options.json)
    {
        return std::make_unique<CJsonReport>();
    }
    return std::make_unique<CTextReport>();
}

void AppendExitCode(int code, const wchar_t* text, std::wstring& help)
{
    std::wstring number = std::to_wstring(code);
    number.insert(0, number.size() < 2 ? 1 : 0, L' ');
    help += L"  " + number + L"  " + text + L"\r\n";
}
} // namespace

Answer AskDoctor(const std::vector<std::wstring>& arguments)
{
    constexpr DWORD kUsualLimitMs = 4000;
    constexpr DWORD kConnectLimitMs = 60000;
    const Options options = ReadOptions(arguments);
    Answer answer;
    if (!options.unknown.empty())
    {
        answer.errorText = L"KVAnalyticsDoctor: unknown argument " + options.unknown + L"; /? shows the known ones\r\n";
        answer.exitCode = kUsageExitCode;
        return answer;
    }
    if (options.help)
    {
        answer.text = GetHelp();
        return answer;
    }
    const ExaminationResult result = Examine(options.connect, options.connect ? kConnectLimitMs : kUsualLimitMs);
    const Verdict& verdict = Judge(result.findings);
    const std::unique_ptr<IReport> report = MakeReport(options);
    Describe(result.findings, verdict, options, *report);
    answer.text = report->GetText();
    answer.exitCode = verdict.exitCode;
    answer.isComplete = result.isComplete;
    return answer;
}

std::wstring GetHelp()
{
    std::wstring help = kUsage;
    for (const Verdict& verdict : GetVerdicts())
    {
        AppendExitCode(verdict.exitCode, verdict.text, help);
    }
    AppendExitCode(kUsageExitCode, L"The arguments are wrong.", help);
    return help;
}
} // namespace KVAnalyticsDoctor
