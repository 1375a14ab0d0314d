#pragma once

#include <cstdint>

namespace KVAnalyticsReporting
{
/// The value of a fact that is not known.
constexpr wchar_t kUnknown[] = L"Unknown";

/// A custom dimension of the collection host.
struct Dimension
{
    std::uint32_t number;
    const wchar_t* name; ///< in the log
};

/// The custom dimensions that the engine sets. Each comment names the values.
namespace Dimensions
{
constexpr Dimension kModelName = {1, L"ModelName"};                         ///< of a printer, or "Unknown"
constexpr Dimension kManufacturer = {2, L"Manufacturer"};                   ///< of a printer, or "Unknown"
constexpr Dimension kConnectionType = {3, L"ConnectionType"};               ///< GetConnectionTypeText
constexpr Dimension kDriverType = {4, L"DriverType"};                       ///< "V3", "V4" or "Unknown"
constexpr Dimension kDriverVersion = {5, L"DriverVersion"};                 ///< the driver maker's, or "Unknown"
constexpr Dimension kCount = {6, L"Count"};                                 ///< number of printers, decimal
constexpr Dimension kProcessorArchitecture = {8, L"ProcessorArchitecture"}; ///< GetProcessorArchitectureText
constexpr Dimension kBattery = {9, L"Battery"};                             ///< ProbeBattery
constexpr Dimension kOSVersion = {10, L"OSVersion"};                        ///< GetOSVersionText
constexpr Dimension kInstalled = {12, L"Installed"};                        ///< GetResultText
constexpr Dimension kSelected = {13, L"Selected"};                          ///< GetYesNoText or GetWirelessSetupText
constexpr Dimension kEnabled = {14, L"Enabled"};                            ///< GetYesNoText or GetResultText

/// All of the above.
constexpr Dimension kAll[] = {
    kModelName, kManufacturer, kConnectionType, kDriverType, kDriverVersion, kCount, kProcessorArchitecture,
    kBattery,   kOSVersion,    kInstalled,      kSelected,   kEnabled};
} // namespace Dimensions
} // namespace KVAnalyticsReporting
