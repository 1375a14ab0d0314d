#pragma once

#include <windows.h>

namespace KVAnalyticsProxy
{
/// Results of a run, which are the exit codes of the program: HRESULTs of the program's own facility 0x3E8.

/// The engine was initialised and started; the tracking call, if any, was made and the wait ended.
constexpr HRESULT PROXY_S_DONE = 0x03E8C0FB;
/// The user has not opted in; nothing else was done. Deliberate: a success, since declining is no error.
constexpr HRESULT PROXY_S_NOT_OPTED_IN = 0x03E8C0FF;
/// The analytics engine could not be initialised.
constexpr HRESULT PROXY_E_INIT_FAILED = static_cast<HRESULT>(0x83E8C0FC);
/// The analytics engine could not be started.
constexpr HRESULT PROXY_E_START_FAILED = static_cast<HRESULT>(0x83E8C0FD);
/// The parent process is not the host of the device centre.
constexpr HRESULT PROXY_E_NOT_CALLED_BY_LUMO = static_cast<HRESULT>(0x83E8C0FE);
} // namespace KVAnalyticsProxy
