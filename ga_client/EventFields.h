#pragma once

#include <cstdint>
#include <string>

namespace GAClient
{
/// The value of an event that has none.
constexpr std::int32_t kNoEventValue = -1;

/// The contents of an event hit. Empty texts are left out of the hit.
struct EventFields
{
    std::wstring action;                ///< ea
    std::wstring category;              ///< ec
    std::wstring label;                 ///< el
    std::int32_t value = kNoEventValue; ///< ev
    std::wstring nonInteraction;        ///< ni: "1" or empty
};

/// The actions of the two events that mark the start and end of an application. A hit with either never gets a
/// queue-time mark, and one with the second ends the session.
inline constexpr wchar_t kLifecycleStartAction[] = L"Start";
inline constexpr wchar_t kLifecycleStopAction[] = L"Stop";
} // namespace GAClient
