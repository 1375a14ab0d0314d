#include "analytics_reporting/PrinterInventory.h"

#include <windows.h>

#include <gmock/gmock.h>

#include <list>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>

#include "tests/analytics_reporting/FakeSystem.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TemporaryFolder.h"

namespace
{
using KVAnalyticsReporting::BuildDevicePrinterRecord;
using KVAnalyticsReporting::BuildDevicePrinterRecords;
using KVAnalyticsReporting::BuildInstalledPrinterRecord;
using KVAnalyticsReporting::EnumerateInstalledPrinters;
using KVAnalyticsReporting::PrinterProperties;
using KVTest::Calls;
using KVTest::Number;
using KVTest::RegistryValue;
using KVTest::String;
using KVTest::Unterminated;
using testing::ElementsAre;

const std::wstring kDrivers = L"System\\ControlSet001\\Control\\Print\\Environments\\Windows x64\\Drivers\\";

RegistryValue Error(LONG error)
{
    RegistryValue value;
    value.error = error;
    return value;
}

// A computer with the printers that a test chooses.
class PrinterInventoryTests : public testing::Test
{
protected:
    // A printer with every fact known.
    static KVTest::FakeSpooler::Printer KnownPrinter(const std::wstring& name = L"Office")
    {
        return {name,
                {{L"DeviceInstanceId", String(L"USBPRINT\\ACMELASER\\7&1")}, {L"Manufacturer", String(L"Acme Inc.")}},
                L"Acme Laser 400 PCL Class"};
    }
    void AddKnownDriver(const std::wstring& driverName = L"Acme Laser 400 PCL Class")
    {
        m_registry.keys[kDrivers + L"Version-3\\" + driverName] = {{L"Version", Number(3)},
                                                                   {L"DriverVersion", String(L"6.1.2")}};
    }
    // The record of the printer in its present state, alone on its computer.
    PrinterProperties RecordOf(const KVTest::FakeSpooler::Printer& printer)
    {
        m_spooler.printers = {printer};
        m_calls.clear();
        return BuildInstalledPrinterRecord(printer.name);
    }
    static PrinterProperties KnownRecord()
    {
        return {{1u, L"Acme Laser 400"}, {2u, L"Acme Inc."}, {3u, L"USB"}, {4u, L"V3"}, {5u, L"6.1.2"}};
    }

    Calls m_calls;
    KVTest::FakeMachine m_machine{m_calls, {PROCESSOR_ARCHITECTURE_AMD64}};
    KVTest::FakeRegistry m_registry{m_calls};
    KVTest::FakeSpooler m_spooler{m_calls};

private:
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_machineSwap{KVWinApi::g_kernelApi, m_machine};
    KVTest::ScopedSubstitute<KVWinApi::IRegistryApi> m_registrySwap{KVWinApi::g_registryApi, m_registry};
    KVTest::ScopedSubstitute<KVWinApi::ISpoolerApi> m_spoolerSwap{KVWinApi::g_spoolerApi, m_spooler};
};

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_KnownPrinter_TellsEverything)
{
    AddKnownDriver();
    EXPECT_EQ(RecordOf(KnownPrinter()), KnownRecord());
    EXPECT_EQ(m_calls, (Calls{
                           L"OpenPrinterW Office",
                           L"GetPrinterDataExW 1, PnPData\\DeviceInstanceId, no buffer of 0",
                           L"GetPrinterDataExW 1, PnPData\\DeviceInstanceId, buffer of 46",
                           L"ClosePrinter 1",
                           L"OpenPrinterW Office",
                           L"GetPrinterDriverW 2, level 1, no buffer of 0",
                           L"GetPrinterDriverW 2, level 1, buffer of 58",
                           L"ClosePrinter 2",
                           L"OpenPrinterW Office",
                           L"GetPrinterDataExW 3, PnPData\\Manufacturer, no buffer of 0",
                           L"GetPrinterDataExW 3, PnPData\\Manufacturer, buffer of 20",
                           L"ClosePrinter 3",
                           L"GetNativeSystemInfo",
                           L"RegOpenKeyExW HKLM\\" + kDrivers + L"Version-3\\Acme Laser 400 PCL Class, query value",
                           L"RegQueryValueExW 1, Version, buffer of 4",
                           L"RegCloseKey 1",
                           L"GetNativeSystemInfo",
                           L"RegOpenKeyExW HKLM\\" + kDrivers + L"Version-3\\Acme Laser 400 PCL Class, query value",
                           L"RegQueryValueExW 2, DriverVersion, buffer of 520",
                           L"RegCloseKey 2",
                       }));
}

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_NoDeviceInstanceId_IsEmptyAndNothingElseIsAsked)
{
    KVTest::FakeSpooler::Printer printer = KnownPrinter();
    printer.pnpData.erase(L"DeviceInstanceId");
    EXPECT_EQ(RecordOf(printer), PrinterProperties());
    EXPECT_EQ(m_calls, (Calls{L"OpenPrinterW Office", L"GetPrinterDataExW 1, PnPData\\DeviceInstanceId, no buffer of 0",
                              L"ClosePrinter 1"}));
}

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_DeviceInstanceIdEmptyOrRefused_IsEmpty)
{
    KVTest::FakeSpooler::Printer printer = KnownPrinter();
    for (const RegistryValue& id :
         {String(L""), Unterminated(L""), Number(1), Error(ERROR_ACCESS_DENIED), Error(ERROR_INVALID_HANDLE)})
    {
        printer.pnpData[L"DeviceInstanceId"] = id;
        EXPECT_EQ(RecordOf(printer), PrinterProperties()) << id.type << " " << id.error;
    }
}

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_UnknownPrinter_IsEmpty)
{
    m_spooler.printers = {KnownPrinter()};
    EXPECT_EQ(BuildInstalledPrinterRecord(L"Elsewhere"), PrinterProperties());
    EXPECT_EQ(m_calls, (Calls{L"OpenPrinterW Elsewhere"}));
}

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_NoName_IsEmptyWithoutAnyCall)
{
    EXPECT_EQ(BuildInstalledPrinterRecord(L""), PrinterProperties());
    EXPECT_EQ(m_calls, Calls());
}

struct ModelCase
{
    const char* name;
    const wchar_t* driverName;
    const wchar_t* expected;
};

void PrintTo(const ModelCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class ModelNameTests : public PrinterInventoryTests, public testing::WithParamInterface<ModelCase>
{
};

TEST_P(ModelNameTests, IsTheDriversNameWithoutItsSuffix)
{
    KVTest::FakeSpooler::Printer printer = KnownPrinter();
    printer.driverName = GetParam().driverName;
    EXPECT_EQ(RecordOf(printer)[1], GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    PrinterInventoryTests, ModelNameTests,
    testing::Values(ModelCase{"PclClass", L"Acme Laser 400 PCL Class", L"Acme Laser 400"},
                    ModelCase{"PsClass", L"Acme Laser PS Class", L"Acme Laser"},
                    ModelCase{"ClassDriver", L"Acme Class Driver", L"Acme"}, ModelCase{"Class", L"Acme Class", L"Acme"},
                    ModelCase{"Driver", L"Acme Driver", L"Acme"},
                    ModelCase{"None", L"Acme Laser 400", L"Acme Laser 400"},
                    ModelCase{"PsClassDriver", L"Acme PS Class Driver", L"Acme PS"},
                    ModelCase{"PclClassDriver", L"Acme PCL Class Driver", L"Acme PCL"},
                    ModelCase{"DriverClass", L"Acme Driver Class", L"Acme Driver"},
                    ModelCase{"OneSuffixOnly", L"Acme Driver Driver PCL Class", L"Acme Driver Driver"},
                    ModelCase{"EarlierPclClass", L"Acme PCL Class 400 PCL Class", L"Acme 400"},
                    ModelCase{"EarlierPsClass", L"Acme PS Class 400 PS Class", L"Acme 400"},
                    ModelCase{"EarlierClassDriver", L"A Class Driver B Class Driver", L"A B"},
                    ModelCase{"EarlierClass", L"Acme Class 400 Classic Class", L"Acme 400ic"},
                    ModelCase{"EarlierDriver", L"Acme Drivers Driver Driver", L"Acmes"},
                    ModelCase{"EarlierSuffixOfAnotherKindStays", L"Acme PS Class 400 PCL Class", L"Acme PS Class 400"},
                    ModelCase{"EarlierClassBeforePclClassStays", L"Acme Class PCL Class", L"Acme Class"},
                    ModelCase{"SuffixInTheMiddleOnly", L"Acme Class 400", L"Acme Class 400"},
                    ModelCase{"LowerCase", L"Acme pcl class", L"Acme pcl class"},
                    ModelCase{"PartlyLowerCase", L"Acme Class driver", L"Acme Class driver"},
                    ModelCase{"LowerCasePcl", L"Acme pcl Class", L"Acme pcl"},
                    ModelCase{"WhiteSpaceAroundIt", L" \t\n\r\f\vAcme Laser Driver \t\n\r\f\v", L"Acme Laser"},
                    ModelCase{"WhiteSpaceAloneAroundIt", L"  Acme  Laser ", L"Acme  Laser"},
                    ModelCase{"BlankBeforeTheSuffixStays", L"Acme  Driver", L"Acme "},
                    ModelCase{"TabBeforeTheSuffix", L"Acme\tDriver", L"Acme\tDriver"},
                    ModelCase{"NoBreakSpaceIsNotTrimmed", L"\u00A0 Driver", L"\u00A0"},
                    ModelCase{"SuffixAloneHasNoBlankBeforeIt", L" Class Driver", L"Class"},
                    ModelCase{"DriverAlone", L" Driver ", L"Driver"}, ModelCase{"WhiteSpaceOnly", L" \t ", L"Unknown"},
                    ModelCase{"Empty", L"", L"Unknown"}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_DriverNotTold_LeavesTheDriversFactsUnknown)
{
    AddKnownDriver(L"");
    KVTest::FakeSpooler::Printer printer = KnownPrinter();
    printer.driverName.reset();
    const PrinterProperties record{
        {1u, L"Unknown"}, {2u, L"Acme Inc."}, {3u, L"USB"}, {4u, L"Unknown"}, {5u, L"Unknown"}};
    EXPECT_EQ(RecordOf(printer), record);
    EXPECT_EQ(m_calls.back(), L"ClosePrinter 3"); // the registry is not asked
    printer.driverName = L"";
    EXPECT_EQ(RecordOf(printer), record);
    EXPECT_EQ(m_calls.back(), L"ClosePrinter 6");
}

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_DriverIsLookedUpUnderItsWholeName)
{
    KVTest::FakeSpooler::Printer printer = KnownPrinter();
    printer.driverName = L" Acme Driver ";
    AddKnownDriver(L"Acme");
    AddKnownDriver(L"Acme Driver");
    EXPECT_EQ(RecordOf(printer),
              (PrinterProperties{{1u, L"Acme"}, {2u, L"Acme Inc."}, {3u, L"USB"}, {4u, L"Unknown"}, {5u, L"Unknown"}}));
    AddKnownDriver(L" Acme Driver ");
    EXPECT_EQ(RecordOf(printer),
              (PrinterProperties{{1u, L"Acme"}, {2u, L"Acme Inc."}, {3u, L"USB"}, {4u, L"V3"}, {5u, L"6.1.2"}}));
}

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_DriverNotInTheRegistry_LeavesTypeAndVersionUnknown)
{
    EXPECT_EQ(RecordOf(KnownPrinter()),
              (PrinterProperties{
                  {1u, L"Acme Laser 400"}, {2u, L"Acme Inc."}, {3u, L"USB"}, {4u, L"Unknown"}, {5u, L"Unknown"}}));
}

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_EmptyDriverVersion_IsUnknown)
{
    AddKnownDriver();
    m_registry.keys.begin()->second[L"DriverVersion"] = String(L"");
    EXPECT_EQ(RecordOf(KnownPrinter())[5], L"Unknown");
    EXPECT_EQ(RecordOf(KnownPrinter())[4], L"V3");
}

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_OtherArchitecture_LeavesTypeAndVersionUnknown)
{
    AddKnownDriver();
    KVTest::FakeMachine::SetArchitectures({PROCESSOR_ARCHITECTURE_UNKNOWN});
    EXPECT_EQ(RecordOf(KnownPrinter()),
              (PrinterProperties{
                  {1u, L"Acme Laser 400"}, {2u, L"Acme Inc."}, {3u, L"USB"}, {4u, L"Unknown"}, {5u, L"Unknown"}}));
}

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_NoManufacturer_IsUnknown)
{
    KVTest::FakeSpooler::Printer printer = KnownPrinter();
    for (const RegistryValue& manufacturer : {String(L""), Unterminated(L""), Number(1), Error(ERROR_ACCESS_DENIED)})
    {
        printer.pnpData[L"Manufacturer"] = manufacturer;
        EXPECT_EQ(RecordOf(printer)[2], L"Unknown") << manufacturer.type << " " << manufacturer.error;
    }
    printer.pnpData.erase(L"Manufacturer");
    EXPECT_EQ(RecordOf(printer)[2], L"Unknown");
}

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_Manufacturer_IsTakenAsItIs)
{
    KVTest::FakeSpooler::Printer printer = KnownPrinter();
    printer.pnpData[L"Manufacturer"] = Unterminated(L" \u00C4cme Driver ");
    EXPECT_EQ(RecordOf(printer)[2], L" \u00C4cme Driver ");
}

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_Connection_IsByTheBeginningOfTheDeviceInstanceId)
{
    KVTest::FakeSpooler::Printer printer = KnownPrinter();
    for (const wchar_t* const id : {L"USBPRINT\\ACME\\7&1", L"USBPRINT", L"USBPRINTER", L"USBPRINT\\"})
    {
        printer.pnpData[L"DeviceInstanceId"] = String(id);
        EXPECT_EQ(RecordOf(printer)[3], L"USB") << id;
    }
    for (const wchar_t* const id : {L"usbprint\\ACME\\7&1", L"USBPrint\\ACME", L"USBPRIN", L"USB", L" USBPRINT\\ACME",
                                    L"SWD\\PRINTENUM\\USBPRINT", L"UMB\\UMB\\1", L"x"})
    {
        printer.pnpData[L"DeviceInstanceId"] = String(id);
        EXPECT_EQ(RecordOf(printer)[3], L"Network") << id;
    }
}

TEST_F(PrinterInventoryTests, BuildInstalledPrinterRecord_ExceptionOfTheSpooler_PassesOnAndThePrinterIsClosed)
{
    RegistryValue failing;
    failing.exception = std::make_exception_ptr(std::runtime_error("of the spooler"));
    KVTest::FakeSpooler::Printer printer = KnownPrinter();
    printer.pnpData[L"Manufacturer"] = failing;
    EXPECT_THROW(RecordOf(printer), std::runtime_error);
    EXPECT_EQ(m_calls.back(), L"ClosePrinter 3");
    printer.pnpData[L"DeviceInstanceId"] = failing;
    EXPECT_THROW(RecordOf(printer), std::runtime_error);
    EXPECT_EQ(m_calls.back(), L"ClosePrinter 4");
}

TEST_F(PrinterInventoryTests, EnumerateInstalledPrinters_ReplacesTheListInTheOrderOfTheSpooler)
{
    AddKnownDriver();
    KVTest::FakeSpooler::Printer network = KnownPrinter(L"Attic");
    network.pnpData[L"DeviceInstanceId"] = String(L"SWD\\DAFWSDPROVIDER\\1");
    network.driverName = L"Zebra Driver";
    KVTest::FakeSpooler::Printer unnamed = KnownPrinter(L"Bureau");
    unnamed.pnpData.erase(L"Manufacturer");
    m_spooler.printers = {KnownPrinter(L"Zoo"), network, unnamed};
    std::list<PrinterProperties> records{{{1u, L"before"}}};
    EnumerateInstalledPrinters(records);
    const PrinterProperties networkRecord{
        {1u, L"Zebra"}, {2u, L"Acme Inc."}, {3u, L"Network"}, {4u, L"Unknown"}, {5u, L"Unknown"}};
    const PrinterProperties unnamedRecord{
        {1u, L"Acme Laser 400"}, {2u, L"Unknown"}, {3u, L"USB"}, {4u, L"V3"}, {5u, L"6.1.2"}};
    EXPECT_THAT(records, ElementsAre(KnownRecord(), networkRecord, unnamedRecord));
    ASSERT_GE(m_calls.size(), 3u);
    EXPECT_EQ(m_calls[0], L"EnumPrintersW flags 2, level 5, no buffer of 0");
    EXPECT_EQ(m_calls[1], L"EnumPrintersW flags 2, level 5, buffer of " + std::to_wstring(3 * 32 + 2 * (4 + 6 + 7)));
    EXPECT_EQ(m_calls[2], L"OpenPrinterW Zoo");
}

TEST_F(PrinterInventoryTests, EnumerateInstalledPrinters_PrintersWithoutDeviceInstanceId_AreLeftOut)
{
    AddKnownDriver();
    m_spooler.printers = {
        {L"Fax"}, KnownPrinter(L"Office"), {L"PDF", {{L"Manufacturer", String(L"Acme")}}, L"Acme"}, {L""}};
    std::list<PrinterProperties> records;
    EnumerateInstalledPrinters(records);
    EXPECT_THAT(records, ElementsAre(KnownRecord()));
}

TEST_F(PrinterInventoryTests, EnumerateInstalledPrinters_NoneRemains_IsEmpty)
{
    m_spooler.printers = {{L"Fax"}, {L"PDF"}};
    std::list<PrinterProperties> records{{{1u, L"before"}}};
    EnumerateInstalledPrinters(records);
    EXPECT_THAT(records, ElementsAre());
}

TEST_F(PrinterInventoryTests, EnumerateInstalledPrinters_NoPrinter_IsEmpty)
{
    std::list<PrinterProperties> records{{{1u, L"before"}}};
    EnumerateInstalledPrinters(records);
    EXPECT_THAT(records, ElementsAre());
    EXPECT_EQ(m_calls, (Calls{L"EnumPrintersW flags 2, level 5, no buffer of 0"}));
}

TEST_F(PrinterInventoryTests, EnumerateInstalledPrinters_SpoolerFails_IsEmptyAndNoPrinterIsOpened)
{
    m_spooler.printers = {KnownPrinter()};
    m_spooler.canEnumerate = false;
    std::list<PrinterProperties> records{{{1u, L"before"}}};
    EnumerateInstalledPrinters(records);
    EXPECT_THAT(records, ElementsAre());
    EXPECT_EQ(m_calls, (Calls{L"EnumPrintersW flags 2, level 5, no buffer of 0",
                              L"EnumPrintersW flags 2, level 5, buffer of " + std::to_wstring(32 + 2 * 7)}));
}

TEST_F(PrinterInventoryTests, EnumerateInstalledPrinters_ExceptionOfTheSpooler_PassesOn)
{
    RegistryValue failing;
    failing.exception = std::make_exception_ptr(std::runtime_error("of the spooler"));
    m_spooler.printers = {KnownPrinter(), {L"Broken", {{L"DeviceInstanceId", failing}}}};
    std::list<PrinterProperties> records{{{1u, L"before"}}};
    EXPECT_THROW(EnumerateInstalledPrinters(records), std::runtime_error);
    EXPECT_EQ(m_calls.back(), L"ClosePrinter 4");
}

TEST_F(PrinterInventoryTests, EnumerateInstalledPrinters_LogsEachStep)
{
    const KVTest::TemporaryFolder folder;
    const KVTest::RegistrySandbox settings;
    const std::wstring key = L"Software\\Norvik\\KV\\Logging";
    settings.SetString(key, L"LogFileName", folder.PathOf(L"log.txt"));
    settings.SetDword(key, L"LogCategories", 0xFF0);
    m_spooler.printers = {{L"Fax"}, KnownPrinter()};
    AddKnownDriver();
    std::list<PrinterProperties> records;
    EnumerateInstalledPrinters(records);
    EXPECT_EQ(KVTest::ReadUtf16File(folder.PathOf(L"log.txt")),
              L"(->) KVAnalyticsReporting::EnumerateInstalledPrinters\r\n"
              L"(->) CPrintUtil::FindAllPrinterNames\r\n"
              L"(<-) CPrintUtil::FindAllPrinterNames\r\n"
              L"(->) KVAnalyticsReporting::BuildInstalledPrinterRecord\r\n"
              L"(->) CPrintUtil::GetPrinterDataValue\r\n"
              L"(##) GetPrinterDataValue - GetPrinterDataEx() failed : file not found\r\n"
              L"(<-) CPrintUtil::GetPrinterDataValue\r\n"
              L"(<-) KVAnalyticsReporting::BuildInstalledPrinterRecord\r\n"
              L"(->) KVAnalyticsReporting::BuildInstalledPrinterRecord\r\n"
              L"(->) CPrintUtil::GetPrinterDataValue\r\n"
              L"(<-) CPrintUtil::GetPrinterDataValue\r\n"
              L"(->) CPrintUtil::GetPrinterDriverName\r\n"
              L"(<-) CPrintUtil::GetPrinterDriverName\r\n"
              L"(->) CPrintUtil::GetPrinterDataValue\r\n"
              L"(<-) CPrintUtil::GetPrinterDataValue\r\n"
              L"(->) KVAnalyticsReporting::GetDriverType\r\n"
              L"(<-) KVAnalyticsReporting::GetDriverType\r\n"
              L"(->) KVAnalyticsReporting::GetDriverVersion\r\n"
              L"(<-) KVAnalyticsReporting::GetDriverVersion\r\n"
              L"(<-) KVAnalyticsReporting::BuildInstalledPrinterRecord\r\n"
              L"(<-) KVAnalyticsReporting::EnumerateInstalledPrinters\r\n");
}

class Device : public KVDeviceManager::IDevice
{
public:
    Device(std::wstring modelName, int connectionKind) : m_modelName(std::move(modelName)), m_kind(connectionKind) {}
    std::wstring GetModelName() const override { return m_modelName; }
    int GetConnectionKind() const override { return m_kind; }

private:
    std::wstring m_modelName;
    int m_kind;
};

class NetworkDevice : public KVDeviceManager::INetworkDevice
{
public:
    NetworkDevice(std::wstring modelName, int connectionKind, int networkKind)
        : m_modelName(std::move(modelName)), m_connectionKind(connectionKind), m_networkKind(networkKind)
    {
    }
    std::wstring GetModelName() const override { return m_modelName; }
    int GetConnectionKind() const override { return m_connectionKind; }
    int GetNetworkKind() const override { return m_networkKind; }

private:
    std::wstring m_modelName;
    int m_connectionKind;
    int m_networkKind;
};

PrinterProperties DeviceRecord(const std::wstring& modelName, const std::wstring& connectionType)
{
    return {{1u, modelName}, {3u, connectionType}};
}

TEST(DevicePrinterRecordTests, Device_TellsItsModelAndConnectionAndNothingElse)
{
    EXPECT_EQ(BuildDevicePrinterRecord(Device(L"Acme 400", 1)), DeviceRecord(L"Acme 400", L"USB"));
    EXPECT_EQ(BuildDevicePrinterRecord(Device(L"Acme 400", 4)), DeviceRecord(L"Acme 400", L"Bluetooth"));
    EXPECT_EQ(BuildDevicePrinterRecord(Device(L"Acme 400", 7)), DeviceRecord(L"Acme 400", L"All"));
    EXPECT_EQ(BuildDevicePrinterRecord(Device(L"Acme 400", 0)), DeviceRecord(L"Acme 400", L"Unknown"));
    EXPECT_EQ(BuildDevicePrinterRecord(Device(L"Acme 400", 3)), DeviceRecord(L"Acme 400", L"Unknown"));
}

TEST(DevicePrinterRecordTests, ModelName_IsTakenAsItIsAndUnknownWhenEmpty)
{
    EXPECT_EQ(BuildDevicePrinterRecord(Device(L" Acme PCL Class ", 1)), DeviceRecord(L" Acme PCL Class ", L"USB"));
    EXPECT_EQ(BuildDevicePrinterRecord(Device(L"", 1)), DeviceRecord(L"Unknown", L"USB"));
}

TEST(DevicePrinterRecordTests, NetworkDevice_TellsItsNetworkToo)
{
    EXPECT_EQ(BuildDevicePrinterRecord(NetworkDevice(L"A", 2, 1)), DeviceRecord(L"A", L"Network-Wired"));
    EXPECT_EQ(BuildDevicePrinterRecord(NetworkDevice(L"A", 2, 2)), DeviceRecord(L"A", L"Network-Wireless"));
    EXPECT_EQ(BuildDevicePrinterRecord(NetworkDevice(L"A", 2, 0)), DeviceRecord(L"A", L"Network"));
    EXPECT_EQ(BuildDevicePrinterRecord(NetworkDevice(L"A", 2, 3)), DeviceRecord(L"A", L"Network"));
}

TEST(DevicePrinterRecordTests, NetworkConnectionOfAnotherDevice_TellsNoNetwork)
{
    EXPECT_EQ(BuildDevicePrinterRecord(Device(L"A", 2)), DeviceRecord(L"A", L"Network"));
}

TEST(DevicePrinterRecordTests, NetworkDeviceOfAnotherConnection_IsNotAskedForItsNetwork)
{
    class NeverAsked : public NetworkDevice
    {
    public:
        using NetworkDevice::NetworkDevice;
        int GetNetworkKind() const override
        {
            ADD_FAILURE() << "asked";
            return 1;
        }
    };
    EXPECT_EQ(BuildDevicePrinterRecord(NeverAsked(L"A", 1, 2)), DeviceRecord(L"A", L"USB"));
    EXPECT_EQ(BuildDevicePrinterRecord(NeverAsked(L"A", 7, 2)), DeviceRecord(L"A", L"All"));
    EXPECT_EQ(BuildDevicePrinterRecord(NeverAsked(L"A", 5, 2)), DeviceRecord(L"A", L"Unknown"));
}

TEST(DevicePrinterRecordTests, Devices_GiveOneRecordEachInTheirOrder)
{
    const Device first(L"B", 1);
    const NetworkDevice second(L"", 2, 2);
    const Device third(L"A", 4);
    EXPECT_THAT(BuildDevicePrinterRecords({&first, &second, &third, &first}),
                ElementsAre(DeviceRecord(L"B", L"USB"), DeviceRecord(L"Unknown", L"Network-Wireless"),
                            DeviceRecord(L"A", L"Bluetooth"), DeviceRecord(L"B", L"USB")));
    EXPECT_THAT(BuildDevicePrinterRecords({}), ElementsAre());
}

TEST(DevicePrinterRecordTests, Records_AreTraced)
{
    const KVTest::TemporaryFolder folder;
    const KVTest::RegistrySandbox settings;
    const std::wstring key = L"Software\\Norvik\\KV\\Logging";
    settings.SetString(key, L"LogFileName", folder.PathOf(L"log.txt"));
    settings.SetDword(key + L"\\analytics_reporting_tests.exe\\printerinventory.cpp", L"LogCategories", 0xFF0);
    const Device device(L"A", 1);
    BuildDevicePrinterRecords({&device});
    EXPECT_EQ(KVTest::ReadUtf16File(folder.PathOf(L"log.txt")),
              L"(->) KVAnalyticsReporting::BuildDevicePrinterRecords\r\n"
              L"(->) KVAnalyticsReporting::BuildDevicePrinterRecord\r\n"
              L"(<-) KVAnalyticsReporting::BuildDevicePrinterRecord\r\n"
              L"(<-) KVAnalyticsReporting::BuildDevicePrinterRecords\r\n");
}
} // namespace
