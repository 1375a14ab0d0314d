#include <optional>

#include "logging/LogFlags.h"
#include "logging/LogModule.h"

// kv_log_library.dll: a library with its own copy of the logging code, as a program that loads it has one of its own.

namespace
{
std::optional<KVLogging::CLogModule> s_keptModule; // destroyed when the library is unloaded
} // namespace

// Logs through a module that stays.
extern "C" __declspec(dllexport) void KvLogInKeptModule(const wchar_t* text)
{
    if (!s_keptModule)
    {
        s_keptModule.emplace(nullptr, "");
    }
    s_keptModule->LogString(nullptr, KVLogging::kLogInfo, text, true);
}
extern "C" __declspec(dllexport) void KvLogInLibrary(const wchar_t* text)
{
    KVLogging::CLogModule module(nullptr, "");
    module.LogString(nullptr, KVLogging::kLogInfo, text, true);
}
