#include "doctor/Examination.h"

#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "proxy/ProcessSetup.h"

namespace KVAnalyticsDoctor
{
namespace
{
// Shared by the thread and the one that waits for it, since either may be the last to use it.
class CProgress
{
public:
    explicit CProgress(bool connects) noexcept { m_findings.isReachAsked = connects; }

    void Run()
    {
        Determine(&Findings::program, [] { return FindProgram(); });
        Determine(&Findings::consent, [] { return KVAnalyticsProxy::FindConsent(); });
        Determine(&Findings::configuration, [] { return FindConfiguration(); });
        if (m_findings.program)
        {
            Determine(&Findings::client, [this] { return FindClient(m_findings.program->version); });
        }
        if (m_findings.client)
        {
            Determine(&Findings::queue, [this] { return FindQueue(m_findings.client->folder); });
        }
        Determine(&Findings::log, [] { return FindLogSettings(); });
        const bool useSsl = !m_findings.configuration || m_findings.configuration->useSsl;
        Determine(&Findings::connection, [useSsl] { return FindConnection(useSsl); });
        if (m_findings.isReachAsked)
        {
            KVAnalyticsProxy::SuppressStoredCookies();
            Determine(&Findings::reach, [useSsl] { return TryToReach(useSsl); });
        }
    }

    Findings GetFindings()
    {
        const std::lock_guard lock(m_lock);
        return m_findings;
    }

private:
    template <typename Part, typename Find>
    void Determine(std::optional<Part> Findings::*part, const Find& find) noexcept
    {
        try
        {
            Part found = find();
            const std::lock_guard lock(m_lock);
            m_findings.*part = std::move(found);
        }
        catch (...) // NOLINT(bugprone-empty-catch): memory is short; the report says that the part is missing
        {
        }
    }

    std::mutex m_lock; // guards the findings; only the examining thread writes them
    Findings m_findings;
};

unsigned __stdcall RunExamination(void* share)
{
    const std::unique_ptr<std::shared_ptr<CProgress>> progress(static_cast<std::shared_ptr<CProgress>*>(share));
    (*progress)->Run();
    return 0;
}
} // namespace

ExaminationResult Examine(bool connects, DWORD limitMs)
{
    const auto progress = std::make_shared<CProgress>(connects);
    auto share = std::make_unique<std::shared_ptr<CProgress>>(progress);
    ExaminationResult result;
    result.thread.Reset(reinterpret_cast<HANDLE>(
        KVWinApi::g_kernelApi->BeginThreadEx(nullptr, 0, &RunExamination, share.get(), 0, nullptr)));
    if (!result.thread.IsValid())
    {
        result.isComplete = true; // with nothing found
        return result;
    }
    static_cast<void>(share.release()); // the thread deletes it
    result.isComplete = KVWinApi::g_kernelApi->WaitForSingleObject(result.thread.Get(), limitMs) == WAIT_OBJECT_0;
    result.findings = progress->GetFindings();
    return result;
}
} // namespace KVAnalyticsDoctor
