#pragma once

#include <cstdint>
#include <string>

#include "logging/file/LineQueue.h"
#include "logging/line/ErrorTextFormatter.h"
#include "logging/line/ScratchBuffer.h"
#include "logging/LineSink.h"
#include "logging/settings/SettingsAccess.h"
#include "logging/shared/ExtMonitor.h"

namespace KVLogging
{
/// What a module keeps from line to line. Used in the module's critical section.
struct ModuleState
{
    std::wstring name;             ///< of the module and its registry key
    std::wstring executableName;   ///< with extension
    std::wstring buildStamp;       ///< date and time of the logging code
    std::wstring processTag;       ///< "[4711] "
    std::int64_t previousLine = 0; ///< performance-counter value
    CSettingsAccess settings{name, executableName};
    ErrorTextFormatter errorTextFormatter = nullptr; ///< null for the system's texts
    ScratchBuffer scratch{};
    CLineQueue queue;
    CExtMonitor monitor;
    ILineSink* lineSink = nullptr; ///< the host's; null for none
};
} // namespace KVLogging
