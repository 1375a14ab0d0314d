#pragma once

namespace KVLogging
{
/// Receives the lines of a module that are written to its log file. A host attaches one with CLogModule::AttachLineSink
/// and keeps it alive until it has attached a different one or none.
class ILineSink
{
public:
    virtual ~ILineSink() = default;
    /// One line: prefix + indentation + message, without line end. The texts are valid during the call only and never
    /// null. Called on the thread that logs, in the module's critical section: a slow sink delays the threads that log
    /// through this module, and only these. It must not log through this module itself. An exception or a fault in it
    /// costs this line and is kept from the traced code.
    virtual void WriteLine(const wchar_t* prefix, const wchar_t* indentation, const wchar_t* message) = 0;
};
} // namespace KVLogging
