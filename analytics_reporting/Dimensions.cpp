#include "analytics_reporting/Dimensions.h"

namespace KVAnalyticsReporting::Dimensions
{
const wchar_t* GetName(std::uint32_t dimension)
{
    switch (dimension)
    {
    case kModelName:
        return L"ModelName";
    case kManufacturer:
        return L"Manufacturer";
    case kConnectionType:
        return L"ConnectionType";
    case kDriverType:
        return L"DriverType";
    case kDriverVersion:
        return L"DriverVersion";
    case kCount:
        return L"Count";
    case kProcessorArchitecture:
        return L"ProcessorArchitecture";
    case kBattery:
        return L"Battery";
    case kOSVersion:
        return L"OSVersion";
    case kInstalled:
        return L"Installed";
    case kSelected:
        return L"Selected";
    case kEnabled:
        return L"Enabled";
    default:
        return kUnknown;
    }
}
} // namespace KVAnalyticsReporting::Dimensions
