#include "logging/Trace.h"

// Must compile without KV_REFUSAL, and must not with each of its numbers: see expect_no_compilation.
KVLogging::CLogModule g_module("Refusals", "");

namespace
{
KV_TRACE_SOURCE(g_module, L"FormatRefusals.cpp");
} // namespace

void Log(const std::wstring& text)
{
    KV_TRACE(L"Log");
#if !defined(KV_REFUSAL)
    KV_LOGF(kLogInfo, L"%s is %d", text.c_str(), 5);
#elif KV_REFUSAL == 1
    KV_LOGF(kLogInfo, L"%s", 5);
#elif KV_REFUSAL == 2
    KV_LOGF(kLogInfo, L"%d", text.c_str());
#elif KV_REFUSAL == 3
    KV_LOGF(kLogInfo, L"%s is %d", text.c_str());
#elif KV_REFUSAL == 4
    KV_LOGF(kLogInfo, L"text", 5);
#elif KV_REFUSAL == 5
    KV_LOGF(kLogInfo, L"%s", "narrow");
#elif KV_REFUSAL == 6
    KV_LOGF(kLogInfo, L"%d", 5LL);
#elif KV_REFUSAL == 7
    KV_LOGF(kLogInfo, L"%n", nullptr);
#endif
}
