#pragma once

namespace KVLogging
{
/// Receives the lines of a module as they are written, besides the log file. A host attaches one with
/// CLogModule::AttachLineSink and keeps it alive until it has attached another or none.
class ILineSink
{
public:
    virtual ~ILineSink() = default;
    /// One line: prefix + indentation + message, without line end. The texts are valid during the call only and never
    /// null. Called on the logging thread inside the module's locks: be quick, and log nothing through that module.
    /// What it throws, or a fault in it, costs this line and is kept from the traced code.
    virtual void WriteLine(const wchar_t* prefix, const wchar_t* indentation, const wchar_t* message) = 0;
};
} // namespace KVLogging
