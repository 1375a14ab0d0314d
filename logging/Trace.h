#pragma once

#include "logging/LogFlags.h"
#include "logging/LogFunction.h"
#include "logging/LogModule.h"
#include "logging/LogSourceFile.h"

/// The short form of tracing.
///
/// Once per library, in one of its source files, with a declaration in a header that its other files share:
///
///     KVLogging::CLogModule g_logModule("Utils", "04:48:18");
///
/// Once per traced source file, in its anonymous namespace:
///
///     KV_TRACE_SOURCE(g_logModule, L"PathUtils.cpp");
///
/// As the first statement of a traced function, and below it in that function:
///
///     KV_TRACE(L"KVUtils::CPathUtils::GetPathOfExecutable");
///     KV_LOG(kLogWarning, L"nothing found");
///     KV_LOGF(kLogInfo + 7, L"GetPathOfExecutable: wstrResult = %s", result.c_str()); // %s is wide text
///
/// The constants of LogFlags.h need no namespace inside KV_LOG and KV_LOGF. None of it throws or changes the thread's
/// last error. Static initialisers do not trace: their module may not exist yet.

/// module: the library's CLogModule; fileName: wide text.
#define KV_TRACE_SOURCE(module, fileName)                                                                              \
    [[maybe_unused]] KVLogging::CLogModule& s_kvTraceModule = (module);                                                \
    constinit const KVLogging::CLogSourceFile s_kvTraceSourceFile(fileName)

/// fullName: wide text that outlives the scope, a literal: namespaces, class and function.
#define KV_TRACE(fullName)                                                                                             \
    KVLogging::CLogFunction kvTraceScope(&s_kvTraceModule, s_kvTraceSourceFile, (fullName), __LINE__)

/// A line of plain text.
#define KV_LOG(flags, text)                                                                                            \
    do                                                                                                                 \
    {                                                                                                                  \
        using namespace KVLogging;                                                                                     \
        kvTraceScope.LogString((flags), __LINE__, (text));                                                             \
    } while (false)

/// A formatted line: KV_LOGF(flags, format, arguments...), by the wide printf conventions of the Windows C runtime. The
/// format is a literal; one that does not fit the arguments does not compile.
#define KV_LOGF(flags, ...)                                                                                            \
    do                                                                                                                 \
    {                                                                                                                  \
        using namespace KVLogging;                                                                                     \
        kvTraceScope.LogFormattedString((flags), __LINE__, __VA_ARGS__);                                               \
    } while (false)
