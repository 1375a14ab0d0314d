#pragma once

#include <windows.h>

#include <oaidl.h>

#include <cstdint>
#include <optional>
#include <string>

#include "logging/shared/SharedBlock.h"

namespace KVLogging
{
/// {46C071BD-4AB9-4CED-B72B-9976370F007E}
constexpr IID kExtMonitorInterfaceId = {0x46C071BD, 0x4AB9, 0x4CED, {0xB7, 0x2B, 0x99, 0x76, 0x37, 0x0F, 0x00, 0x7E}};

/// An external monitor: a COM object that the settings name and that is told of function entries and exits as they
/// happen. Implemented by support tools, inside or outside this process. Declaration order is slot order and part of
/// the interface, the names are not. Texts are valid during the call.
struct IExtMonitor : public IDispatch
{
    /// Once, before anything else. parameterFile is the configured text as it is; the second argument is the same text,
    /// "<unknown>" when it is empty.
    virtual HRESULT STDMETHODCALLTYPE Start(BSTR parameterFile, BSTR parameterFileOrUnknown) = 0;
    /// When another monitor takes its place; the object is released right after.
    virtual HRESULT STDMETHODCALLTYPE Stop(BSTR executableName) = 0;
    /// A function of another class than the one before has begun.
    virtual HRESULT STDMETHODCALLTYPE ClassEntered(BSTR className) = 0;
    /// A function has begun: class and function.
    virtual HRESULT STDMETHODCALLTYPE FunctionEntered(BSTR shortName) = 0;
    /// A function has ended.
    virtual HRESULT STDMETHODCALLTYPE FunctionLeft(BSTR shortName) = 0;
};

// Monitor flags, the registry value "ExtMonitorFlags".
constexpr std::uint32_t kMonitorClasses = 0x1; ///< classes
constexpr std::uint32_t kMonitorEntries = 0x2; ///< function entries
constexpr std::uint32_t kMonitorExits = 0x4;   ///< function exits

/// What the monitor is told of.
enum class MonitorEvent : int
{
    Start = 0, // text: the parameter file
    Stop = 1,  // text: the name of the executable
    Class = 2, // text: a class name; reported once in a row, and when kMonitorClasses is set
    Entry = 3, // text: a short function name; needs kMonitorEntries
    Exit = 4,  // text: a short function name; needs kMonitorExits
};

/// What the registry says of the monitor.
struct MonitorValues
{
    std::wstring ClassId;               ///< empty: nothing is said, everything stays as it is
    std::optional<std::uint32_t> Flags; ///< monitor flags; nothing when they are not said
    std::wstring ParameterFile;         ///< handed to the monitor as it is
};

/// The monitor that the modules of a process share. Guarded by the monitor mutex, which is not held while the monitor
/// is called.
struct CExtMonitorSettings
{
    static constexpr wchar_t kKind[] = L"ExtMonitor";   ///< name of the shared mapping
    static constexpr unsigned long kMappingBytes = 128; ///< its size

    /// What decides how a module reads a block.
    static constexpr std::uint64_t GetLayout() noexcept { return CombineLayout({sizeof(CExtMonitorSettings)}); }

    /// Made for the executable of that name, which does not matter here. No monitor is bound.
    explicit CExtMonitorSettings(const std::wstring&) noexcept {}
    /// Releases the monitor without telling it to stop, then COM.
    ~CExtMonitorSettings();
    CExtMonitorSettings(const CExtMonitorSettings&) = delete;
    CExtMonitorSettings& operator=(const CExtMonitorSettings&) = delete;

    IExtMonitor* Monitor = nullptr;   ///< a reference of its own; null when none is bound
    bool IsComInitialized = false;    ///< by this block
    DWORD ComThread = 0;              ///< the thread that it was initialised on
    void(WINAPI* EndCom)() = nullptr; ///< `CoUninitialize`; set when COM is initialised
    std::wstring ClassId;             ///< of the monitor bound last, or tried to
    std::wstring LastClass;           ///< the class name reported last
    std::uint32_t Flags = 0;          ///< monitor flags
};

/// A module's access to the external monitor of the process. Used under the module's critical section.
///
/// A fault in the monitor passes through these operations: they are called where it is translated and caught.
class CExtMonitor
{
public:
    /// Joins the modules of this process. executableName: with extension.
    void Attach(const std::wstring& executableName) { m_block.Attach(executableName); }
    /// Leaves them; the last one releases the monitor.
    void Detach() noexcept { m_block.Detach(); }

    /// Takes over the flags, and when the class identifier is another than before: parses it (`CLSIDFromString`), stops
    /// and releases the monitor bound so far, creates the new one (`CoCreateInstance`) and starts it. An identifier
    /// that does not parse leaves all else as it is; a monitor that cannot be created leaves none bound. One that
    /// cannot be bound, because the mutex is busy, is released, and the next call creates another.
    void Update(const MonitorValues& values, const std::wstring& executableName);

    /// Tells the monitor. E_NOTIMPL when none is bound or text is null; S_OK when the flags keep the event from it.
    HRESULT Notify(MonitorEvent event, const wchar_t* text);

private:
    bool TakeOver(const MonitorValues& values, CLSID& classId, IExtMonitor*& previous);
    bool Bind(const std::wstring& classId, IExtMonitor* monitor);

    CSharedBlock<CExtMonitorSettings> m_block;
    bool m_isBindingDue = false; // a monitor was made while the mutex was busy, and could not be bound
};
} // namespace KVLogging
