#pragma once

#include "logging/LogModule.h"

namespace KVAnalyticsReporting
{
/// The log module of the engine and of the program that uses it. It has no name of its own: the log settings name it
/// like the program's file, without extension.
extern KVLogging::CLogModule g_logModule;
} // namespace KVAnalyticsReporting
