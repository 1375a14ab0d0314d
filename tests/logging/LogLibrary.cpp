#include "logging/LogFlags.h"
#include "logging/LogModule.h"

// kv_log_library.dll: a library with its own copy of the logging code, as a program that loads it has one of its own.
extern "C" __declspec(dllexport) void KvLogInLibrary(const wchar_t* text)
{
    KVLogging::CLogModule module(nullptr, "");
    module.LogString(nullptr, KVLogging::kLogInfo, text, true);
}
