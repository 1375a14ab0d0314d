#include "logging/LogFunction.h"

// Must compile without KV_REFUSAL, and must not with each of its numbers: see expect_no_compilation. KV_LOGF makes the
// same call, but its header takes the compiler longer.
void Log(KVLogging::CLogFunction& scope, const wchar_t* text)
{
#if !defined(KV_REFUSAL)
    scope.LogFormattedString(16, 1, L"%s is %d", text, 5);
#elif KV_REFUSAL == 1
    scope.LogFormattedString(16, 1, L"%s", 5);
#elif KV_REFUSAL == 2
    scope.LogFormattedString(16, 1, L"%d", text);
#elif KV_REFUSAL == 3
    scope.LogFormattedString(16, 1, L"%s is %d", text);
#elif KV_REFUSAL == 4
    scope.LogFormattedString(16, 1, L"text", 5);
#elif KV_REFUSAL == 5
    scope.LogFormattedString(16, 1, L"%s", "narrow");
#elif KV_REFUSAL == 6
    scope.LogFormattedString(16, 1, L"%d", 5LL);
#elif KV_REFUSAL == 7
    scope.LogFormattedString(16, 1, L"%n", nullptr);
#endif
}
