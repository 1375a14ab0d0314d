#pragma once

#include <cstdint>

namespace KVAnalyticsReporting
{
/// The value of a fact that is not known.
constexpr wchar_t kUnknown[] = L"Unknown";

/// The custom dimensions that the engine sets, by their numbers on the collection host. Each comment names the values.
namespace Dimensions
{
constexpr std::uint32_t kModelName = 1;             ///< of a printer, or "Unknown"
constexpr std::uint32_t kManufacturer = 2;          ///< of a printer, or "Unknown"
constexpr std::uint32_t kConnectionType = 3;        ///< GetConnectionTypeText
constexpr std::uint32_t kDriverType = 4;            ///< "V3", "V4" or "Unknown"
constexpr std::uint32_t kDriverVersion = 5;         ///< as the driver says it, or "Unknown"
constexpr std::uint32_t kCount = 6;                 ///< number of printers, decimal
constexpr std::uint32_t kProcessorArchitecture = 8; ///< GetProcessorArchitectureText
constexpr std::uint32_t kBattery = 9;               ///< "Yes", "No" or "Unknown"
constexpr std::uint32_t kOSVersion = 10;            ///< GetOSVersionText
constexpr std::uint32_t kInstalled = 12;            ///< "Yes", "No", "Cancelled" or "Unknown"
constexpr std::uint32_t kSelected = 13;             ///< "Yes" or "No", or the kind of a wireless set-up
constexpr std::uint32_t kEnabled = 14;              ///< "Yes" or "No", or the result of a wireless set-up

/// What the log calls a dimension: its constant's name without the k.
const wchar_t* GetName(std::uint32_t dimension);
} // namespace Dimensions
} // namespace KVAnalyticsReporting
