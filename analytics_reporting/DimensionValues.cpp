#include "analytics_reporting/DimensionValues.h"

#include "analytics_reporting/Dimensions.h"

namespace KVAnalyticsReporting
{
std::wstring GetYesNoText(bool value)
{
    return value ? L"Yes" : L"No";
}

std::wstring GetResultText(int resultCode)
{
    switch (resultCode)
    {
    case 1:
        return L"Yes";
    case 2:
        return L"No";
    case 3:
        return L"Cancelled";
    default:
        return kUnknown;
    }
}

std::wstring GetWirelessSetupText(int kind)
{
    switch (kind)
    {
    case 1:
        return L"AlreadyOnNetwork";
    case 2:
        return L"AWC";
    case 3:
        return L"USBSOW";
    case 4:
        return L"FPSOW";
    case 5:
        return L"USBToWireless";
    case 6:
        return L"Reconfigure_USB";
    case 7:
        return L"Reconfigure_FP";
    case 8:
        return L"USBPlusWifi";
    case 9:
        return L"WirelessDirect";
    default:
        return kUnknown;
    }
}

std::wstring GetTextOrUnknown(const std::wstring& text)
{
    return text.empty() ? kUnknown : text;
}

std::wstring GetPropertyOrUnknown(const PrinterProperties& record, std::uint32_t dimension)
{
    const auto found = record.find(dimension);
    return found == record.end() ? kUnknown : GetTextOrUnknown(found->second);
}
} // namespace KVAnalyticsReporting
