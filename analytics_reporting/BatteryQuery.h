#pragma once

#include <windows.h>

#include <wbemidl.h>

#include <string>

#include "winapi/handles/ComPointer.h"

namespace KVAnalyticsReporting
{
/// Asks WMI (class Win32_Battery) whether the computer has a battery. Used once, on a thread that has initialised COM.
///
/// The COM objects are members rather than locals, so that the destructor releases what a fault in Run leaves behind.
class CBatteryQuery
{
public:
    CBatteryQuery() = default;
    /// Releases each object even if the release of a different one faults.
    ~CBatteryQuery();
    CBatteryQuery(const CBatteryQuery&) = delete;
    CBatteryQuery& operator=(const CBatteryQuery&) = delete;

    /// "Yes", "No", or "Unknown" if any step failed. Waits at most 10 seconds for the answer.
    std::wstring Run();

private:
    bool CreateLocator();
    bool ConnectToServer();
    bool ExecuteQuery();
    std::wstring GetAnswer();
    bool HoldsObjects() const noexcept;
    void Release();

    // In the order in which they are obtained, hence released in reverse.
    KVWinApi::CUniqueComPointer<IWbemLocator> m_locator;
    KVWinApi::CUniqueComPointer<IWbemServices> m_services;
    KVWinApi::CUniqueComPointer<IEnumWbemClassObject> m_batteries;
    KVWinApi::CUniqueComPointer<IWbemClassObject> m_battery;
};
} // namespace KVAnalyticsReporting
