#pragma once

#include <cstdint>
#include <string>

namespace GAClient
{
/// The value of an event that has none.
constexpr std::int32_t kNoEventValue = -1;

/// What an event hit tells. Empty texts are left out of the hit.
struct EventFields
{
    std::wstring action;                ///< ea
    std::wstring category;              ///< ec
    std::wstring label;                 ///< el
    std::int32_t value = kNoEventValue; ///< ev
    std::wstring nonInteraction;        ///< ni: "1" or empty
};

/// The actions of the two events that mark the life of an application. A hit with one of them is never given a
/// queue-time mark, and the second one ends the session.
inline constexpr wchar_t kLifecycleStartAction[] = L"Start";
inline constexpr wchar_t kLifecycleStopAction[] = L"Stop";
} // namespace GAClient
