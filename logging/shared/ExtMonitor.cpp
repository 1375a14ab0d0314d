#include "logging/shared/ExtMonitor.h"

#include <objbase.h>
#include <oleauto.h>

#include <memory>
#include <utility>

#include "utils/base/StructuredExceptionScope.h"
#include "winapi/base/SystemLibraries.h"

namespace KVLogging
{
namespace
{
using KVWinApi::g_ole32Dll;
using KVWinApi::g_oleAut32Dll;

struct TextFreer
{
    void operator()(wchar_t* text) const noexcept { Call(KV_SYSTEM_FUNCTION(g_oleAut32Dll, SysFreeString), text); }
};
using UniqueText = std::unique_ptr<wchar_t, TextFreer>;

struct MonitorReleaser
{
    void operator()(IExtMonitor* monitor) const noexcept { monitor->Release(); }
};
using UniqueMonitor = std::unique_ptr<IExtMonitor, MonitorReleaser>;

UniqueText MakeText(const wchar_t* text)
{
    return UniqueText(Call(KV_SYSTEM_FUNCTION(g_oleAut32Dll, SysAllocString), text));
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

// Runs code of a monitor that is about to go, which must not keep its successor from coming.
template <typename Body> void RunLast(const Body& body) noexcept
{
    try
    {
        const KVUtils::CStructuredExceptionScope translator;
        translator.Run(body);
    }
    catch (...) // NOLINT(bugprone-empty-catch): the monitor is left alone
    {
    }
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
    if (settings.EndCom != nullptr && SUCCEEDED(Call(KV_SYSTEM_FUNCTION(g_ole32Dll, CoInitialize), nullptr)))
    {
        settings.IsComInitialized = true;
        settings.ComThread = ::GetCurrentThreadId();
    }
}
} // namespace

CExtMonitorSettings::~CExtMonitorSettings()
{
    // The process may be at its end and the monitor's library in any state.
    RunLast([&] {
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
        RunLast([&] { Tell(*previous, MonitorEvent::Stop, executableName.c_str()); });
        RunLast([&] { previous->Release(); });
    }
    constexpr DWORD kAnyServer = 0x17; // in-process server and handler, local and remote server
    void* monitor = nullptr;
    const HRESULT created = Call(KV_SYSTEM_FUNCTION(g_ole32Dll, CoCreateInstance), classId, nullptr, kAnyServer,
                                 kExtMonitorInterfaceId, &monitor);
    if (SUCCEEDED(created) && monitor != nullptr)
    {
        UniqueMonitor made(static_cast<IExtMonitor*>(monitor));
        made->AddRef(); // the block's reference
        if (Bind(values.ClassId, made.get()))
        {
            Tell(*made, MonitorEvent::Start, values.ParameterFile.c_str());
        }
        else
        {
            made->Release();
        }
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
    const bool isMissing = m_isBindingDue && settings->Monitor == nullptr;
    m_isBindingDue = false;
    if (values.ClassId == settings->ClassId && !isMissing)
    {
        return false;
    }
    settings->ClassId = values.ClassId;
    bool isTakenOver = false;
    // A guard of its own: a fault in the system's code must not leave the mutex held.
    const KVUtils::CStructuredExceptionScope translator;
    translator.Run([&] {
        if (SUCCEEDED(Call(KV_SYSTEM_FUNCTION(g_ole32Dll, CLSIDFromString), values.ClassId.c_str(), &classId)))
        {
            InitializeCom(*settings);
            previous = std::exchange(settings->Monitor, nullptr);
            isTakenOver = true;
        }
    });
    return isTakenOver;
}

bool CExtMonitor::Bind(const std::wstring& classId, IExtMonitor* monitor)
{
    const CMutexLock lock(m_block.GetMutex(), kSharedBlockWaitMs);
    CExtMonitorSettings* const settings = lock.IsHeld() ? m_block.Get() : nullptr;
    m_isBindingDue = settings == nullptr; // the next Update makes another one
    // Another thread may have bound another class meanwhile.
    if (settings == nullptr || settings->ClassId != classId || settings->Monitor != nullptr)
    {
        return false;
    }
    settings->Monitor = monitor;
    return true;
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
