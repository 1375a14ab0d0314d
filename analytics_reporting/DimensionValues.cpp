#include "analytics_reporting/DimensionValues.h"

#include "device_manager/DeviceKinds.h"

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
    case KVDeviceManager::kResultYes:
        return L"Yes";
    case KVDeviceManager::kResultNo:
        return L"No";
    case KVDeviceManager::kResultCancelled:
        return L"Cancelled";
    default:
        return kUnknown;
    }
}

std::wstring GetWirelessSetupText(int kind)
{
    switch (kind)
    {
    case KVDeviceManager::kSetupAlreadyOnNetwork:
        return L"AlreadyOnNetwork";
    case KVDeviceManager::kSetupAwc:
        return L"AWC";
    case KVDeviceManager::kSetupUsbSow:
        return L"USBSOW";
    case KVDeviceManager::kSetupFpSow:
        return L"FPSOW";
    case KVDeviceManager::kSetupUsbToWireless:
        return L"USBToWireless";
    case KVDeviceManager::kSetupReconfigureUsb:
        return L"Reconfigure_USB";
    case KVDeviceManager::kSetupReconfigureFp:
        return L"Reconfigure_FP";
    case KVDeviceManager::kSetupUsbPlusWifi:
        return L"USBPlusWifi";
    case KVDeviceManager::kSetupWirelessDirect:
        return L"WirelessDirect";
    default:
        return kUnknown;
    }
}

std::wstring GetTextOrUnknown(const std::wstring& text)
{
    return text.empty() ? kUnknown : text;
}

std::wstring GetPropertyOrUnknown(const PrinterProperties& record, const Dimension& dimension)
{
    const auto found = record.find(dimension.number);
    return found == record.end() ? kUnknown : GetTextOrUnknown(found->second);
}
} // namespace KVAnalyticsReporting
