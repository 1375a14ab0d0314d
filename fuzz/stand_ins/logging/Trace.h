#pragma once

// Trace macros that do nothing.
#define KV_TRACE_SOURCE(module, fileName) static_assert(true)
#define KV_TRACE(fullName) static_cast<void>(0)
#define KV_LOG(flags, text) static_cast<void>(0)
#define KV_LOGF(flags, ...) static_cast<void>(0)
