#include "tests/logging/shared/MonitorServer.h"

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>
#include <unknwn.h>

#include <atomic>
#include <initializer_list>
#include <mutex>
#include <string>

#include "logging/MonitorInterface.h"

namespace
{
std::mutex s_mutex; // guards the record, the fault and the delay
std::wstring s_record;
std::wstring s_recordCopy;
std::wstring s_fault;
std::wstring s_slowCall;
DWORD s_delayMs = 0;
std::atomic<bool> s_isRefused;
std::atomic<int> s_objectCount;

void Record(int object, const std::wstring& call, std::initializer_list<BSTR> arguments)
{
    bool isFaulting = false;
    DWORD delayMs = 0;
    {
        const std::lock_guard lock(s_mutex);
        s_record += std::to_wstring(object) + L" " + call;
        for (const BSTR argument : arguments)
        {
            s_record +=
                L" [" + (argument != nullptr ? std::wstring(argument, ::SysStringLen(argument)) : L"null") + L"]";
        }
        s_record += L"\n";
        isFaulting = s_fault == call;
        delayMs = s_slowCall == call ? s_delayMs : 0;
    }
    if (delayMs != 0)
    {
        ::Sleep(delayMs);
    }
    if (isFaulting)
    {
        ::RaiseException(EXCEPTION_ACCESS_VIOLATION, 0, 0, nullptr);
    }
}

class Monitor final : public KVLogging::IExtMonitor
{
public:
    Monitor() : m_number(++s_objectCount) { Record(m_number, L"create", {}); }
    virtual ~Monitor() { Record(m_number, L"release", {}); }
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** result) override
    {
        // The monitor's own interface only: that the logging code asks for this one is part of what is tested.
        *result = id == KVLogging::kExtMonitorInterfaceId || id == IID_IUnknown ? this : nullptr;
        if (*result == nullptr)
        {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG references = --m_references;
        if (references == 0)
        {
            delete this;
        }
        return references;
    }

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }

    HRESULT STDMETHODCALLTYPE Start(BSTR parameterFile, BSTR parameterFileOrUnknown) override
    {
        Record(m_number, L"start", {parameterFile, parameterFileOrUnknown});
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Stop(BSTR executableName) override
    {
        Record(m_number, L"stop", {executableName});
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE ClassEntered(BSTR className) override
    {
        Record(m_number, L"class", {className});
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE FunctionEntered(BSTR shortName) override
    {
        Record(m_number, L"entry", {shortName});
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE FunctionLeft(BSTR shortName) override
    {
        Record(m_number, L"exit", {shortName});
        return S_OK;
    }

private:
    int m_number;
    std::atomic<ULONG> m_references = 1;
};

// Lives as long as the library.
class MonitorFactory final : public IClassFactory
{
public:
    virtual ~MonitorFactory() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** result) override
    {
        *result = id == IID_IClassFactory || id == IID_IUnknown ? this : nullptr;
        return *result != nullptr ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** result) override
    {
        *result = nullptr;
        if (outer != nullptr || s_isRefused)
        {
            return CLASS_E_NOAGGREGATION;
        }
        auto* const monitor = new Monitor;
        const HRESULT status = monitor->QueryInterface(id, result);
        monitor->Release();
        return status;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};
MonitorFactory s_factory;
} // namespace

extern "C" HRESULT WINAPI DllGetClassObject(REFCLSID, REFIID id, void** result)
{
    return s_factory.QueryInterface(id, result);
}

extern "C" HRESULT WINAPI DllCanUnloadNow()
{
    return S_FALSE;
}

extern "C" __declspec(dllexport) const wchar_t* KvGetMonitorRecord()
{
    const std::lock_guard lock(s_mutex);
    s_recordCopy = s_record;
    return s_recordCopy.c_str();
}

extern "C" __declspec(dllexport) void KvSetMonitorFault(const wchar_t* callName)
{
    const std::lock_guard lock(s_mutex);
    s_fault = callName != nullptr ? callName : L"";
}

extern "C" __declspec(dllexport) void KvSetMonitorDelay(const wchar_t* callName, DWORD milliseconds)
{
    const std::lock_guard lock(s_mutex);
    s_slowCall = callName;
    s_delayMs = milliseconds;
}

extern "C" __declspec(dllexport) void KvSetMonitorRefusal(bool isRefused)
{
    s_isRefused = isRefused;
}
