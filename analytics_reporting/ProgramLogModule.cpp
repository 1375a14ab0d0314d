#include "analytics_reporting/ProgramLogModule.h"

namespace KVAnalyticsReporting
{
// The time is fixed, so that two builds of one source are equal.
KVLogging::CLogModule g_logModule(nullptr, "04:50:00");
} // namespace KVAnalyticsReporting
