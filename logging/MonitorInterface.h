#pragma once

#include <windows.h>

#include <oaidl.h>

#include <cstdint>

namespace KVLogging
{
/// {46C071BD-4AB9-4CED-B72B-9976370F007E}
constexpr IID kExtMonitorInterfaceId = {0x46C071BD, 0x4AB9, 0x4CED, {0xB7, 0x2B, 0x99, 0x76, 0x37, 0x0F, 0x00, 0x7E}};

/// An external monitor: a COM object that the user's settings name and that learns of function entries and exits as
/// they happen (see docs/logging.md). Support tools implement it, inside or outside this process. Declaration order is
/// slot order and part of the interface, the names are not.
///
/// Called on the thread that logs, in the critical section of its module: a slow monitor delays that module, and the
/// functions that log through it. The texts are valid during the call. Results are ignored.
struct IExtMonitor : public IDispatch
{
    /// Once, before anything else. parameterFile is the configured text as it is; the second argument is the same text,
    /// "<unknown>" when it is empty.
    virtual HRESULT STDMETHODCALLTYPE Start(BSTR parameterFile, BSTR parameterFileOrUnknown) = 0;
    /// When a different monitor takes its place; the object is released right after.
    virtual HRESULT STDMETHODCALLTYPE Stop(BSTR executableName) = 0;
    /// A function begins whose class differs from that of the function before.
    virtual HRESULT STDMETHODCALLTYPE ClassEntered(BSTR className) = 0;
    /// A function begins. shortName: class and function.
    virtual HRESULT STDMETHODCALLTYPE FunctionEntered(BSTR shortName) = 0;
    /// A function ends. shortName: class and function.
    virtual HRESULT STDMETHODCALLTYPE FunctionLeft(BSTR shortName) = 0;
};

// Monitor flags, the registry value "ExtMonitorFlags".
constexpr std::uint32_t kMonitorClasses = 0x1; ///< classes
constexpr std::uint32_t kMonitorEntries = 0x2; ///< function entries
constexpr std::uint32_t kMonitorExits = 0x4;   ///< function exits
} // namespace KVLogging
