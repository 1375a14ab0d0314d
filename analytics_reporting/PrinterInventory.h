#pragma once

#include <list>
#include <string>

#include "analytics_reporting/PrinterProperties.h"
#include "device_manager/Device.h"

namespace KVAnalyticsReporting
{
/// Builds the records of printers that are reported. docs/printer-inventory.md says where each fact comes from.
///
/// A failure of the spooler or the registry leaves a fact unknown or a printer out and never throws. CPrintUtil turns
/// failed allocations into results; any other exception reaches the caller. On any thread.

/// The record of a printer that is installed on this computer: model name, manufacturer, connection type, driver type
/// and driver version, each with a text. Empty for a printer that plug and play does not know: it is not reported.
PrinterProperties BuildInstalledPrinterRecord(const std::wstring& printerName);

/// Replaces records with those of the printers installed on this computer, in the order of the spooler. Empty if the
/// spooler does not report its printers.
void EnumerateInstalledPrinters(std::list<PrinterProperties>& records);

/// The record of a device that the caller has found: model name and connection type.
PrinterProperties BuildDevicePrinterRecord(const KVDeviceManager::IDevice& device);

/// One record for each device, in their order. The caller keeps the devices. Throws std::invalid_argument if one is
/// null.
std::list<PrinterProperties> BuildDevicePrinterRecords(const std::list<const KVDeviceManager::IDevice*>& devices);
} // namespace KVAnalyticsReporting
