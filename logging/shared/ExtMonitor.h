#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include "logging/MonitorInterface.h"
#include "logging/shared/SharedBlock.h"

namespace KVLogging
{
/// The events of a monitor. The numbers are fixed.
enum class MonitorEvent : int
{
    kStart = 0, // text: the parameter file
    kStop = 1,  // text: the name of the executable
    kClass = 2, // text: a class name; reported if it differs from the last one and kMonitorClasses is set
    kEntry = 3, // text: a short function name; needs kMonitorEntries
    kExit = 4,  // text: a short function name; needs kMonitorExits
};

/// The monitor's values in the registry.
struct MonitorValues
{
    std::wstring classId;               ///< empty if absent: everything stays as it is
    std::optional<std::uint32_t> flags; ///< monitor flags; nothing if absent
    std::wstring parameterFile;         ///< handed to the monitor as it is
};

/// The monitor that the modules of a process share. Guarded by the monitor mutex, which is not held while the monitor
/// is called.
struct CExtMonitorSettings
{
    static constexpr wchar_t kKind[] = L"ExtMonitor";   ///< name of the shared mapping
    static constexpr unsigned long kMappingBytes = 128; ///< its size

    /// What decides how a module reads a block.
    static constexpr std::uint64_t GetLayout() noexcept { return CombineLayout({sizeof(CExtMonitorSettings)}); }

    /// The name of the executable does not matter here. No monitor is bound.
    explicit CExtMonitorSettings(const std::wstring&) noexcept {}
    /// Releases the monitor without a call of Stop, then COM.
    ~CExtMonitorSettings();
    CExtMonitorSettings(const CExtMonitorSettings&) = delete;
    CExtMonitorSettings& operator=(const CExtMonitorSettings&) = delete;

    /// A reference of its own; null when none is bound. Atomic, since a module looks at it without the mutex first.
    std::atomic<IExtMonitor*> monitor = nullptr;
    bool isComInitialized = false;    ///< by this block
    DWORD comThread = 0;              ///< the thread that it was initialised on
    void(WINAPI* endCom)() = nullptr; ///< `CoUninitialize`; set when COM is initialised
    std::wstring classId;             ///< of the monitor bound last, or tried to
    std::wstring lastClass;           ///< the class name reported last
    std::uint32_t flags = 0;          ///< monitor flags
};

/// A module's access to the external monitor of the process. Used in the module's critical section, with neither the
/// settings mutex nor the turn at a log file held: the monitor is foreign code.
class CExtMonitor
{
public:
    /// Joins the modules of this process. executableName: with extension.
    void Attach(const std::wstring& executableName) { m_block.Attach(executableName); }
    /// Leaves them; the last one releases the monitor.
    void Detach() noexcept { m_block.Detach(); }

    /// Takes over the flags. If the class identifier has changed: parses it (`CLSIDFromString`), stops and releases the
    /// monitor bound so far, creates the new one (`CoCreateInstance`) and starts it. An identifier that does not parse
    /// leaves all else as it is; a monitor that cannot be created leaves none bound. One that cannot be bound, because
    /// the mutex is busy, is released, and the next call creates another. A monitor that fails or faults is its own
    /// affair: nothing is reported.
    void Update(const MonitorValues& values, const std::wstring& executableName) noexcept;

    /// Whether a monitor is bound. Takes no mutex: without a monitor, entry and exit lines must not pay for it.
    bool IsBound() const noexcept { return m_block.IsAttached() && m_block.Get()->monitor != nullptr; }

    /// Calls the monitor. E_NOTIMPL when none is bound or text is null; S_OK when the flags exclude the event. A fault
    /// in the monitor leaves this operation: call it where faults are translated and caught.
    HRESULT Notify(MonitorEvent event, const wchar_t* text);

private:
    void Replace(const MonitorValues& values, const std::wstring& executableName);
    bool TakeOver(const MonitorValues& values, CLSID& classId, IExtMonitor*& previous);
    bool Bind(const std::wstring& classId, IExtMonitor* monitor);

    CSharedBlock<CExtMonitorSettings> m_block;
    bool m_isBindingDue = false; // a monitor was made while the mutex was busy, and could not be bound
};
} // namespace KVLogging
