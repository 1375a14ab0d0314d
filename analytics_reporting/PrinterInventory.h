#pragma once

#include <list>
#include <string>

#include "analytics_reporting/PrinterProperties.h"
#include "device_manager/Device.h"

namespace KVAnalyticsReporting
{
/// What is reported of printers. docs/printer-inventory.md tells where each fact comes from.
///
/// What the spooler and the registry refuse makes an unknown fact or a printer that is left out, never an exception;
/// exceptions that are none of a failed allocation in CPrintUtil pass on to the caller. On any thread.

/// Of a printer that is installed on this computer: model name, manufacturer, connection type, driver type and driver
/// version, each with a text. Empty for a printer that plug and play knows nothing of: it is not to be reported.
PrinterProperties BuildInstalledPrinterRecord(const std::wstring& printerName);

/// Replaces records by those of the printers installed on this computer, in the order of the spooler. Empty when the
/// spooler does not tell its printers.
void EnumerateInstalledPrinters(std::list<PrinterProperties>& records);

/// Of a device that somebody else has found: model name and connection type.
PrinterProperties BuildDevicePrinterRecord(const KVDeviceManager::IDevice& device);

/// One record for each device, in their order. The devices stay the caller's. Throws std::invalid_argument when one is
/// null.
std::list<PrinterProperties> BuildDevicePrinterRecords(const std::list<const KVDeviceManager::IDevice*>& devices);
} // namespace KVAnalyticsReporting
