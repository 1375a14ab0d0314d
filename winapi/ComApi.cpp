#include "winapi/ComApi.h"

#include "winapi/base/SystemLibraries.h"
#include "winapi/FacadeInstance.h"

namespace KVWinApi
{
namespace
{
KV_FACADE_INSTANCE CComApi s_comApi;
} // namespace

constinit IComApi* g_comApi = &s_comApi;

HRESULT CComApi::CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid, LPVOID* ppv)
{
    return Call(KV_SYSTEM_FUNCTION(g_ole32Dll, CoCreateInstance), rclsid, pUnkOuter, dwClsContext, riid, ppv);
}

HRESULT CComApi::CoCreateGuid(GUID* pguid)
{
    return Call(KV_SYSTEM_FUNCTION(g_ole32Dll, CoCreateGuid), pguid);
}

HRESULT CComApi::CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit)
{
    return Call(KV_SYSTEM_FUNCTION(g_ole32Dll, CoInitializeEx), pvReserved, dwCoInit);
}

void CComApi::CoUninitialize()
{
    Call(KV_SYSTEM_FUNCTION(g_ole32Dll, CoUninitialize));
}

HRESULT CComApi::OleInitialize(LPVOID pvReserved)
{
    return Call(KV_SYSTEM_FUNCTION(g_ole32Dll, OleInitialize), pvReserved);
}

void CComApi::OleUninitialize()
{
    Call(KV_SYSTEM_FUNCTION(g_ole32Dll, OleUninitialize));
}

HRESULT CComApi::CreateStreamOnHGlobal(HGLOBAL hGlobal, BOOL fDeleteOnRelease, LPSTREAM* ppstm)
{
    return Call(KV_SYSTEM_FUNCTION(g_ole32Dll, CreateStreamOnHGlobal), hGlobal, fDeleteOnRelease, ppstm);
}

ULONG CComApi::ReleaseInterface(IUnknown* object)
{
    return object != nullptr ? object->Release() : static_cast<ULONG>(E_INVALIDARG);
}

HRESULT CComApi::CopyVariant(VARIANTARG* destination, const VARIANTARG* source)
{
    const HRESULT cleared = Call(KV_SYSTEM_FUNCTION(g_oleAut32Dll, VariantClear), destination);
    if (FAILED(cleared))
    {
        return cleared;
    }
    // The system only reads the source; not every SDK declares it const.
    return Call(KV_SYSTEM_FUNCTION(g_oleAut32Dll, VariantCopy), destination, const_cast<VARIANTARG*>(source));
}

HRESULT CComApi::CoInitializeSecurity(PSECURITY_DESCRIPTOR pSecDesc, LONG cAuthSvc,
                                      SOLE_AUTHENTICATION_SERVICE* asAuthSvc, void* pReserved1, DWORD dwAuthnLevel,
                                      DWORD dwImpLevel, void* pAuthList, DWORD dwCapabilities, void* pReserved3)
{
    return Call(KV_SYSTEM_FUNCTION(g_ole32Dll, CoInitializeSecurity), pSecDesc, cAuthSvc, asAuthSvc, pReserved1,
                dwAuthnLevel, dwImpLevel, pAuthList, dwCapabilities, pReserved3);
}

HRESULT CComApi::CoSetProxyBlanket(IUnknown* pProxy, DWORD dwAuthnSvc, DWORD dwAuthzSvc, OLECHAR* pServerPrincName,
                                   DWORD dwAuthnLevel, DWORD dwImpLevel, RPC_AUTH_IDENTITY_HANDLE pAuthInfo,
                                   DWORD dwCapabilities)
{
    return Call(KV_SYSTEM_FUNCTION(g_ole32Dll, CoSetProxyBlanket), pProxy, dwAuthnSvc, dwAuthzSvc, pServerPrincName,
                dwAuthnLevel, dwImpLevel, pAuthInfo, dwCapabilities);
}
} // namespace KVWinApi
