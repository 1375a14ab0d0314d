#pragma once

#include <string>
#include <vector>

#include "doctor/Options.h"
#include "doctor/Verdict.h"

namespace KVAnalyticsDoctor
{
/// What the doctor answers.
struct Answer
{
    std::wstring text;      ///< for the standard output
    std::wstring errorText; ///< for the standard error output
    int exitCode = 0;       ///< of GetVerdicts, or kUsageExitCode
    bool isComplete = true; ///< false: a thread still runs (ExaminationResult)
};

/// One call of the doctor. arguments: without the program's name. It takes four seconds at most, and a minute if it
/// connects.
Answer AskDoctor(const std::vector<std::wstring>& arguments);

/// The help text: the switches and the exit codes.
std::wstring GetHelp();
} // namespace KVAnalyticsDoctor
