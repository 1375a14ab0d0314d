#pragma once

#include "logging/LogModule.h"

namespace KVAnalyticsReporting
{
/// Through which the engine and the program that uses it log. Without a name of its own: in the log settings it is the
/// program, by the name of its file without extension.
extern KVLogging::CLogModule g_logModule;
} // namespace KVAnalyticsReporting
