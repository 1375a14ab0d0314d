#pragma once

#include <windows.h>

#include <wbemidl.h>

#include <functional>
#include <string>
#include <vector>

#include "winapi/ComApi.h"

namespace KVTest
{
/// A COM object that counts its references.
template <typename Interface> class CountedObject : public Interface
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--references); }

    int references = 0;
};

/// A computer whose WMI answers as the test wants. Each step records its arguments; `onStep` returns its result and may
/// throw or fault. Only a battery is handed out whatever the result is.
class FakeWmi : public KVWinApi::CComApi
{
public:
    HRESULT CoInitializeEx(LPVOID reserved, DWORD model) override
    {
        Record(L"initialize " + std::to_wstring(reinterpret_cast<ULONG_PTR>(reserved)) + L" " + std::to_wstring(model));
        return onStep(L"initialize");
    }
    void CoUninitialize() override { Record(L"uninitialize"); }
    HRESULT CoCreateInstance(REFCLSID classId, LPUNKNOWN outer, DWORD context, REFIID interfaceId,
                             LPVOID* object) override
    {
        Record(std::wstring(L"create ") + (classId == CLSID_WbemLocator ? L"locator" : L"other") +
               (outer == nullptr ? L"" : L" aggregated") + L" " + std::to_wstring(context) +
               (interfaceId == IID_IWbemLocator ? L" IWbemLocator" : L" other"));
        return Give(L"create", locator, reinterpret_cast<IWbemLocator**>(object));
    }
    ULONG ReleaseInterface(IUnknown* object) override
    {
        const ULONG result = CComApi::ReleaseInterface(object);
        onRelease();
        return result;
    }
    HRESULT CoInitializeSecurity(PSECURITY_DESCRIPTOR, LONG, SOLE_AUTHENTICATION_SERVICE*, void*, DWORD, DWORD, void*,
                                 DWORD, void*) override
    {
        Record(L"security");
        return S_OK;
    }
    HRESULT CoSetProxyBlanket(IUnknown*, DWORD, DWORD, OLECHAR*, DWORD, DWORD, RPC_AUTH_IDENTITY_HANDLE, DWORD) override
    {
        Record(L"blanket");
        return S_OK;
    }

    class Locator : public CountedObject<IWbemLocator>
    {
    public:
        explicit Locator(FakeWmi& wmi) : m_wmi(wmi) {}
        HRESULT STDMETHODCALLTYPE ConnectServer(const BSTR path, const BSTR user, const BSTR password,
                                                const BSTR locale, LONG flags, const BSTR authority,
                                                IWbemContext* context, IWbemServices** result) override
        {
            m_wmi.Record(std::wstring(L"connect ") + path + Given(user) + Given(password) + Given(locale) + L" " +
                         std::to_wstring(flags) + Given(authority) + Given(context));
            return m_wmi.Give(L"connect", m_wmi.services, result);
        }

    private:
        FakeWmi& m_wmi;
    };

    class Services : public CountedObject<IWbemServices>
    {
    public:
        explicit Services(FakeWmi& wmi) : m_wmi(wmi) {}
        HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR language, const BSTR query, LONG flags, IWbemContext* context,
                                            IEnumWbemClassObject** result) override
        {
            m_wmi.Record(std::wstring(L"query ") + language + L" " + query + L" " + std::to_wstring(flags) +
                         Given(context));
            return m_wmi.Give(L"query", m_wmi.batteries, result);
        }
        // No other operation of the interface is called.
        HRESULT STDMETHODCALLTYPE OpenNamespace(const BSTR, LONG, IWbemContext*, IWbemServices**,
                                                IWbemCallResult**) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE CancelAsyncCall(IWbemObjectSink*) override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE QueryObjectSink(LONG, IWbemObjectSink**) override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE GetObject(const BSTR, LONG, IWbemContext*, IWbemClassObject**,
                                            IWbemCallResult**) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE DeleteClass(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE DeleteClassAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE CreateClassEnum(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE PutInstance(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE DeleteInstance(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE CreateInstanceEnum(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE ExecQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE ExecNotificationQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                                        IEnumWbemClassObject**) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                                             IWbemObjectSink*) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE ExecMethod(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                             IWbemClassObject**, IWbemCallResult**) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                                  IWbemObjectSink*) override
        {
            return E_NOTIMPL;
        }

    private:
        FakeWmi& m_wmi;
    };

    class Batteries : public CountedObject<IEnumWbemClassObject>
    {
    public:
        explicit Batteries(FakeWmi& wmi) : m_wmi(wmi) {}
        HRESULT STDMETHODCALLTYPE Next(LONG timeoutMs, ULONG count, IWbemClassObject** objects,
                                       ULONG* returned) override
        {
            m_wmi.Record(L"next " + std::to_wstring(timeoutMs) + L" " + std::to_wstring(count));
            *returned = 0;
            if (m_wmi.hasBattery)
            {
                *returned = 1;
                m_wmi.battery.AddRef();
                // The caller only releases it.
                *objects = reinterpret_cast<IWbemClassObject*>(&m_wmi.battery);
            }
            return m_wmi.onStep(L"next");
        }
        HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE NextAsync(ULONG, IWbemObjectSink*) override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE Clone(IEnumWbemClassObject**) override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE Skip(LONG, ULONG) override { return E_NOTIMPL; }

    private:
        FakeWmi& m_wmi;
    };

    int GetReferences() const
    {
        return locator.references + services.references + batteries.references + battery.references;
    }

    Locator locator{*this};
    Services services{*this};
    Batteries batteries{*this};
    CountedObject<IUnknown> battery;
    bool hasBattery = false;
    std::function<HRESULT(const std::wstring& step)> onStep = [](const std::wstring&) { return S_OK; };
    std::function<void()> onRelease = [] {}; // after the release; may fault
    std::vector<std::wstring> calls;

private:
    static std::wstring Given(const void* pointer) { return pointer == nullptr ? L"" : L" given"; }
    void Record(const std::wstring& call) { calls.push_back(call); }
    template <typename Interface> HRESULT Give(const wchar_t* step, CountedObject<Interface>& object, Interface** out)
    {
        const HRESULT result = onStep(step);
        if (SUCCEEDED(result))
        {
            object.AddRef();
            *out = &object;
        }
        return result;
    }
};
} // namespace KVTest
