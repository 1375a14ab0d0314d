#include "device_manager/PrintUtil.h"

#include <windows.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/device_manager/ScriptedSpooler.h"
#include "tests/support/AllocationHook.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TemporaryFolder.h"

namespace
{
using namespace KVDeviceManager;
using KVTest::BytesOf;
using testing::ElementsAre;

using Calls = std::vector<std::wstring>;

constexpr DWORD kEverything = 0xFF0;

// The value of an out-parameter before the call.
constexpr wchar_t kBefore[] = L"before";

constexpr char kSpoolerError[] = "of the spooler";

// Fails allocations of sizes in that range, and remembers the largest that it failed.
class FailingAllocations
{
public:
    explicit FailingAllocations(std::size_t least, std::size_t most = SIZE_MAX)
    {
        s_least = least;
        s_most = most;
        s_largest = 0;
    }
    static std::size_t Largest() { return s_largest; }

private:
    static void Fail(std::size_t byteCount)
    {
        if (byteCount >= s_least && byteCount <= s_most)
        {
            s_largest = std::max(s_largest, byteCount);
            throw std::bad_alloc();
        }
    }
    static inline std::size_t s_least;
    static inline std::size_t s_most;
    static inline std::size_t s_largest;
    KVTest::AllocationHook m_hook{&Fail};
};

// A buffer of that size is allocated; a standard library may add some bytes of its own.
void ExpectBuffer(std::size_t allocated, std::size_t needed)
{
    constexpr std::size_t kMostAdded = 64;
    EXPECT_GE(allocated, needed);
    EXPECT_LE(allocated, needed + kMostAdded);
}

// The place of a text according to a damaged answer.
struct DamagedPlace
{
    const char* name;
    std::function<const void*(BYTE* buffer, DWORD size)> find;
};

const std::vector<DamagedPlace>& DamagedPlaces()
{
    static const wchar_t s_elsewhere[] = L"elsewhere";
    static const std::vector<DamagedPlace> s_places = {
        {"before the buffer", [](BYTE* buffer, DWORD) { return buffer - sizeof(wchar_t); }},
        {"behind the buffer", [](BYTE* buffer, DWORD size) { return buffer + size; }},
        {"in other memory", [](BYTE*, DWORD) { return s_elsewhere; }},
        {"in no memory", [](BYTE*, DWORD) { return reinterpret_cast<const void*>(ULONG_PTR{16}); }},
        {"at the end of the address space", [](BYTE*, DWORD) { return reinterpret_cast<const void*>(~ULONG_PTR{1}); }},
        {"inside a character", [](BYTE* buffer, DWORD size) { return buffer + size - 3; }},
        {"in the last byte", [](BYTE* buffer, DWORD size) { return buffer + size - 1; }},
    };
    return s_places;
}

// A spooler that follows a script, and a log file with every message.
class PrintUtilTests : public testing::Test
{
protected:
    PrintUtilTests()
    {
        const std::wstring key = L"Software\\Norvik\\KV\\Logging";
        m_registry.SetString(key, L"LogFileName", m_folder.PathOf(L"log.txt"));
        m_registry.SetDword(key, L"LogCategories", kEverything);
    }
    std::wstring Log() const { return KVTest::ReadUtf16File(m_folder.PathOf(L"log.txt")); }

    KVTest::ScriptedSpooler m_spooler;

private:
    KVTest::TemporaryFolder m_folder;
    KVTest::RegistrySandbox m_registry;
    KVTest::ScopedSubstitute<KVWinApi::ISpoolerApi> m_swap{KVWinApi::g_spoolerApi, m_spooler};
};

class FindAllPrinterNamesTests : public PrintUtilTests
{
protected:
    // The names that the system reports for these printers.
    void Script(const std::vector<const wchar_t*>& names)
    {
        const DWORD size = KVTest::ScriptedSpooler::SizeOfEntries(names);
        m_spooler.enumAnswers = {{FALSE, size, 0}, {TRUE, size, static_cast<DWORD>(names.size()), names}};
    }
    static std::wstring Query() { return L"EnumPrintersW flags 2, no name, level 5, no buffer of 0"; }
    static std::wstring Read(DWORD size)
    {
        return L"EnumPrintersW flags 2, no name, level 5, buffer of " + std::to_wstring(size);
    }
    static std::wstring Scope()
    {
        return L"(->) CPrintUtil::FindAllPrinterNames\r\n(<-) CPrintUtil::FindAllPrinterNames\r\n";
    }

    std::list<std::wstring> m_names{kBefore};
};

TEST_F(FindAllPrinterNamesTests, Printers_ReplaceTheListInTheirOrder)
{
    Script({L"Zebra", L"Acme Laser", L"\\\\server\\Acme", L"Acme Laser"});
    EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_S_OK);
    EXPECT_THAT(m_names, ElementsAre(L"Zebra", L"Acme Laser", L"\\\\server\\Acme", L"Acme Laser"));
    const DWORD size = 4 * 32 + 2 * (6 + 11 + 14 + 11); // the level's records, then the names
    EXPECT_EQ(m_spooler.calls, (Calls{Query(), Read(size)}));
    EXPECT_EQ(Log(), Scope());
}

TEST_F(FindAllPrinterNamesTests, NoSizeNeeded_IsAFailureAfterOneCall)
{
    for (const BOOL result : {TRUE, FALSE})
    {
        m_names = {kBefore};
        m_spooler.enumAnswers = {{result, 0, 3}};
        EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_E_FAILED);
        EXPECT_THAT(m_names, ElementsAre());
    }
    EXPECT_EQ(m_spooler.calls, (Calls{Query(), Query()}));
    EXPECT_EQ(Log(), Scope() + Scope());
}

TEST_F(FindAllPrinterNamesTests, SizeQueryLeavesTheSizeAlone_IsAFailureAfterOneCall)
{
    m_spooler.enumAnswers = {{FALSE}};
    EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_E_FAILED);
    EXPECT_THAT(m_names, ElementsAre());
    EXPECT_EQ(m_spooler.calls, (Calls{Query()}));
}

TEST_F(FindAllPrinterNamesTests, SizeQuerySucceeds_IsFollowedByTheSecondCallToo)
{
    Script({L"A"});
    m_spooler.enumAnswers.front().result = TRUE;
    EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_S_OK);
    EXPECT_THAT(m_names, ElementsAre(L"A"));
}

TEST_F(FindAllPrinterNamesTests, OneByteNeeded_IsEnoughForTheSecondCall)
{
    m_spooler.enumAnswers = {{FALSE, 1, 0}, {TRUE, 1, 0}};
    EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_S_OK);
    EXPECT_THAT(m_names, ElementsAre());
    EXPECT_EQ(m_spooler.calls, (Calls{Query(), Read(1)}));
}

TEST_F(FindAllPrinterNamesTests, SecondCallFails_IsAFailureWithoutNames)
{
    Script({L"A", L"B"});
    m_spooler.enumAnswers.back().result = FALSE;
    EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_E_FAILED);
    EXPECT_THAT(m_names, ElementsAre());
    EXPECT_EQ(m_spooler.calls, (Calls{Query(), Read(72)}));
    EXPECT_EQ(Log(), Scope());
}

TEST_F(FindAllPrinterNamesTests, PrinterAddedInBetween_IsAFailureWithoutNames)
{
    Script({L"A", L"B"});
    m_spooler.enumAnswers.back() = {FALSE, 108, 0};
    EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_E_FAILED);
    EXPECT_THAT(m_names, ElementsAre());
    EXPECT_EQ(m_spooler.calls, (Calls{Query(), Read(72)}));
}

TEST_F(FindAllPrinterNamesTests, PrinterRemovedInBetween_GivesThoseThatAreLeft)
{
    Script({L"A", L"B"});
    m_spooler.enumAnswers.back() = {TRUE, 36, 1, {L"B"}};
    EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_S_OK);
    EXPECT_THAT(m_names, ElementsAre(L"B"));
    EXPECT_EQ(m_spooler.calls, (Calls{Query(), Read(72)}));
}

TEST_F(FindAllPrinterNamesTests, MoreEntriesThanTheBufferHolds_AreNotRead)
{
    // Room for two records only, whatever the count says.
    Script({L"A", L"B"});
    m_spooler.enumAnswers.back().entryCount = 0xFFFFFFFF;
    EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_S_OK);
    EXPECT_THAT(m_names, ElementsAre(L"A", L"B"));
}

TEST_F(FindAllPrinterNamesTests, EntryWithoutName_IsLeftOut)
{
    Script({L"A", nullptr, L"C"});
    EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_S_OK);
    EXPECT_THAT(m_names, ElementsAre(L"A", L"C"));
}

TEST_F(FindAllPrinterNamesTests, MoreBytesToldThanThereWasRoomFor_AreNotRead)
{
    Script({L"A", L"B"});
    m_spooler.enumAnswers.back().neededBytes = 0xFFFFFFFF;
    m_spooler.enumAnswers.back().entryCount = 3;
    EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_S_OK);
    EXPECT_THAT(m_names, ElementsAre(L"A", L"B"));
}

TEST_F(FindAllPrinterNamesTests, NameOutsideTheBuffer_IsLeftOut)
{
    for (const DamagedPlace& place : DamagedPlaces())
    {
        Script({L"A", L"B", L"C"});
        m_spooler.enumAnswers.back().damage = [&place](BYTE* buffer, DWORD size) {
            const void* const name = place.find(buffer, size);
            std::memcpy(buffer + sizeof(PRINTER_INFO_5W), &name, sizeof(name));
        };
        EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_S_OK) << place.name;
        EXPECT_THAT(m_names, ElementsAre(L"A", L"C")) << place.name;
    }
}

TEST_F(FindAllPrinterNamesTests, NameWithoutAnEndInTheBuffer_IsLeftOut)
{
    Script({L"A", L"B", L"C"});
    m_spooler.enumAnswers.back().damage = [](BYTE* buffer, DWORD size) { buffer[size - sizeof(wchar_t)] = 'x'; };
    EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_S_OK);
    EXPECT_THAT(m_names, ElementsAre(L"A", L"B"));
}

TEST_F(FindAllPrinterNamesTests, NameWithHalfAZeroAtTheEndOfTheBuffer_IsLeftOut)
{
    Script({L"A", L"B"});
    const DWORD oddSize = KVTest::ScriptedSpooler::SizeOfEntries({L"A", L"B"}) + 1;
    for (KVTest::ScriptedSpooler::EnumAnswer& answer : m_spooler.enumAnswers)
    {
        answer.neededBytes = oddSize;
    }
    m_spooler.enumAnswers.back().damage = [](BYTE* buffer, DWORD size) { buffer[size - 3] = 'x'; };
    EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_S_OK);
    EXPECT_THAT(m_names, ElementsAre(L"A"));
}

TEST_F(FindAllPrinterNamesTests, BufferCannotBeAllocated_IsOutOfMemoryAfterOneCall)
{
    constexpr DWORD kNeeded = 1u << 20;
    m_spooler.enumAnswers = {{FALSE, kNeeded, 0}};
    {
        const FailingAllocations fail(kNeeded);
        EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_E_OUT_OF_MEMORY);
    }
    ExpectBuffer(FailingAllocations::Largest(), kNeeded);
    EXPECT_THAT(m_names, ElementsAre());
    EXPECT_EQ(m_spooler.calls, (Calls{Query()}));
    EXPECT_EQ(Log(), Scope());
}

TEST_F(FindAllPrinterNamesTests, NameCannotBeAllocated_IsOutOfMemoryWithoutNames)
{
    const std::wstring name(500'000, L'n');
    Script({L"A", name.c_str(), L"C"});
    for (KVTest::ScriptedSpooler::EnumAnswer& answer : m_spooler.enumAnswers)
    {
        *answer.neededBytes += 10'000; // sets the buffer apart from the name
    }
    {
        const FailingAllocations fail(1'000'002, 1'001'000);
        EXPECT_EQ(CPrintUtil::FindAllPrinterNames(m_names), PRINT_E_OUT_OF_MEMORY);
    }
    EXPECT_GE(FailingAllocations::Largest(), 1'000'002u);
    EXPECT_THAT(m_names, ElementsAre());
}

TEST_F(FindAllPrinterNamesTests, ExceptionOfTheSpooler_PassesOn)
{
    Script({L"A"});
    m_spooler.enumAnswers.front().error = kSpoolerError;
    EXPECT_THROW(CPrintUtil::FindAllPrinterNames(m_names), std::runtime_error);
    EXPECT_THAT(m_names, ElementsAre());
    Script({L"A"});
    m_spooler.enumAnswers.back().error = kSpoolerError;
    EXPECT_THROW(CPrintUtil::FindAllPrinterNames(m_names), std::runtime_error);
    EXPECT_EQ(Log(), Scope() + Scope());
}

class GetPrinterDataValueTests : public PrintUtilTests
{
protected:
    HRESULT Get() { return CPrintUtil::GetPrinterDataValue(L"Acme Laser", L"PnPData", L"Manufacturer", m_value); }
    // The size query and its answer for a string of that many bytes.
    static KVTest::ScriptedSpooler::DataAnswer Needs(DWORD byteCount) { return {ERROR_MORE_DATA, REG_SZ, byteCount}; }
    static KVTest::ScriptedSpooler::DataAnswer Delivers(const std::string& bytes)
    {
        return {ERROR_SUCCESS, REG_SZ, static_cast<DWORD>(bytes.size()), bytes};
    }
    static std::wstring Open() { return L"OpenPrinterW Acme Laser, default access"; }
    static std::wstring Query() { return L"GetPrinterDataExW 1234, PnPData, Manufacturer, no buffer of 0"; }
    static std::wstring Read(DWORD size)
    {
        return L"GetPrinterDataExW 1234, PnPData, Manufacturer, buffer of " + std::to_wstring(size);
    }
    static std::wstring Close() { return L"ClosePrinter 1234"; }
    static Calls AfterQuery() { return {Open(), Query(), Close()}; }
    static Calls AfterRead(DWORD size) { return {Open(), Query(), Read(size), Close()}; }
    static std::wstring Scope(const std::wstring& line = L"", const std::wstring& secondLine = L"")
    {
        return L"(->) CPrintUtil::GetPrinterDataValue\r\n" + (line.empty() ? L"" : L"(##) " + line + L"\r\n") +
               (secondLine.empty() ? L"" : L"(##) " + secondLine + L"\r\n") +
               L"(<-) CPrintUtil::GetPrinterDataValue\r\n";
    }

    std::wstring m_value = kBefore;
};

TEST_F(GetPrinterDataValueTests, Value_IsReadInTwoCalls)
{
    m_spooler.dataAnswers = {Needs(10), Delivers(BytesOf(std::wstring(L"Acme\0", 5)))};
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_value, L"Acme");
    EXPECT_EQ(m_spooler.calls, AfterRead(10));
    EXPECT_EQ(Log(), Scope());
}

struct MissingCase
{
    const char* name;
    const wchar_t *printerName, *keyName, *valueName;
};

void PrintTo(const MissingCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class MissingArgumentTests : public GetPrinterDataValueTests, public testing::WithParamInterface<MissingCase>
{
};

TEST_P(MissingArgumentTests, IsInvalidWithoutAnyCall)
{
    EXPECT_EQ(
        CPrintUtil::GetPrinterDataValue(GetParam().printerName, GetParam().keyName, GetParam().valueName, m_value),
        PRINT_E_INVALID_PARAMETER);
    EXPECT_EQ(m_value, kBefore);
    EXPECT_EQ(m_spooler.calls, Calls());
    EXPECT_EQ(Log(), Scope(L"GetPrinterDataValue - Invalid parameter"));
}

INSTANTIATE_TEST_SUITE_P(PrintUtilTests, MissingArgumentTests,
                         testing::Values(MissingCase{"MissingPrinterName", nullptr, L"k", L"v"},
                                         MissingCase{"EmptyPrinterName", L"", L"k", L"v"},
                                         MissingCase{"MissingKeyName", L"p", nullptr, L"v"},
                                         MissingCase{"EmptyKeyName", L"p", L"", L"v"},
                                         MissingCase{"MissingValueName", L"p", L"k", nullptr},
                                         MissingCase{"EmptyValueName", L"p", L"k", L""},
                                         MissingCase{"NothingAtAll", nullptr, nullptr, nullptr}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(GetPrinterDataValueTests, PrinterCannotBeOpened_IsInvalidAndNothingIsClosed)
{
    m_spooler.canOpen = FALSE;
    EXPECT_EQ(Get(), PRINT_E_INVALID_PARAMETER);
    EXPECT_EQ(m_value, kBefore);
    EXPECT_EQ(m_spooler.calls, (Calls{Open()}));
    EXPECT_EQ(Log(), Scope(L"GetPrinterDataValue - OpenPrinter(Acme Laser) failed"));
}

TEST_F(GetPrinterDataValueTests, NameOfAPrinterThatCannotBeOpened_IsLoggedLetterByLetter)
{
    m_spooler.canOpen = FALSE;
    EXPECT_EQ(CPrintUtil::GetPrinterDataValue(L"50 %s \u00E4", L"k", L"v", m_value), PRINT_E_INVALID_PARAMETER);
    EXPECT_EQ(Log(), Scope(L"GetPrinterDataValue - OpenPrinter(50 %s \u00E4) failed"));
}

struct QueryCase
{
    const char* name;
    DWORD status;
    HRESULT expected;
    const wchar_t* expectedLine;
};

void PrintTo(const QueryCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class FailedQueryTests : public GetPrinterDataValueTests, public testing::WithParamInterface<QueryCase>
{
};

TEST_P(FailedQueryTests, GivesItsResultAndClosesThePrinter)
{
    m_spooler.dataAnswers = {{GetParam().status, REG_SZ, 10}};
    EXPECT_EQ(Get(), GetParam().expected);
    EXPECT_EQ(m_value, kBefore);
    EXPECT_EQ(m_spooler.calls, AfterQuery());
    EXPECT_EQ(Log(), Scope(GetParam().expectedLine));
}

INSTANTIATE_TEST_SUITE_P(PrintUtilTests, FailedQueryTests,
                         testing::Values(QueryCase{"AccessDenied", 5, PRINT_E_ACCESS_DENIED,
                                                   L"GetPrinterDataValue - GetPrinterDataEx() failed : Access denied"},
                                         QueryCase{"FileNotFound", 2, PRINT_E_VALUE_NOT_FOUND,
                                                   L"GetPrinterDataValue - GetPrinterDataEx() failed : file not found"},
                                         QueryCase{"Success", 0, PRINT_E_FAILED, L""},
                                         QueryCase{"InvalidFunction", 1, PRINT_E_FAILED, L""},
                                         QueryCase{"InvalidHandle", 6, PRINT_E_FAILED, L""},
                                         QueryCase{"InsufficientBuffer", 122, PRINT_E_FAILED, L""},
                                         QueryCase{"InvalidPrinterName", 1801, PRINT_E_FAILED, L""},
                                         QueryCase{"NextAfterMoreData", 235, PRINT_E_FAILED, L""},
                                         QueryCase{"Largest", 0xFFFFFFFF, PRINT_E_FAILED, L""}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(GetPrinterDataValueTests, AnyOtherType_IsNotAString)
{
    // The size is not reported: the type is judged first.
    for (const DWORD type : {0u, 2u, 3u, 4u, 5u, 6u, 7u, 11u, 0x10001u})
    {
        m_spooler.dataAnswers = {{ERROR_MORE_DATA, type, type % 2 == 0 ? 10u : 0u}};
        m_spooler.calls.clear();
        EXPECT_EQ(Get(), PRINT_E_NOT_A_STRING) << type;
        EXPECT_EQ(m_value, kBefore) << type;
        EXPECT_EQ(m_spooler.calls, AfterQuery()) << type;
    }
}

TEST_F(GetPrinterDataValueTests, WrongType_IsLogged)
{
    m_spooler.dataAnswers = {{ERROR_MORE_DATA, REG_DWORD, 4}};
    EXPECT_EQ(Get(), PRINT_E_NOT_A_STRING);
    EXPECT_EQ(Log(), Scope(L"GetPrinterDataValue - GetPrinterDataEx() failed : Wrong data type"));
}

TEST_F(GetPrinterDataValueTests, TypeNotTold_IsNotAString)
{
    m_spooler.dataAnswers = {{ERROR_MORE_DATA, std::nullopt, 10}};
    EXPECT_EQ(Get(), PRINT_E_NOT_A_STRING);
    EXPECT_EQ(m_spooler.calls, AfterQuery());
}

TEST_F(GetPrinterDataValueTests, NoBytes_AreTheEmptyTextAndASuccess)
{
    m_spooler.dataAnswers = {{ERROR_MORE_DATA, REG_SZ, 0}};
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_value, L"");
    EXPECT_EQ(m_spooler.calls, AfterQuery());
    EXPECT_EQ(Log(), Scope(L"GetPrinterDataValue - GetPrinterDataEx() failed : cbData == 0"));
}

TEST_F(GetPrinterDataValueTests, SizeNotTold_IsTheEmptyTextAndASuccess)
{
    m_spooler.dataAnswers = {{ERROR_MORE_DATA, REG_SZ, std::nullopt}};
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_value, L"");
    EXPECT_EQ(m_spooler.calls, AfterQuery());
}

struct TextCase
{
    const char* name;
    std::string bytes;
    std::wstring expected;
};

void PrintTo(const TextCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class ValueTextTests : public GetPrinterDataValueTests, public testing::WithParamInterface<TextCase>
{
};

TEST_P(ValueTextTests, HasHalfAsManyCharactersLessATerminatingZero)
{
    const auto size = static_cast<DWORD>(GetParam().bytes.size());
    m_spooler.dataAnswers = {Needs(size), Delivers(GetParam().bytes)};
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_value, GetParam().expected);
    EXPECT_EQ(m_spooler.calls, AfterRead(size));
    EXPECT_EQ(Log(), Scope());
}

const std::wstring kZero(1, L'\0');

INSTANTIATE_TEST_SUITE_P(
    PrintUtilTests, ValueTextTests,
    testing::Values(TextCase{"Terminated", BytesOf(L"Acme" + kZero), L"Acme"},
                    TextCase{"NotTerminated", BytesOf(L"Acme"), L"Acme"}, TextCase{"OneCharacter", BytesOf(L"A"), L"A"},
                    TextCase{"TerminatingZeroOnly", BytesOf(kZero), L""},
                    TextCase{"TwoTerminatingZeros", BytesOf(L"Acme" + kZero + kZero), L"Acme" + kZero},
                    TextCase{"ZeroInside", BytesOf(L"Ac" + kZero + L"me" + kZero), L"Ac" + kZero + L"me"},
                    TextCase{"ZeroInsideNotTerminated", BytesOf(kZero + L"me"), kZero + L"me"},
                    TextCase{"OneByte", std::string("A"), L""},
                    TextCase{"HalfACharacterAtTheEnd", BytesOf(L"Acme") + "x", L"Acme"},
                    TextCase{"HalfACharacterBehindTheZero", BytesOf(L"Acme" + kZero) + "x", L"Acme"},
                    TextCase{"HalfAZeroAtTheEnd", BytesOf(L"Acme") + std::string(1, '\0'), L"Acme"},
                    TextCase{"LastCharacterWithALowByteOfZero", BytesOf(L"Acme\u0100"), L"Acme\u0100"},
                    TextCase{"BeyondTheBasicPlane", BytesOf(L"\U0001F5A8\u00E4" + kZero), L"\U0001F5A8\u00E4"},
                    TextCase{"Long", BytesOf(std::wstring(100'000, L'n') + kZero), std::wstring(100'000, L'n')}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(GetPrinterDataValueTests, ValueBecomesShorterInBetween_IsReadAsFarAsItGoes)
{
    m_spooler.dataAnswers = {Needs(100), Delivers(BytesOf(L"New" + kZero))};
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_value, L"New");
    EXPECT_EQ(m_spooler.calls, AfterRead(100));
}

TEST_F(GetPrinterDataValueTests, ValueBecomesEmptyInBetween_IsTheEmptyText)
{
    m_spooler.dataAnswers = {Needs(100), Delivers("")};
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_value, L"");
}

TEST_F(GetPrinterDataValueTests, ValueGrowsInBetween_IsAFailure)
{
    m_spooler.dataAnswers = {Needs(6), {ERROR_MORE_DATA, REG_SZ, 12}};
    EXPECT_EQ(Get(), PRINT_E_FAILED);
    EXPECT_EQ(m_value, kBefore);
    EXPECT_EQ(m_spooler.calls, AfterRead(6));
    EXPECT_EQ(Log(), Scope(L"GetPrinterDataValue - GetPrinterDataEx() failed the 2nd time"));
}

TEST_F(GetPrinterDataValueTests, SecondCallFails_IsAFailureWhateverTheReason)
{
    for (const DWORD status : {5u, 2u, 1u, 6u, 0xFFFFFFFFu})
    {
        m_spooler.dataAnswers = {Needs(8), {status, REG_SZ, 8, BytesOf(L"Acme")}};
        m_spooler.calls.clear();
        EXPECT_EQ(Get(), PRINT_E_FAILED) << status;
        EXPECT_EQ(m_value, kBefore) << status;
        EXPECT_EQ(m_spooler.calls, AfterRead(8)) << status;
    }
}

TEST_F(GetPrinterDataValueTests, MoreBytesToldThanThereWasRoomFor_AreNotRead)
{
    for (const DWORD told : {10u, 12u, 4096u, 0x80000000u, 0xFFFFFFFFu})
    {
        m_spooler.dataAnswers = {Needs(8), {ERROR_SUCCESS, REG_SZ, told, BytesOf(L"AcmeInc.")}};
        EXPECT_EQ(Get(), PRINT_S_OK) << told;
        EXPECT_EQ(m_value, L"Acme") << told;
    }
    // The buffer has room for the other half of an odd size's last byte, which is not delivered either.
    m_spooler.dataAnswers = {Needs(7), {ERROR_SUCCESS, REG_SZ, 8, BytesOf(L"Acme")}};
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_value, L"Acm");
}

TEST_F(GetPrinterDataValueTests, SecondCallDoesNotTellTheSize_IsOfTheSizeOfTheFirst)
{
    m_spooler.dataAnswers = {Needs(10), {ERROR_SUCCESS, REG_SZ, std::nullopt, BytesOf(L"Acme" + kZero)}};
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_value, L"Acme");
}

TEST_F(GetPrinterDataValueTests, BufferCannotBeAllocated_IsOutOfMemoryAndClosesThePrinter)
{
    constexpr DWORD kNeeded = 1u << 20;
    m_spooler.dataAnswers = {Needs(kNeeded)};
    {
        const FailingAllocations fail(kNeeded);
        EXPECT_EQ(Get(), PRINT_E_OUT_OF_MEMORY);
    }
    EXPECT_EQ(m_value, kBefore);
    EXPECT_EQ(m_spooler.calls, AfterQuery());
    EXPECT_EQ(Log(), Scope(L"GetPrinterDataValue - GetPrinterDataEx() exception thrown"));
}

TEST_F(GetPrinterDataValueTests, AbsurdSize_IsAskedForWholeAndIsOutOfMemory)
{
    m_spooler.dataAnswers = {Needs(0xFFFFFFFF)};
    {
        const FailingAllocations fail(1u << 20);
        EXPECT_EQ(Get(), PRINT_E_OUT_OF_MEMORY);
    }
    EXPECT_GE(FailingAllocations::Largest(), 0xFFFFFFFFu); // and not what is left of it in 32 bits
    EXPECT_EQ(m_spooler.calls, AfterQuery());
}

TEST_F(GetPrinterDataValueTests, OtherExceptionOfTheAllocation_PassesOnAndClosesThePrinter)
{
    m_spooler.dataAnswers = {Needs(1u << 20)};
    {
        const KVTest::AllocationHook hook([](std::size_t byteCount) {
            if (byteCount >= 1u << 20)
            {
                throw std::logic_error("not a failed allocation");
            }
        });
        EXPECT_THROW(Get(), std::logic_error);
    }
    EXPECT_EQ(m_spooler.calls, AfterQuery());
    EXPECT_EQ(Log(), Scope());
}

TEST_F(GetPrinterDataValueTests, ExceptionOfTheFirstCall_PassesOnAndClosesThePrinter)
{
    m_spooler.dataAnswers = {{.error = kSpoolerError}};
    EXPECT_THROW(Get(), std::runtime_error);
    EXPECT_EQ(m_value, kBefore);
    EXPECT_EQ(m_spooler.calls, AfterQuery());
    EXPECT_EQ(Log(), Scope());
}

TEST_F(GetPrinterDataValueTests, ExceptionOfTheSecondCall_PassesOnAndClosesThePrinter)
{
    m_spooler.dataAnswers = {Needs(8), {.error = kSpoolerError}};
    m_spooler.closeError = ERROR_INVALID_HANDLE; // which is not logged when an exception passes
    EXPECT_THROW(Get(), std::runtime_error);
    EXPECT_EQ(m_value, kBefore);
    EXPECT_EQ(m_spooler.calls, AfterRead(8));
    EXPECT_EQ(Log(), Scope());
}

TEST_F(GetPrinterDataValueTests, ClosingFails_IsLoggedWithTheErrorAndKeepsTheResult)
{
    m_spooler.closeError = ERROR_INVALID_HANDLE;
    m_spooler.dataAnswers = {Needs(8), Delivers(BytesOf(L"Acme"))};
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_value, L"Acme");
    EXPECT_EQ(m_spooler.calls, AfterRead(8));
    EXPECT_EQ(Log(), Scope(L"ClosePrinter failed with err = 6"));
}

TEST_F(GetPrinterDataValueTests, ClosingFailsAfterAFailure_IsLoggedBehindIt)
{
    m_spooler.closeError = ERROR_INVALID_PRINTER_NAME;
    m_spooler.dataAnswers = {{ERROR_ACCESS_DENIED}};
    EXPECT_EQ(Get(), PRINT_E_ACCESS_DENIED);
    EXPECT_EQ(m_spooler.calls, AfterQuery());
    EXPECT_EQ(Log(), Scope(L"GetPrinterDataValue - GetPrinterDataEx() failed : Access denied",
                           L"ClosePrinter failed with err = 1801"));
}

class GetPrinterDriverNameTests : public PrintUtilTests
{
protected:
    HRESULT Get() { return CPrintUtil::GetPrinterDriverName(L"Acme Laser", m_name); }
    void Script(const wchar_t* driverName)
    {
        const DWORD size = KVTest::ScriptedSpooler::SizeOfDriver(driverName);
        m_spooler.driverAnswers = {{FALSE, size}, {TRUE, size, driverName}};
    }
    static std::wstring Open() { return L"OpenPrinterW Acme Laser, default access"; }
    static std::wstring Query() { return L"GetPrinterDriverW 1234, no environment, level 1, no buffer of 0"; }
    static std::wstring Read(DWORD size)
    {
        return L"GetPrinterDriverW 1234, no environment, level 1, buffer of " + std::to_wstring(size);
    }
    static std::wstring Close() { return L"ClosePrinter 1234"; }
    static Calls AfterQuery() { return {Open(), Query(), Close()}; }
    static Calls AfterRead(DWORD size) { return {Open(), Query(), Read(size), Close()}; }
    static std::wstring Scope()
    {
        return L"(->) CPrintUtil::GetPrinterDriverName\r\n(<-) CPrintUtil::GetPrinterDriverName\r\n";
    }

    std::wstring m_name = kBefore;
};

TEST_F(GetPrinterDriverNameTests, Driver_IsReadInTwoCalls)
{
    Script(L"Acme Laser PCL Class");
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_name, L"Acme Laser PCL Class");
    EXPECT_EQ(m_spooler.calls, AfterRead(8 + 2 * 21));
    EXPECT_EQ(Log(), Scope());
}

TEST_F(GetPrinterDriverNameTests, EmptyPrinterName_IsAFailureWithoutAnyCall)
{
    EXPECT_EQ(CPrintUtil::GetPrinterDriverName(L"", m_name), PRINT_E_FAILED);
    EXPECT_EQ(m_name, kBefore);
    EXPECT_EQ(m_spooler.calls, Calls());
    EXPECT_EQ(Log(), Scope());
}

TEST_F(GetPrinterDriverNameTests, PrinterCannotBeOpened_IsInvalidAndNothingIsClosed)
{
    m_spooler.canOpen = FALSE;
    EXPECT_EQ(Get(), PRINT_E_INVALID_PARAMETER);
    EXPECT_EQ(m_name, kBefore);
    EXPECT_EQ(m_spooler.calls, (Calls{Open()}));
    EXPECT_EQ(Log(), Scope());
}

TEST_F(GetPrinterDriverNameTests, NoSizeForARecord_IsAFailureAndClosesThePrinter)
{
    for (const DWORD needed : {0u, 1u, 7u})
    {
        m_spooler.driverAnswers = {{FALSE, needed}};
        m_spooler.calls.clear();
        EXPECT_EQ(Get(), PRINT_E_FAILED) << needed;
        EXPECT_EQ(m_name, kBefore) << needed;
        EXPECT_EQ(m_spooler.calls, AfterQuery()) << needed;
    }
}

TEST_F(GetPrinterDriverNameTests, SizeNotTold_IsAFailureAndClosesThePrinter)
{
    m_spooler.driverAnswers = {{FALSE}};
    EXPECT_EQ(Get(), PRINT_E_FAILED);
    EXPECT_EQ(m_spooler.calls, AfterQuery());
    EXPECT_EQ(Log(), Scope());
}

TEST_F(GetPrinterDriverNameTests, SizeQuerySucceeds_IsFollowedByTheSecondCallToo)
{
    Script(L"Acme");
    m_spooler.driverAnswers.front().result = TRUE;
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_name, L"Acme");
}

TEST_F(GetPrinterDriverNameTests, SecondCallFails_IsAFailureAndClosesThePrinter)
{
    Script(L"Acme");
    m_spooler.driverAnswers.back().result = FALSE;
    EXPECT_EQ(Get(), PRINT_E_FAILED);
    EXPECT_EQ(m_name, kBefore);
    EXPECT_EQ(m_spooler.calls, AfterRead(18));
    EXPECT_EQ(Log(), Scope());
}

TEST_F(GetPrinterDriverNameTests, DriverChangesInBetween_IsReadFromTheBufferOfTheFirstSize)
{
    Script(L"Acme Laser");
    m_spooler.driverAnswers.back() = {TRUE, 12, L"A"};
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_name, L"A");
    EXPECT_EQ(m_spooler.calls, AfterRead(30));
}

TEST_F(GetPrinterDriverNameTests, RecordWithoutName_IsAFailureAndClosesThePrinter)
{
    m_spooler.driverAnswers = {{FALSE, 8}, {TRUE, 8, nullptr}};
    EXPECT_EQ(Get(), PRINT_E_FAILED);
    EXPECT_EQ(m_name, kBefore);
    EXPECT_EQ(m_spooler.calls, AfterRead(8));
}

TEST_F(GetPrinterDriverNameTests, MoreBytesToldThanThereWasRoomFor_AreNotRead)
{
    Script(L"Acme");
    m_spooler.driverAnswers.back().neededBytes = 0xFFFFFFFF;
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_name, L"Acme");
    EXPECT_EQ(m_spooler.calls, AfterRead(18));
}

TEST_F(GetPrinterDriverNameTests, NameOutsideTheBuffer_IsAFailureAndClosesThePrinter)
{
    for (const DamagedPlace& place : DamagedPlaces())
    {
        Script(L"Acme");
        m_spooler.driverAnswers.back().damage = [&place](BYTE* buffer, DWORD size) {
            const void* const name = place.find(buffer, size);
            std::memcpy(buffer, &name, sizeof(name));
        };
        m_spooler.calls.clear();
        EXPECT_EQ(Get(), PRINT_E_FAILED) << place.name;
        EXPECT_EQ(m_name, kBefore) << place.name;
        EXPECT_EQ(m_spooler.calls, AfterRead(18)) << place.name;
    }
}

TEST_F(GetPrinterDriverNameTests, NameWithoutAnEndInTheBuffer_IsAFailureAndClosesThePrinter)
{
    Script(L"Acme");
    m_spooler.driverAnswers.back().damage = [](BYTE* buffer, DWORD size) { buffer[size - sizeof(wchar_t)] = 'x'; };
    EXPECT_EQ(Get(), PRINT_E_FAILED);
    EXPECT_EQ(m_name, kBefore);
    EXPECT_EQ(m_spooler.calls, AfterRead(18));
}

TEST_F(GetPrinterDriverNameTests, EmptyName_IsTheEmptyTextAndASuccess)
{
    Script(L"");
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_name, L"");
}

TEST_F(GetPrinterDriverNameTests, BufferCannotBeAllocated_IsOutOfMemoryAndClosesThePrinter)
{
    constexpr DWORD kNeeded = 1u << 20;
    m_spooler.driverAnswers = {{FALSE, kNeeded}};
    {
        const FailingAllocations fail(kNeeded);
        EXPECT_EQ(Get(), PRINT_E_OUT_OF_MEMORY);
    }
    ExpectBuffer(FailingAllocations::Largest(), kNeeded);
    EXPECT_EQ(m_name, kBefore);
    EXPECT_EQ(m_spooler.calls, AfterQuery());
    EXPECT_EQ(Log(), Scope());
}

TEST_F(GetPrinterDriverNameTests, NameCannotBeAllocated_IsOutOfMemoryAndClosesThePrinter)
{
    const std::wstring name(500'000, L'n');
    constexpr DWORD kNeeded = 1'010'000; // sets the buffer apart from the name
    m_spooler.driverAnswers = {{FALSE, kNeeded}, {TRUE, kNeeded, name.c_str()}};
    {
        const FailingAllocations fail(1'000'002, 1'001'000);
        EXPECT_EQ(Get(), PRINT_E_OUT_OF_MEMORY);
    }
    EXPECT_GE(FailingAllocations::Largest(), 1'000'002u);
    EXPECT_EQ(m_name, kBefore);
    EXPECT_EQ(m_spooler.calls, AfterRead(kNeeded));
}

TEST_F(GetPrinterDriverNameTests, ExceptionOfTheSpooler_PassesOnAndClosesThePrinter)
{
    m_spooler.driverAnswers = {{.error = kSpoolerError}};
    EXPECT_THROW(Get(), std::runtime_error);
    EXPECT_EQ(m_spooler.calls, AfterQuery());
    m_spooler.calls.clear();
    m_spooler.driverAnswers = {{FALSE, 20}, {.error = kSpoolerError}};
    EXPECT_THROW(Get(), std::runtime_error);
    EXPECT_EQ(m_name, kBefore);
    EXPECT_EQ(m_spooler.calls, AfterRead(20));
    EXPECT_EQ(Log(), Scope() + Scope());
}

TEST_F(GetPrinterDriverNameTests, ClosingFails_KeepsTheResultAndIsNotLogged)
{
    Script(L"Acme");
    m_spooler.closeError = ERROR_INVALID_HANDLE;
    EXPECT_EQ(Get(), PRINT_S_OK);
    EXPECT_EQ(m_name, L"Acme");
    EXPECT_EQ(m_spooler.calls, AfterRead(18));
    EXPECT_EQ(Log(), Scope());
}

TEST_F(PrintUtilTests, EachPrinterHandle_IsTheOneThatWasOpened)
{
    m_spooler.printerHandle = reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(0xABC));
    m_spooler.dataAnswers = {{ERROR_FILE_NOT_FOUND}};
    m_spooler.driverAnswers = {{FALSE, 0}};
    std::wstring text;
    CPrintUtil::GetPrinterDataValue(L"p", L"k", L"v", text);
    CPrintUtil::GetPrinterDriverName(L"p", text);
    EXPECT_EQ(m_spooler.calls,
              (Calls{L"OpenPrinterW p, default access", L"GetPrinterDataExW abc, k, v, no buffer of 0",
                     L"ClosePrinter abc", L"OpenPrinterW p, default access",
                     L"GetPrinterDriverW abc, no environment, level 1, no buffer of 0", L"ClosePrinter abc"}));
}
} // namespace
