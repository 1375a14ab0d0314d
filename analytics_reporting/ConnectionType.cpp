#include "analytics_reporting/ConnectionType.h"

#include "device_manager/DeviceKinds.h"

namespace KVAnalyticsReporting
{
namespace
{
std::wstring GetNetworkText(int networkKind)
{
    switch (networkKind)
    {
    case KVDeviceManager::kNetworkWired:
        return L"Network-Wired";
    case KVDeviceManager::kNetworkWireless:
        return L"Network-Wireless";
    default:
        return L"Network";
    }
}
} // namespace

std::wstring GetConnectionTypeText(int connectionKind, int networkKind)
{
    switch (connectionKind)
    {
    case KVDeviceManager::kConnectionUsb:
        return L"USB";
    case KVDeviceManager::kConnectionNetwork:
        return GetNetworkText(networkKind);
    case KVDeviceManager::kConnectionBluetooth:
        return L"Bluetooth";
    case KVDeviceManager::kConnectionAll:
        return L"All";
    default:
        return L"Unknown";
    }
}
} // namespace KVAnalyticsReporting
