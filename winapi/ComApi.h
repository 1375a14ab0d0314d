#pragma once

#include <windows.h>

#include <objbase.h>
#include <ole2.h>
#include <oleauto.h>

namespace KVWinApi
{
/// COM and automation (ole32, oleaut32). Results are HRESULTs.
///
/// ReleaseInterface calls `IUnknown::Release` and returns its result. If the object is null, the result is
/// E_INVALIDARG. CopyVariant clears the destination with `VariantClear` and then copies with `VariantCopy`. If clearing
/// fails, it returns that failure and copies nothing.
///
/// Declaration order is slot order and part of the interface.
class IComApi
{
public:
    /// The system function of this name, with its arguments and its result, except where stated above.
    ///@{
    virtual HRESULT CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid,
                                     LPVOID* ppv) = 0;
    virtual HRESULT CoCreateGuid(GUID* pguid) = 0;
    virtual HRESULT CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit) = 0;
    virtual void CoUninitialize() = 0;
    virtual HRESULT OleInitialize(LPVOID pvReserved) = 0;
    virtual void OleUninitialize() = 0;
    virtual HRESULT CreateStreamOnHGlobal(HGLOBAL hGlobal, BOOL fDeleteOnRelease, LPSTREAM* ppstm) = 0;
    virtual ULONG ReleaseInterface(IUnknown* object) = 0;
    virtual HRESULT CopyVariant(VARIANTARG* destination, const VARIANTARG* source) = 0;
    virtual HRESULT CoInitializeSecurity(PSECURITY_DESCRIPTOR pSecDesc, LONG cAuthSvc,
                                         SOLE_AUTHENTICATION_SERVICE* asAuthSvc, void* pReserved1, DWORD dwAuthnLevel,
                                         DWORD dwImpLevel, void* pAuthList, DWORD dwCapabilities, void* pReserved3) = 0;
    virtual HRESULT CoSetProxyBlanket(IUnknown* pProxy, DWORD dwAuthnSvc, DWORD dwAuthzSvc, OLECHAR* pServerPrincName,
                                      DWORD dwAuthnLevel, DWORD dwImpLevel, RPC_AUTH_IDENTITY_HANDLE pAuthInfo,
                                      DWORD dwCapabilities) = 0;
    ///@}

    virtual ~IComApi() = default;
};

/// Forwards every operation to the system. Stateless and therefore safe on any thread.
class CComApi : public IComApi
{
public:
    HRESULT CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid,
                             LPVOID* ppv) override;
    HRESULT CoCreateGuid(GUID* pguid) override;
    HRESULT CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit) override;
    void CoUninitialize() override;
    HRESULT OleInitialize(LPVOID pvReserved) override;
    void OleUninitialize() override;
    HRESULT CreateStreamOnHGlobal(HGLOBAL hGlobal, BOOL fDeleteOnRelease, LPSTREAM* ppstm) override;
    ULONG ReleaseInterface(IUnknown* object) override;
    HRESULT CopyVariant(VARIANTARG* destination, const VARIANTARG* source) override;
    HRESULT CoInitializeSecurity(PSECURITY_DESCRIPTOR pSecDesc, LONG cAuthSvc, SOLE_AUTHENTICATION_SERVICE* asAuthSvc,
                                 void* pReserved1, DWORD dwAuthnLevel, DWORD dwImpLevel, void* pAuthList,
                                 DWORD dwCapabilities, void* pReserved3) override;
    HRESULT CoSetProxyBlanket(IUnknown* pProxy, DWORD dwAuthnSvc, DWORD dwAuthzSvc, OLECHAR* pServerPrincName,
                              DWORD dwAuthnLevel, DWORD dwImpLevel, RPC_AUTH_IDENTITY_HANDLE pAuthInfo,
                              DWORD dwCapabilities) override;
};

/// The current facade, never null. Read it at each call and keep no copy: a substitute redirects the whole process.
extern constinit IComApi* g_comApi;
} // namespace KVWinApi
