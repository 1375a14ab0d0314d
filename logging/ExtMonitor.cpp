#include "logging/ExtMonitor.h"

#include <objbase.h>
#include <oleauto.h>

#include <memory>
#include <utility>

#include "utils/StructuredExceptionScope.h"
#include "winapi/SystemLibraries.h"

namespace KVLogging
{
namespace
{
using KVWinApi::g_ole32Dll;
using KVWinApi::g_oleAut32Dll;

struct TextFreer
{
    void operator()(wchar_t* text) const noexcept
    {
        KV_SYSTEM_FUNCTION(g_oleAut32Dll, SysFreeString).OrNothing()(text);
    }
};
using UniqueText = std::unique_ptr<wchar_t, TextFreer>;

struct MonitorReleaser
{
    void operator()(IExtMonitor* monitor) const noexcept { monitor->Release(); }
};
using UniqueMonitor = std::unique_ptr<IExtMonitor, MonitorReleaser>;

UniqueText MakeText(const wchar_t* text)
{
    return UniqueText(KV_SYSTEM_FUNCTION(g_oleAut32Dll, SysAllocString).Or(nullptr)(text));
}

UniqueText MakeTextOrUnknown(const wchar_t* text)
{
    return MakeText(*text != L'\0' ? text : L"<unknown>");
}

HRESULT Tell(IExtMonitor& monitor, MonitorEvent event, const wchar_t* text)
{
    const UniqueText argument = MakeTextOrUnknown(text);
    switch (event)
    {
    case MonitorEvent::Start:
        return monitor.Start(MakeText(text).get(), argument.get());
    case MonitorEvent::Stop:
        return monitor.Stop(argument.get());
    case MonitorEvent::Class:
        return monitor.ClassEntered(argument.get());
    case MonitorEvent::Entry:
        return monitor.FunctionEntered(argument.get());
    case MonitorEvent::Exit:
        return monitor.FunctionLeft(argument.get());
    }
    return E_NOTIMPL;
}

bool IsWanted(CExtMonitorSettings& settings, MonitorEvent event, const wchar_t* text)
{
    switch (event)
    {
    case MonitorEvent::Class: {
        const bool isAnother = settings.LastClass != text;
        settings.LastClass = text; // also when it is not reported
        return isAnother && (settings.Flags & kMonitorClasses) != 0;
    }
    case MonitorEvent::Entry:
        return (settings.Flags & kMonitorEntries) != 0;
    case MonitorEvent::Exit:
        return (settings.Flags & kMonitorExits) != 0;
    case MonitorEvent::Start:
    case MonitorEvent::Stop:
        break;
    }
    return true;
}

void InitializeCom(CExtMonitorSettings& settings)
{
    if (settings.IsComInitialized)
    {
        return;
    }
    // Found now, not when the block goes: that may be under the system's loader lock, where nothing may be loaded.
    settings.EndCom = KV_SYSTEM_FUNCTION(g_ole32Dll, CoUninitialize).Find();
    // A failure means that the thread has another apartment model already: COM is there and is not this block's to end.
    if (settings.EndCom != nullptr && SUCCEEDED(KV_SYSTEM_FUNCTION(g_ole32Dll, CoInitialize).OrHresult()(nullptr)))
    {
        settings.IsComInitialized = true;
        settings.ComThread = ::GetCurrentThreadId();
    }
}
} // namespace

CExtMonitorSettings::~CExtMonitorSettings()
{
    try
    {
        // The process may be at its end and the monitor's library in any state.
        const KVUtils::CStructuredExceptionScope translator;
        translator.Run([&] {
            if (Monitor != nullptr)
            {
                std::exchange(Monitor, nullptr)->Release();
            }
            // COM counts per thread: on another one this would take it from somebody else.
            if (IsComInitialized && ComThread == ::GetCurrentThreadId())
            {
                EndCom();
            }
        });
    }
    catch (...) // NOLINT(bugprone-empty-catch): a monitor that fails to go is left alone
    {
    }
}

void CExtMonitor::Update(const MonitorValues& values, const std::wstring& executableName)
{
    CLSID classId{};
    IExtMonitor* previous = nullptr;
    Attach(executableName); // if that has failed before
    if (values.ClassId.empty() || !TakeOver(values, classId, previous))
    {
        return;
    }
    if (previous != nullptr)
    {
        Tell(*previous, MonitorEvent::Stop, executableName.c_str());
        previous->Release();
    }
    constexpr DWORD kAnyServer = 0x17; // in-process server and handler, local and remote server
    void* monitor = nullptr;
    const HRESULT created = KV_SYSTEM_FUNCTION(g_ole32Dll, CoCreateInstance)
                                .OrHresult()(classId, nullptr, kAnyServer, kExtMonitorInterfaceId, &monitor);
    if (SUCCEEDED(created) && monitor != nullptr)
    {
        Bind(values.ClassId, static_cast<IExtMonitor*>(monitor));
        Notify(MonitorEvent::Start, values.ParameterFile.c_str());
    }
}

bool CExtMonitor::TakeOver(const MonitorValues& values, CLSID& classId, IExtMonitor*& previous)
{
    const CMutexLock lock(m_block.GetMutex(), kSharedBlockWaitMs);
    CExtMonitorSettings* const settings = lock.IsHeld() ? m_block.Get() : nullptr;
    if (settings == nullptr)
    {
        return false;
    }
    settings->Flags = values.Flags.value_or(settings->Flags);
    if (values.ClassId == settings->ClassId)
    {
        return false;
    }
    settings->ClassId = values.ClassId;
    if (FAILED(KV_SYSTEM_FUNCTION(g_ole32Dll, CLSIDFromString).OrHresult()(values.ClassId.c_str(), &classId)))
    {
        return false;
    }
    InitializeCom(*settings);
    previous = std::exchange(settings->Monitor, nullptr);
    return true;
}

void CExtMonitor::Bind(const std::wstring& classId, IExtMonitor* monitor)
{
    UniqueMonitor surplus(monitor); // released unless it is bound; after the lock, since it is not ours
    const CMutexLock lock(m_block.GetMutex(), kSharedBlockWaitMs);
    CExtMonitorSettings* const settings = lock.IsHeld() ? m_block.Get() : nullptr;
    // Another thread may have bound another class meanwhile.
    if (settings != nullptr && settings->ClassId == classId && settings->Monitor == nullptr)
    {
        settings->Monitor = surplus.release();
    }
}

HRESULT CExtMonitor::Notify(MonitorEvent event, const wchar_t* text)
{
    if (text == nullptr)
    {
        return E_NOTIMPL;
    }
    UniqueMonitor monitor;
    {
        const CMutexLock lock(m_block.GetMutex(), kSharedBlockWaitMs);
        CExtMonitorSettings* const settings = lock.IsHeld() ? m_block.Get() : nullptr;
        if (settings == nullptr || settings->Monitor == nullptr)
        {
            return E_NOTIMPL;
        }
        if (!IsWanted(*settings, event, text))
        {
            return S_OK;
        }
        // A scope of its own: a fault must not leave the mutex held.
        const KVUtils::CStructuredExceptionScope translator;
        translator.Run([&] { settings->Monitor->AddRef(); });
        monitor.reset(settings->Monitor);
    }
    return Tell(*monitor, event, text);
}
} // namespace KVLogging
