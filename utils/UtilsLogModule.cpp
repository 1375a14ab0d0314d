#include "utils/UtilsLogModule.h"

namespace KVUtils
{
// Deliberate: the time is a fixed text, so that every build of the library logs the same lines.
KVLogging::CLogModule g_logModule("Utils", "04:48:18");
} // namespace KVUtils
