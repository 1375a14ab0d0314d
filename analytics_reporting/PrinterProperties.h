#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace KVAnalyticsReporting
{
/// The record of one printer: maps the number of a custom dimension (Dimensions.h, kModelName to kDriverVersion) to its
/// value. A missing key and an empty value both mean that the fact is not known.
using PrinterProperties = std::map<std::uint32_t, std::wstring>;
} // namespace KVAnalyticsReporting
