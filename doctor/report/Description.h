#pragma once

#include "doctor/Findings.h"
#include "doctor/Options.h"
#include "doctor/report/Report.h"
#include "doctor/Verdict.h"

namespace KVAnalyticsDoctor
{
/// Writes everything that is to be reported, section by section. Unless the options ask for it, the client id is never
/// written whole and no hit is decoded.
void Describe(const Findings& findings, const Verdict& verdict, const Options& options, IReport& report);
} // namespace KVAnalyticsDoctor
