#pragma once

#include <string>

namespace KVAnalyticsDoctor
{
/// The program whose runs the doctor speaks of: the one beside it.
struct ProgramFindings
{
    std::wstring path;
    bool isPresent = false;     ///< as a file
    std::wstring version;       ///< "ProductVersion" of its version resource, "Unknown" if it has none
    std::wstring hostPath;      ///< that the program which starts it must have
    bool isHostPresent = false; ///< as a file
};

/// Looks for the program in the folder of the running executable and reads its version resource (KVUtils::FileExists,
/// KVUtils::CFileVersionInfo). Throws std::bad_alloc if memory is short.
ProgramFindings FindProgram();
} // namespace KVAnalyticsDoctor
