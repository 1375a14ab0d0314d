#pragma once

#include <string>

namespace KVSoak
{
/// Locks the log file exclusively from time to time, as somebody does who copies it, until the file `until` exists. The
/// number of times goes to standard output. The exit code is 0, or 1 when the file could never be locked.
int LockFromTimeToTime(const std::wstring& logFile, const std::wstring& until, unsigned seed);
} // namespace KVSoak
