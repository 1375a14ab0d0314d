#pragma once

#include "logging/LogModule.h"

namespace KVUtils
{
/// The logger of this library: registry key "Utils". For its own source files.
extern KVLogging::CLogModule g_logModule;
} // namespace KVUtils
