#pragma once

#include <cstdint>

/// The bits of the two words that decide what is logged and how: the category word, which every logging call carries as
/// its flags and the registry value "LogCategories" enables, and the option word of "LogOptions". docs/logging.md
/// explains them to users who set them.
namespace KVLogging
{
// Categories. A line is written if its flags and the enabled categories share a bit; its tags are those of the shared
// bits. An information line of detail level n (0-15) has the flags kLogInfo + n.
constexpr std::uint32_t kLogDetailLevelMask = 0x0000000F; ///< always enabled; filtered by "LogInfoDetailLevel" instead
constexpr std::uint32_t kLogInfo = 0x00000010;            ///< "(I%d) "
constexpr std::uint32_t kLogException = 0x00000020;       ///< "(EX) "
constexpr std::uint32_t kLogWarning = 0x00000040;         ///< "(WN) ": a failure that is survived, a caught exception
constexpr std::uint32_t kLogError = 0x00000080;           ///< "(##) ": a whole operation failed
constexpr std::uint32_t kLogStatus = 0x00000100;          ///< "(ST) "
constexpr std::uint32_t kLogDebug = 0x00000200;           ///< "(DB) ": a decision, such as a refusal
constexpr std::uint32_t kLogEntry = 0x00000400;           ///< "(->) ": written by the function scope
constexpr std::uint32_t kLogExit = 0x00000800;            ///< "(<-) ": written by the function scope
constexpr std::uint32_t kLogMarkerMask = 0x0000F000;      ///< "(M%d) ": a marker number 1-15 in bits 12-15
constexpr unsigned kLogMarkerShift = 12;                  ///< of the marker number
constexpr std::uint32_t kLogCreateModuleKey = 0x01000000; ///< no tag: the refresh creates a missing module key
constexpr std::uint32_t kLogLocking = 0x02000000;         ///< "(LK) "
constexpr std::uint32_t kLogInterProcess = 0x04000000;    ///< "(IP) "; also on entry lines with parameters
constexpr std::uint32_t kLogToDebugger = 0x08000000;      ///< no tag: this line goes to the debugger too
constexpr std::uint32_t kLogErrorCode = 0x20000000;       ///< "(**) ": the error code line after a function exit
constexpr std::uint32_t kLogHeader = 0x40000000;          ///< "(++) ": the header block of a file

// Options.
constexpr std::uint32_t kOptionSizeLimitMask = 0x0000FFFF; ///< file size limit in KiB, 0 for none
constexpr unsigned kOptionSizeLimitShift = 10;             ///< from KiB to bytes
constexpr std::uint32_t kOptionTruncate = 0x00010000;      ///< a process's first opening empties the file
constexpr std::uint32_t kOptionUniqueName = 0x00020000;    ///< a process's first opening makes a unique file name
constexpr std::uint32_t kOptionRestartAtLimit =
    kOptionTruncate | kOptionUniqueName;                   ///< both: a fresh file at the limit
constexpr std::uint32_t kOptionDebugger = 0x00080000;      ///< every line goes to the debugger too
constexpr std::uint32_t kOptionListModules = 0x00100000;   ///< the header block is followed by the process's modules
constexpr std::uint32_t kOptionIndent = 0x00200000;        ///< two blanks per open function scope
constexpr std::uint32_t kOptionDuration = 0x00400000;      ///< exit lines report the time spent
constexpr std::uint32_t kOptionCompactTime = 0x00800000;   ///< date, time and counter without separators
constexpr std::uint32_t kOptionDate = 0x01000000;          ///< prefix: date, local
constexpr std::uint32_t kOptionTime = 0x02000000;          ///< prefix: time of day, local
constexpr std::uint32_t kOptionProcessTag = 0x04000000;    ///< prefix: process id
constexpr std::uint32_t kOptionThreadId = 0x08000000;      ///< prefix: thread id
constexpr std::uint32_t kOptionSincePrevious = 0x10000000; ///< milliseconds since the module's previous line
/// Prefix: microsecond counter, and the line number in the source file.
/// Deliberate: one bit for both, so that a log with the exact order of its lines has their places too.
constexpr std::uint32_t kOptionCounterAndLine = 0x20000000;
} // namespace KVLogging
