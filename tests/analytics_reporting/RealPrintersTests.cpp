// With the spooler and the registry of the system, and printers that the tests install.

#include <windows.h>

#include <gmock/gmock.h>

#include <list>
#include <stdexcept>
#include <string>
#include <vector>

#include "analytics_reporting/DriverFacts.h"
#include "analytics_reporting/PrinterInventory.h"
#include "device_manager/PrintUtil.h"

namespace
{
using namespace KVDeviceManager;
using KVAnalyticsReporting::PrinterProperties;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

const std::wstring kPrintersKey = L"System\\CurrentControlSet\\Control\\Print\\Printers";
const std::wstring kDriversKey = L"System\\ControlSet001\\Control\\Print\\Environments\\Windows x64\\Drivers";

// A key below HKEY_LOCAL_MACHINE, created if it is missing. The destructor deletes it with its subkeys, and the keys
// above it that were created for it and are empty.
class SeededKey
{
public:
    explicit SeededKey(const std::wstring& path) : m_path(path)
    {
        for (std::size_t end = path.find(L'\\'); end != std::wstring::npos; end = path.find(L'\\', end + 1))
        {
            Make(path.substr(0, end));
        }
        Make(path);
    }
    // NOLINTNEXTLINE(bugprone-exception-escape): emptying a checked vector
    ~SeededKey()
    {
        ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, m_path.c_str());
        for (; !m_made.empty(); m_made.pop_back())
        {
            ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, m_made.back().c_str());
        }
    }
    SeededKey(const SeededKey&) = delete;
    SeededKey& operator=(const SeededKey&) = delete;

    void SetBytes(const std::wstring& name, DWORD type, const void* bytes, std::size_t byteCount) const
    {
        if (::RegSetKeyValueW(HKEY_LOCAL_MACHINE, m_path.c_str(), name.c_str(), type, bytes,
                              static_cast<DWORD>(byteCount)) != ERROR_SUCCESS)
        {
            throw std::runtime_error("the value cannot be set");
        }
    }
    void SetString(const std::wstring& name, const std::wstring& text) const
    {
        SetBytes(name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    }
    void SetNumber(const std::wstring& name, DWORD number) const { SetBytes(name, REG_DWORD, &number, sizeof(number)); }

private:
    void Make(const std::wstring& path)
    {
        HKEY key = nullptr;
        DWORD disposition = 0;
        if (::RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_READ, nullptr, &key, &disposition) !=
            ERROR_SUCCESS)
        {
            throw std::runtime_error("the key cannot be made");
        }
        ::RegCloseKey(key);
        if (disposition == REG_CREATED_NEW_KEY)
        {
            m_made.push_back(path);
        }
    }

    std::wstring m_path;
    std::vector<std::wstring> m_made; // outermost first
};

// Every name has a mark of the test, which sets its printers apart from others.
class RealPrintersTests : public testing::Test
{
protected:
    void TearDown() override
    {
        for (; !m_keys.empty(); m_keys.pop_back()) // in reverse order, since a parent must be empty
        {
        }
    }

    std::wstring Marked(const std::wstring& name) const { return m_mark + name; }

    // A printer that the spooler can open. Returns its key for data.
    const SeededKey& AddPrinter(const std::wstring& name, const std::wstring& driverName)
    {
        const std::wstring path = kPrintersKey + L"\\" + Marked(name);
        const SeededKey& printer = m_keys.emplace_back(path);
        printer.SetString(L"Name", Marked(name));
        printer.SetString(L"Port", L"LPT1:");
        printer.SetString(L"Print Processor", L"WinPrint");
        printer.SetString(L"Datatype", L"RAW");
        printer.SetString(L"Printer Driver", driverName);
        return m_keys.emplace_back(path + L"\\PnPData");
    }
    const SeededKey& AddDriver(const std::wstring& versionFolder, const std::wstring& driverName)
    {
        return m_keys.emplace_back(kDriversKey + L"\\" + versionFolder + L"\\" + driverName);
    }
    std::list<std::wstring> OwnPrinters() const
    {
        std::list<std::wstring> names;
        EXPECT_EQ(CPrintUtil::FindAllPrinterNames(names), PRINT_S_OK);
        names.remove_if([this](const std::wstring& name) { return name.find(m_mark) != 0; });
        return names;
    }
    std::list<PrinterProperties> OwnRecords() const
    {
        std::list<PrinterProperties> records;
        KVAnalyticsReporting::EnumerateInstalledPrinters(records);
        records.remove_if([this](PrinterProperties& record) { return record[1].find(m_mark) != 0; });
        return records;
    }

private:
    std::wstring m_mark =
        L"KVTest-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(::GetTickCount64()) + L" ";
    std::list<SeededKey> m_keys;
};

TEST_F(RealPrintersTests, FindAllPrinterNames_FindsThePrinters)
{
    AddPrinter(L"B", L"Driver");
    EXPECT_THAT(OwnPrinters(), ElementsAre(Marked(L"B")));
    AddPrinter(L"A", L"Driver");
    EXPECT_THAT(OwnPrinters(), UnorderedElementsAre(Marked(L"A"), Marked(L"B")));
}

TEST_F(RealPrintersTests, GetPrinterDataValue_GivesTextsAndReasons)
{
    const SeededKey& data = AddPrinter(L"A", L"Driver");
    data.SetString(L"Text", L"Acme \u00E4");
    data.SetString(L"EmptyText", L"");
    data.SetBytes(L"NoBytes", REG_SZ, L"", 0);
    data.SetBytes(L"Unterminated", REG_SZ, L"Acme", 8);
    data.SetNumber(L"Number", 7);
    const std::wstring printer = Marked(L"A");
    std::wstring value;
    EXPECT_EQ(CPrintUtil::GetPrinterDataValue(printer.c_str(), L"PnPData", L"Text", value), PRINT_S_OK);
    EXPECT_EQ(value, L"Acme \u00E4");
    EXPECT_EQ(CPrintUtil::GetPrinterDataValue(printer.c_str(), L"PnPData", L"EmptyText", value), PRINT_S_OK);
    EXPECT_EQ(value, L"");
    EXPECT_EQ(CPrintUtil::GetPrinterDataValue(printer.c_str(), L"PnPData", L"Unterminated", value), PRINT_S_OK);
    EXPECT_EQ(value, L"Acme");
    EXPECT_EQ(CPrintUtil::GetPrinterDataValue(printer.c_str(), L"PnPData", L"NoBytes", value), PRINT_S_OK);
    EXPECT_EQ(value, L"");
    EXPECT_EQ(CPrintUtil::GetPrinterDataValue(printer.c_str(), L"PnPData", L"Missing", value), PRINT_E_VALUE_NOT_FOUND);
    EXPECT_EQ(CPrintUtil::GetPrinterDataValue(printer.c_str(), L"NoSuchKey", L"Text", value), PRINT_E_VALUE_NOT_FOUND);
    EXPECT_EQ(CPrintUtil::GetPrinterDataValue(printer.c_str(), L"PnPData", L"Number", value), PRINT_E_NOT_A_STRING);
    EXPECT_EQ(CPrintUtil::GetPrinterDataValue(Marked(L"Z").c_str(), L"PnPData", L"Text", value),
              PRINT_E_INVALID_PARAMETER);
}

TEST_F(RealPrintersTests, GetPrinterDriverName_GivesTheDriver)
{
    AddPrinter(L"A", L"Acme Laser Class Driver");
    std::wstring driverName;
    EXPECT_EQ(CPrintUtil::GetPrinterDriverName(Marked(L"A"), driverName), PRINT_S_OK);
    EXPECT_EQ(driverName, L"Acme Laser Class Driver");
    EXPECT_EQ(CPrintUtil::GetPrinterDriverName(Marked(L"Z"), driverName), PRINT_E_INVALID_PARAMETER);
}

TEST_F(RealPrintersTests, DriverFacts_AreReadFromTheRegistry)
{
    const std::wstring third = Marked(L"Third");
    AddDriver(L"Version-3", third).SetNumber(L"Version", 3);
    const std::wstring fourth = Marked(L"Fourth");
    AddDriver(L"Version-3", fourth).SetNumber(L"Version", 2);
    const SeededKey& fourthKey = AddDriver(L"Version-4", fourth);
    fourthKey.SetNumber(L"Version", 4);
    fourthKey.SetString(L"DriverVersion", std::wstring(259, L'9'));
    const std::wstring tooLong = Marked(L"TooLong");
    AddDriver(L"Version-3", tooLong).SetString(L"DriverVersion", std::wstring(260, L'9'));
    EXPECT_EQ(KVAnalyticsReporting::GetDriverType(third), L"V3");
    EXPECT_EQ(KVAnalyticsReporting::GetDriverVersion(third), L"Unknown");
    EXPECT_EQ(KVAnalyticsReporting::GetDriverType(fourth), L"V4");
    EXPECT_EQ(KVAnalyticsReporting::GetDriverVersion(fourth), std::wstring(259, L'9'));
    EXPECT_EQ(KVAnalyticsReporting::GetDriverVersion(tooLong), L"Unknown");
    EXPECT_EQ(KVAnalyticsReporting::GetDriverType(Marked(L"Missing")), L"Unknown");
}

TEST_F(RealPrintersTests, EnumerateInstalledPrinters_TellsThePrintersOfPlugAndPlay)
{
    const SeededKey& usb = AddPrinter(L"1", Marked(L"Laser PCL Class"));
    usb.SetString(L"DeviceInstanceId", L"USBPRINT\\ACMELASER\\7&1");
    usb.SetString(L"Manufacturer", L"Acme Inc.");
    const SeededKey& driver = AddDriver(L"Version-3", Marked(L"Laser PCL Class"));
    driver.SetNumber(L"Version", 3);
    driver.SetString(L"DriverVersion", L"6.1.7600.16385");
    AddPrinter(L"2", Marked(L"Fax Driver"));
    const SeededKey& network = AddPrinter(L"3", Marked(L"Inkjet Class Driver"));
    network.SetString(L"DeviceInstanceId", L"SWD\\DAFWSDPROVIDER\\1");
    AddDriver(L"Version-4", Marked(L"Inkjet Class Driver")).SetNumber(L"Version", 4);
    EXPECT_THAT(OwnRecords(),
                testing::UnorderedElementsAre(
                    PrinterProperties{
                        {1u, Marked(L"Laser")}, {2u, L"Acme Inc."}, {3u, L"USB"}, {4u, L"V3"}, {5u, L"6.1.7600.16385"}},
                    PrinterProperties{
                        {1u, Marked(L"Inkjet")}, {2u, L"Unknown"}, {3u, L"Network"}, {4u, L"V4"}, {5u, L"Unknown"}}));
}
} // namespace
