#pragma once

#include <windows.h>

namespace KVDeviceManager
{
/// Results of CPrintUtil: HRESULTs of the program's own facility 0x3E8, and 0 for success. SUCCEEDED and FAILED work on
/// them.

constexpr HRESULT PRINT_S_OK = 0;
/// The printer data has no value of that name.
constexpr HRESULT PRINT_E_VALUE_NOT_FOUND = static_cast<HRESULT>(0x83E8FAF3);
/// The value of the printer data is no string (REG_SZ).
constexpr HRESULT PRINT_E_NOT_A_STRING = static_cast<HRESULT>(0x83E8FAF4);
/// An argument is missing or empty, or the printer could not be opened.
constexpr HRESULT PRINT_E_INVALID_PARAMETER = static_cast<HRESULT>(0x83E8FAF7);
/// The spooler denies access to the value.
constexpr HRESULT PRINT_E_ACCESS_DENIED = static_cast<HRESULT>(0x83E8FAFA);
/// No memory could be allocated for the spooler's answer.
constexpr HRESULT PRINT_E_OUT_OF_MEMORY = static_cast<HRESULT>(0x83E8FAFE);
/// Any other failure: nothing was enumerated, the second call of the spooler failed, or the spooler failed
/// unexpectedly.
constexpr HRESULT PRINT_E_FAILED = static_cast<HRESULT>(0x83E8FAFF);
} // namespace KVDeviceManager
