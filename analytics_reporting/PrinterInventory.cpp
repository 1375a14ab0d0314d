#include "analytics_reporting/PrinterInventory.h"

#include <stdexcept>
#include <utility>

#include "analytics_reporting/ConnectionType.h"
#include "analytics_reporting/Dimensions.h"
#include "analytics_reporting/DimensionValues.h"
#include "analytics_reporting/DriverFacts.h"
#include "analytics_reporting/ProgramLogModule.h"
#include "device_manager/PrintUtil.h"
#include "logging/Trace.h"
#include "utils/StringUtils.h"

namespace KVAnalyticsReporting
{
namespace
{
KV_TRACE_SOURCE(g_logModule, L"PrinterInventory.cpp");

constexpr wchar_t kPnPKey[] = L"PnPData";

// Endings of driver names that are not part of the model, in the order of the search.
constexpr const wchar_t* kDriverSuffixes[] = {L" PCL Class", L" PS Class", L" Class Driver", L" Class", L" Driver"};

// Empty if the printer has no such text.
std::wstring GetPnPText(const std::wstring& printerName, const wchar_t* valueName)
{
    std::wstring text;
    const HRESULT result =
        KVDeviceManager::CPrintUtil::GetPrinterDataValue(printerName.c_str(), kPnPKey, valueName, text);
    return SUCCEEDED(result) ? text : std::wstring();
}

// Empty if the spooler does not report it.
std::wstring GetDriverName(const std::wstring& printerName)
{
    std::wstring driverName;
    const HRESULT result = KVDeviceManager::CPrintUtil::GetPrinterDriverName(printerName, driverName);
    return SUCCEEDED(result) ? driverName : std::wstring();
}

std::wstring GetModelName(const std::wstring& driverName)
{
    std::wstring name = KVUtils::Trim(driverName);
    for (const wchar_t* const suffix : kDriverSuffixes)
    {
        if (KVUtils::EndsWith(name, suffix))
        {
            // Deliberate: removed wherever it occurs, not only at the end, so that models keep their known names.
            return KVUtils::ReplaceAll(name, suffix, L"");
        }
    }
    return name;
}

std::wstring GetInstalledConnectionType(const std::wstring& deviceInstanceId)
{
    return KVUtils::StartsWith(deviceInstanceId, L"USBPRINT") ? L"USB" : L"Network";
}

std::wstring GetDeviceConnectionType(const KVDeviceManager::IDevice& device)
{
    const int connectionKind = device.GetConnectionKind();
    if (connectionKind != KVDeviceManager::kConnectionNetwork)
    {
        return GetConnectionTypeText(connectionKind, KVDeviceManager::kNetworkUnknown);
    }
    const auto* const networkDevice = dynamic_cast<const KVDeviceManager::INetworkDevice*>(&device);
    if (networkDevice == nullptr)
    {
        return GetConnectionTypeText(connectionKind, KVDeviceManager::kNetworkUnknown);
    }
    return GetConnectionTypeText(connectionKind, networkDevice->GetNetworkKind());
}
} // namespace

PrinterProperties BuildInstalledPrinterRecord(const std::wstring& printerName)
{
    KV_TRACE(L"KVAnalyticsReporting::BuildInstalledPrinterRecord");
    PrinterProperties record;
    const std::wstring deviceInstanceId = GetPnPText(printerName, L"DeviceInstanceId");
    if (deviceInstanceId.empty())
    {
        return record;
    }
    const std::wstring driverName = GetDriverName(printerName);
    record[Dimensions::kModelName.number] = GetTextOrUnknown(GetModelName(driverName));
    record[Dimensions::kManufacturer.number] = GetTextOrUnknown(GetPnPText(printerName, L"Manufacturer"));
    record[Dimensions::kConnectionType.number] = GetInstalledConnectionType(deviceInstanceId);
    record[Dimensions::kDriverType.number] =
        driverName.empty() ? kUnknown : GetTextOrUnknown(GetDriverType(driverName));
    record[Dimensions::kDriverVersion.number] =
        driverName.empty() ? kUnknown : GetTextOrUnknown(GetDriverVersion(driverName));
    return record;
}

void EnumerateInstalledPrinters(std::list<PrinterProperties>& records)
{
    KV_TRACE(L"KVAnalyticsReporting::EnumerateInstalledPrinters");
    records.clear();
    std::list<std::wstring> printerNames;
    if (FAILED(KVDeviceManager::CPrintUtil::FindAllPrinterNames(printerNames)))
    {
        return;
    }
    for (const std::wstring& printerName : printerNames)
    {
        PrinterProperties record = BuildInstalledPrinterRecord(printerName);
        if (!record.empty())
        {
            records.push_back(std::move(record));
        }
    }
}

PrinterProperties BuildDevicePrinterRecord(const KVDeviceManager::IDevice& device)
{
    KV_TRACE(L"KVAnalyticsReporting::BuildDevicePrinterRecord");
    PrinterProperties record;
    record[Dimensions::kModelName.number] = GetTextOrUnknown(device.GetModelName());
    record[Dimensions::kConnectionType.number] = GetDeviceConnectionType(device);
    return record;
}

std::list<PrinterProperties> BuildDevicePrinterRecords(const std::list<const KVDeviceManager::IDevice*>& devices)
{
    KV_TRACE(L"KVAnalyticsReporting::BuildDevicePrinterRecords");
    std::list<PrinterProperties> records;
    for (const KVDeviceManager::IDevice* const device : devices)
    {
        if (device == nullptr)
        {
            throw std::invalid_argument("no device");
        }
        records.push_back(BuildDevicePrinterRecord(*device));
    }
    return records;
}
} // namespace KVAnalyticsReporting
