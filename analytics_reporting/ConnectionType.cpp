#include "analytics_reporting/ConnectionType.h"

namespace KVAnalyticsReporting
{
namespace
{
constexpr int kUsb = 1;
constexpr int kNetwork = 2;
constexpr int kBluetooth = 4;
constexpr int kAll = 7;

constexpr int kWired = 1;
constexpr int kWireless = 2;

std::wstring GetNetworkText(int networkKind)
{
    switch (networkKind)
    {
    case kWired:
        return L"Network-Wired";
    case kWireless:
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
    case kUsb:
        return L"USB";
    case kNetwork:
        return GetNetworkText(networkKind);
    case kBluetooth:
        return L"Bluetooth";
    case kAll:
        return L"All";
    default:
        return L"Unknown";
    }
}
} // namespace KVAnalyticsReporting
