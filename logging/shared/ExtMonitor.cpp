#include "logging/shared/ExtMonitor.h"

#include <objbase.h>

#include <utility>

#include "utils/base/StructuredExceptionScope.h"
#include "winapi/base/Bstr.h"
#include "winapi/base/SystemHandles.h"
#include "winapi/base/SystemLibraries.h"

namespace KVLogging
{
namespace
{
using KVWinApi::CUniqueBstr;
using KVWinApi::CUniqueMutexHold;
using KVWinApi::g_ole32Dll;
using KVWinApi::HoldMutex;
using KVWinApi::MakeBstr;

struct MonitorTraits
{
    using Handle = IExtMonitor*;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle monitor) noexcept { monitor->Release(); }
};
using CUniqueMonitor = KVWinApi::CUniqueHandle<MonitorTraits>;

HRESULT CallMonitor(IExtMonitor& monitor, MonitorEvent event, const wchar_t* text)
{
    const CUniqueBstr argument = MakeBstr(*text != L'\0' ? text : L"<unknown>");
    switch (event)
    {
    case MonitorEvent::kStart:
        return monitor.Start(MakeBstr(text).Get(), argument.Get());
    case MonitorEvent::kStop:
        return monitor.Stop(argument.Get());
    case MonitorEvent::kClass:
        return monitor.ClassEntered(argument.Get());
    case MonitorEvent::kEntry:
        return monitor.FunctionEntered(argument.Get());
    case MonitorEvent::kExit:
        return monitor.FunctionLeft(argument.Get());
    }
    return E_NOTIMPL;
}

bool IsWanted(CExtMonitorSettings& settings, MonitorEvent event, const wchar_t* text)
{
    switch (event)
    {
    case MonitorEvent::kClass: {
        const bool hasChanged = settings.lastClass != text;
        settings.lastClass = text; // even if it is not reported
        return hasChanged && (settings.flags & kMonitorClasses) != 0;
    }
    case MonitorEvent::kEntry:
        return (settings.flags & kMonitorEntries) != 0;
    case MonitorEvent::kExit:
        return (settings.flags & kMonitorExits) != 0;
    case MonitorEvent::kStart:
    case MonitorEvent::kStop:
        break;
    }
    return true;
}

// Runs code of a monitor that is about to be released, which must not keep its successor out.
template <typename Body> void SurviveFaults(const Body& body) noexcept
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
    if (settings.isComInitialized)
    {
        return;
    }
    // Found here, because the block may be destroyed under the system's loader lock, where nothing may be loaded.
    settings.endCom = KV_SYSTEM_FUNCTION(g_ole32Dll, CoUninitialize).Find();
    // A failure means that the thread has a different apartment model already: COM runs and is not this block's to end.
    if (settings.endCom != nullptr && SUCCEEDED(Call(KV_SYSTEM_FUNCTION(g_ole32Dll, CoInitialize), nullptr)))
    {
        settings.isComInitialized = true;
        settings.comThread = ::GetCurrentThreadId();
    }
}
} // namespace

CExtMonitorSettings::~CExtMonitorSettings()
{
    // The process may be ending and the monitor's library be in any state.
    SurviveFaults([&] {
        if (IExtMonitor* const last = monitor.exchange(nullptr))
        {
            last->Release();
        }
        // COM counts per thread: on a different one this would take it away from other code.
        if (isComInitialized && comThread == ::GetCurrentThreadId())
        {
            endCom();
        }
    });
}

void CExtMonitor::Update(const MonitorValues& values, const std::wstring& executableName) noexcept
{
    if (!values.classId.empty())
    {
        SurviveFaults([&] { Replace(values, executableName); });
    }
}

void CExtMonitor::Replace(const MonitorValues& values, const std::wstring& executableName)
{
    CLSID classId{};
    IExtMonitor* previous = nullptr;
    Attach(executableName); // if that has failed before
    if (!TakeOver(values, classId, previous))
    {
        return;
    }
    if (previous != nullptr)
    {
        SurviveFaults([&] { CallMonitor(*previous, MonitorEvent::kStop, executableName.c_str()); });
        SurviveFaults([&] { previous->Release(); });
    }
    constexpr DWORD kAnyServer = 0x17; // in-process server and handler, local and remote server
    void* monitor = nullptr;
    const HRESULT created = Call(KV_SYSTEM_FUNCTION(g_ole32Dll, CoCreateInstance), classId, nullptr, kAnyServer,
                                 kExtMonitorInterfaceId, &monitor);
    if (SUCCEEDED(created) && monitor != nullptr)
    {
        CUniqueMonitor made(static_cast<IExtMonitor*>(monitor));
        made.Get()->AddRef(); // the block's reference
        if (Bind(values.classId, made.Get()))
        {
            CallMonitor(*made.Get(), MonitorEvent::kStart, values.parameterFile.c_str());
        }
        else
        {
            made.Get()->Release();
        }
    }
}

bool CExtMonitor::TakeOver(const MonitorValues& values, CLSID& classId, IExtMonitor*& previous)
{
    const CUniqueMutexHold hold = HoldMutex(m_block.GetMutex(), kSharedBlockWaitMs);
    CExtMonitorSettings* const settings = hold.IsValid() ? m_block.Get() : nullptr;
    if (settings == nullptr)
    {
        return false;
    }
    settings->flags = values.flags.value_or(settings->flags);
    const bool isMissing = m_isBindingDue && settings->monitor == nullptr;
    m_isBindingDue = false;
    if (values.classId == settings->classId && !isMissing)
    {
        return false;
    }
    settings->classId = values.classId;
    bool isTakenOver = false;
    // Guarded here as well: a fault in the system's code must not leave the mutex held.
    const KVUtils::CStructuredExceptionScope translator;
    translator.Run([&] {
        if (SUCCEEDED(Call(KV_SYSTEM_FUNCTION(g_ole32Dll, CLSIDFromString), values.classId.c_str(), &classId)))
        {
            InitializeCom(*settings);
            previous = settings->monitor.exchange(nullptr);
            isTakenOver = true;
        }
    });
    return isTakenOver;
}

bool CExtMonitor::Bind(const std::wstring& classId, IExtMonitor* monitor)
{
    const CUniqueMutexHold hold = HoldMutex(m_block.GetMutex(), kSharedBlockWaitMs);
    CExtMonitorSettings* const settings = hold.IsValid() ? m_block.Get() : nullptr;
    m_isBindingDue = settings == nullptr; // the next Update makes one more
    // Meanwhile another thread may have bound a different class.
    if (settings == nullptr || settings->classId != classId || settings->monitor != nullptr)
    {
        return false;
    }
    settings->monitor = monitor;
    return true;
}

HRESULT CExtMonitor::Notify(MonitorEvent event, const wchar_t* text)
{
    if (text == nullptr || !IsBound())
    {
        return E_NOTIMPL;
    }
    CUniqueMonitor monitor;
    {
        const CUniqueMutexHold hold = HoldMutex(m_block.GetMutex(), kSharedBlockWaitMs);
        CExtMonitorSettings* const settings = hold.IsValid() ? m_block.Get() : nullptr;
        if (settings == nullptr || settings->monitor == nullptr)
        {
            return E_NOTIMPL;
        }
        if (!IsWanted(*settings, event, text))
        {
            return S_OK;
        }
        // Guarded here as well: a fault must not leave the mutex held.
        const KVUtils::CStructuredExceptionScope translator;
        translator.Run([&] { settings->monitor.load()->AddRef(); });
        monitor.Reset(settings->monitor);
    }
    return CallMonitor(*monitor.Get(), event, text);
}
} // namespace KVLogging
