#include "winapi/ComApi.h"

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
    return ::CoCreateInstance(rclsid, pUnkOuter, dwClsContext, riid, ppv);
}

HRESULT CComApi::CoCreateGuid(GUID* pguid)
{
    return ::CoCreateGuid(pguid);
}

HRESULT CComApi::CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit)
{
    return ::CoInitializeEx(pvReserved, dwCoInit);
}

void CComApi::CoUninitialize()
{
    ::CoUninitialize();
}

HRESULT CComApi::OleInitialize(LPVOID pvReserved)
{
    return ::OleInitialize(pvReserved);
}

void CComApi::OleUninitialize()
{
    ::OleUninitialize();
}

HRESULT CComApi::CreateStreamOnHGlobal(HGLOBAL hGlobal, BOOL fDeleteOnRelease, LPSTREAM* ppstm)
{
    return ::CreateStreamOnHGlobal(hGlobal, fDeleteOnRelease, ppstm);
}

ULONG CComApi::ReleaseInterface(IUnknown* object)
{
    return object != nullptr ? object->Release() : static_cast<ULONG>(E_INVALIDARG);
}

HRESULT CComApi::CopyVariant(VARIANTARG* destination, const VARIANTARG* source)
{
    const HRESULT cleared = ::VariantClear(destination);
    if (FAILED(cleared))
    {
        return cleared;
    }
    // The system only reads the source; not every SDK declares it const.
    return ::VariantCopy(destination, const_cast<VARIANTARG*>(source));
}

HRESULT CComApi::CoInitializeSecurity(PSECURITY_DESCRIPTOR pSecDesc, LONG cAuthSvc,
                                      SOLE_AUTHENTICATION_SERVICE* asAuthSvc, void* pReserved1, DWORD dwAuthnLevel,
                                      DWORD dwImpLevel, void* pAuthList, DWORD dwCapabilities, void* pReserved3)
{
    return ::CoInitializeSecurity(pSecDesc, cAuthSvc, asAuthSvc, pReserved1, dwAuthnLevel, dwImpLevel, pAuthList,
                                  dwCapabilities, pReserved3);
}

HRESULT CComApi::CoSetProxyBlanket(IUnknown* pProxy, DWORD dwAuthnSvc, DWORD dwAuthzSvc, OLECHAR* pServerPrincName,
                                   DWORD dwAuthnLevel, DWORD dwImpLevel, RPC_AUTH_IDENTITY_HANDLE pAuthInfo,
                                   DWORD dwCapabilities)
{
    return ::CoSetProxyBlanket(pProxy, dwAuthnSvc, dwAuthzSvc, pServerPrincName, dwAuthnLevel, dwImpLevel, pAuthInfo,
                               dwCapabilities);
}
} // namespace KVWinApi
