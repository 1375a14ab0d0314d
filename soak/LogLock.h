#pragma once

#include <string>

namespace KVSoak
{
/// Locks the log file exclusively now and then, as a program that copies it does, until the file `until` exists. Prints
/// how often. The exit code is 0, or 1 if the file could never be locked.
int LockFromTimeToTime(const std::wstring& logFile, const std::wstring& until, unsigned seed);
} // namespace KVSoak
