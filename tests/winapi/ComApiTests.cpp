#include "winapi/ComApi.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::IComApi

// In slot order, see Forwarding.h. OWN operations have tests of their own below.
#define KV_OPERATIONS(SAME, LATE, OWN)                                                                                 \
    LATE(L"ole32.dll", CoCreateInstance, HRESULT_FROM_WIN32(error))                                                    \
    LATE(L"ole32.dll", CoCreateGuid, HRESULT_FROM_WIN32(error))                                                        \
    LATE(L"ole32.dll", CoInitializeEx, HRESULT_FROM_WIN32(error))                                                      \
    LATE(L"ole32.dll", CoUninitialize, KVTest::kNothing)                                                               \
    LATE(L"ole32.dll", OleInitialize, HRESULT_FROM_WIN32(error))                                                       \
    LATE(L"ole32.dll", OleUninitialize, KVTest::kNothing)                                                              \
    LATE(L"ole32.dll", CreateStreamOnHGlobal, HRESULT_FROM_WIN32(error))                                               \
    OWN(ReleaseInterface)                                                                                              \
    OWN(CopyVariant)                                                                                                   \
    LATE(L"ole32.dll", CoInitializeSecurity, HRESULT_FROM_WIN32(error))                                                \
    LATE(L"ole32.dll", CoSetProxyBlanket, HRESULT_FROM_WIN32(error))

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_DECLARE_LATE, KV_IGNORE)

namespace
{
TEST(ComApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT_LATE, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 11u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot + KVTest::kDestructorSlots); // which comes last
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(ComApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_comApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_EXPECT_FORWARDS_LATE, KV_IGNORE)
}

TEST(ComApiTests, EachLateOperation_WithoutItsLibraryOrFunction_FailsByItsOwnConvention)
{
    KV_INTERFACE* const api = KVWinApi::g_comApi;
    KV_EXPECT_FAILURES(KV_OPERATIONS)
}

class RecordingComApi : public KVWinApi::CComApi
{
public:
    HRESULT CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit) override
    {
        reserved = pvReserved;
        mode = dwCoInit;
        return RPC_E_CHANGED_MODE;
    }
    LPVOID reserved = this;
    DWORD mode = 0;
};

TEST(ComApiTests, Substitute_ReceivesTheCallWithTheVeryArguments)
{
    RecordingComApi substitute;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_comApi, substitute);
    EXPECT_EQ(KVWinApi::g_comApi->CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE);
    EXPECT_EQ(substitute.reserved, nullptr);
    EXPECT_EQ(substitute.mode, static_cast<DWORD>(COINIT_APARTMENTTHREADED));
}

TEST(ComApiTests, RealClass_GivesTheSystemsResults)
{
    KVWinApi::IComApi& api = *KVWinApi::g_comApi;
    EXPECT_EQ(api.CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    EXPECT_EQ(api.CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE);
    EXPECT_EQ(api.CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
    api.CoUninitialize();
    GUID one{};
    GUID other{};
    EXPECT_EQ(api.CoCreateGuid(&one), S_OK);
    EXPECT_EQ(api.CoCreateGuid(&other), S_OK);
    EXPECT_FALSE(::IsEqualGUID(one, other));
    api.CoUninitialize();
}

TEST(ComApiTests, ReleaseInterface_ReleasesTheObjectAndReturnsItsResult)
{
    ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    LPSTREAM stream = nullptr;
    ASSERT_EQ(KVWinApi::g_comApi->CreateStreamOnHGlobal(nullptr, TRUE, &stream), S_OK);
    stream->AddRef();
    EXPECT_EQ(KVWinApi::g_comApi->ReleaseInterface(stream), 1u);
    EXPECT_EQ(KVWinApi::g_comApi->ReleaseInterface(stream), 0u);
    ::CoUninitialize();
}

TEST(ComApiTests, ReleaseInterface_WithoutObject_GivesInvalidArgument)
{
    EXPECT_EQ(KVWinApi::g_comApi->ReleaseInterface(nullptr), 0x80070057u);
}

TEST(ComApiTests, CopyVariant_CopiesTheText)
{
    VARIANT source{};
    source.vt = VT_BSTR;
    source.bstrVal = ::SysAllocString(L"text");
    VARIANT destination{};
    destination.vt = VT_BSTR;
    destination.bstrVal = ::SysAllocString(L"earlier text");
    EXPECT_EQ(KVWinApi::g_comApi->CopyVariant(&destination, &source), S_OK);
    EXPECT_EQ(destination.vt, VT_BSTR);
    EXPECT_STREQ(destination.bstrVal, L"text");
    EXPECT_NE(destination.bstrVal, source.bstrVal);
    ::VariantClear(&source);
    ::VariantClear(&destination);
}

int s_clears = 0;
int s_copies = 0;
HRESULT s_clearResult = S_OK;
const VARIANT* s_cleared = nullptr;
std::pair<const VARIANT*, const VARIANT*> s_copied;

HRESULT WINAPI RecordClear(VARIANT* variant)
{
    ++s_clears;
    s_cleared = variant;
    return s_clearResult;
}

HRESULT WINAPI RecordCopy(VARIANT* destination, VARIANT* source)
{
    ++s_copies;
    s_copied = {destination, source};
    return s_clears == 1 ? E_OUTOFMEMORY : E_UNEXPECTED;
}

HRESULT CopyVariantRecorded(VARIANT& destination, const VARIANT& source)
{
    KVTest::LoaderPatch loader;
    loader.AnswerWith(reinterpret_cast<void*>(&RecordClear), "VariantClear");
    loader.AnswerWith(reinterpret_cast<void*>(&RecordCopy), "VariantCopy");
    return KVWinApi::g_comApi->CopyVariant(&destination, &source);
}

TEST(ComApiTests, CopyVariant_ClearsTheDestinationThenCopiesAndReturnsThatResult)
{
    VARIANT destination{};
    const VARIANT source{};
    EXPECT_EQ(CopyVariantRecorded(destination, source), E_OUTOFMEMORY);
    EXPECT_EQ(s_cleared, &destination);
    EXPECT_EQ(s_copied, std::make_pair(static_cast<const VARIANT*>(&destination), &source));
    EXPECT_EQ(s_copies, 1);
}

TEST(ComApiTests, CopyVariant_DestinationThatCannotBeCleared_StaysAndTheFailureIsReturned)
{
    s_clearResult = DISP_E_ARRAYISLOCKED;
    VARIANT destination{};
    const VARIANT source{};
    EXPECT_EQ(CopyVariantRecorded(destination, source), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(s_copies, 0);
}

TEST(ComApiTests, CopyVariant_WithoutTheLibrary_LeavesTheDestinationAndSaysSo)
{
    KVTest::LoaderPatch loader;
    loader.LackLibraries();
    VARIANT destination{};
    destination.vt = VT_I4;
    destination.lVal = 7;
    const VARIANT source{};
    EXPECT_EQ(KVWinApi::g_comApi->CopyVariant(&destination, &source), HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND));
    EXPECT_EQ(destination.vt, VT_I4);
    EXPECT_EQ(destination.lVal, 7);
}
} // namespace

#undef KV_OPERATIONS
#undef KV_INTERFACE
