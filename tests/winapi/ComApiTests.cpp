#include "winapi/ComApi.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::IComApi

// In slot order. SAME operations forward to the system function of their name, OWN ones have tests of their own below.
#define KV_OPERATIONS(SAME, OWN)                                                                                       \
    SAME(CoCreateInstance)                                                                                             \
    SAME(CoCreateGuid)                                                                                                 \
    SAME(CoInitializeEx)                                                                                               \
    SAME(CoUninitialize)                                                                                               \
    SAME(OleInitialize)                                                                                                \
    SAME(OleUninitialize)                                                                                              \
    SAME(CreateStreamOnHGlobal)                                                                                        \
    OWN(ReleaseInterface)                                                                                              \
    OWN(CopyVariant)                                                                                                   \
    SAME(CoInitializeSecurity)                                                                                         \
    SAME(CoSetProxyBlanket)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_IGNORE)
KV_DECLARE_IMPORT(VariantClear)
KV_DECLARE_IMPORT(VariantCopy)

namespace
{
TEST(ComApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 11u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot + 2); // the destructor comes last
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(ComApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_comApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_IGNORE)
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
    const KVTest::ImportPatch clear(__imp_VariantClear, reinterpret_cast<void*>(&RecordClear));
    const KVTest::ImportPatch copy(__imp_VariantCopy, reinterpret_cast<void*>(&RecordCopy));
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
} // namespace
