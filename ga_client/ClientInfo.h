#pragma once

#include <string>

namespace GAClient
{
/// The facts of the session that every hit carries. An empty fact is left out of the hits.
struct ClientInfo
{
    std::wstring applicationName;    ///< an
    std::wstring applicationVersion; ///< av
    std::wstring propertyId;         ///< tid
    std::wstring screenResolution;   ///< sr, and vp as well
    std::wstring colourDepth;        ///< sd
    std::wstring userLanguage;       ///< ul

    /// Empties all six, for a program that keeps a record of its own. The client overwrites its record instead.
    void Reset();
};
} // namespace GAClient
