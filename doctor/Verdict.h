#pragma once

#include <windows.h>

#include <optional>
#include <span>

#include "doctor/Findings.h"

namespace KVAnalyticsDoctor
{
/// What a run that the device centre starts on this computer, for this user, would do, and why. A run started by any
/// other program ends at once; who starts the next one cannot be known here.
struct Verdict
{
    int exitCode;                         ///< of the doctor
    const wchar_t* reason;                ///< one word, for tools
    const wchar_t* text;                  ///< one sentence, for people
    std::optional<HRESULT> programResult; ///< exit code of such a run; nothing if there is none, or if it is unknown
    const wchar_t* programResultName;     ///< empty without a result
};

/// The exit code for arguments that the doctor does not know.
constexpr int kUsageExitCode = 2;

/// All verdicts, by rising exit code. The first is that a run would report.
std::span<const Verdict> GetVerdicts() noexcept;

/// Weighs the findings in the order in which a run checks them.
const Verdict& Judge(const Findings& findings) noexcept;
} // namespace KVAnalyticsDoctor
