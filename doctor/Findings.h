#pragma once

#include <optional>

#include "doctor/findings/ClientFindings.h"
#include "doctor/findings/ConfigurationFindings.h"
#include "doctor/findings/ConnectionFindings.h"
#include "doctor/findings/LogFindings.h"
#include "doctor/findings/ProgramFindings.h"
#include "doctor/findings/QueueFindings.h"
#include "doctor/findings/ReachFindings.h"
#include "proxy/Consent.h"

namespace KVAnalyticsDoctor
{
/// Everything that the doctor has found. A part that could not be determined, for lack of time or memory, is missing.
struct Findings
{
    std::optional<ProgramFindings> program;
    std::optional<KVAnalyticsProxy::Consent> consent;
    std::optional<ConfigurationFindings> configuration;
    std::optional<ClientFindings> client;
    std::optional<QueueFindings> queue;
    std::optional<LogFindings> log;
    std::optional<ConnectionFindings> connection;
    std::optional<ReachFindings> reach;
    bool isReachAsked = false; ///< otherwise the collection host is left alone
};
} // namespace KVAnalyticsDoctor
