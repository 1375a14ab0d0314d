#pragma once

namespace KVTest
{
/// Exported by kv_log_monitor.dll, a COM server whose class is any that is asked for and whose objects are monitors.

/// What the monitors were told so far, one line for each call: number of the object, name of the call, arguments in
/// brackets. "create" and "release" stand for the object's birth and end. Valid until the next call.
using GetMonitorRecordFunction = const wchar_t* (*)();
/// The call of that name faults from now on; null for none.
using SetMonitorFaultFunction = void (*)(const wchar_t* callName);
/// The creation of objects fails from now on, or no longer.
using SetMonitorRefusalFunction = void (*)(bool isRefused);
/// The call of that name takes that much longer from now on.
using SetMonitorDelayFunction = void (*)(const wchar_t* callName, unsigned long milliseconds);
} // namespace KVTest
