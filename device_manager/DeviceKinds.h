#pragma once

/// The numbers by which a program names connections, networks, results and wireless set-ups. Their values are fixed,
/// since linked programs pass them as `int`. Beside each is the text that hits carry for it; any other number is
/// "Unknown", except where a comment says otherwise.
namespace KVDeviceManager
{
/// How a device is connected.
enum ConnectionKind : int
{
    kConnectionUnknown = 0,   ///< "Unknown"
    kConnectionUsb = 1,       ///< "USB"
    kConnectionNetwork = 2,   ///< "Network", and what the NetworkKind appends
    kConnectionBluetooth = 4, ///< "Bluetooth"
    kConnectionAll = 7,       ///< "All"
};

/// What network a device with kConnectionNetwork is on. It counts for no other connection.
enum NetworkKind : int
{
    kNetworkUnknown = 0,  ///< appends nothing, and neither does a number that is not listed
    kNetworkWired = 1,    ///< "Network-Wired"
    kNetworkWireless = 2, ///< "Network-Wireless"
};

/// How an installation or a wireless set-up ended.
enum ResultKind : int
{
    kResultYes = 1,       ///< "Yes"
    kResultNo = 2,        ///< "No"
    kResultCancelled = 3, ///< "Cancelled"
};

/// How a device was set up for a wireless network.
enum WirelessSetupKind : int
{
    kSetupAlreadyOnNetwork = 1, ///< "AlreadyOnNetwork"
    kSetupAwc = 2,              ///< "AWC"
    kSetupUsbSow = 3,           ///< "USBSOW"
    kSetupFpSow = 4,            ///< "FPSOW"
    kSetupUsbToWireless = 5,    ///< "USBToWireless"
    kSetupReconfigureUsb = 6,   ///< "Reconfigure_USB"
    kSetupReconfigureFp = 7,    ///< "Reconfigure_FP"
    kSetupUsbPlusWifi = 8,      ///< "USBPlusWifi"
    kSetupWirelessDirect = 9,   ///< "WirelessDirect"
};
} // namespace KVDeviceManager
