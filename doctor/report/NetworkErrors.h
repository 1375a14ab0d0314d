#pragma once

#include "doctor/findings/ReachFindings.h"

namespace KVAnalyticsDoctor
{
/// What the outcome of a connection means, in a sentence for people.
const wchar_t* GetMeaningOfReach(const ReachFindings& reach) noexcept;
} // namespace KVAnalyticsDoctor
