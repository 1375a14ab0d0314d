#pragma once

#include <string>

#include "logging/LogFlags.h"
#include "logging/LogFunction.h"
#include "logging/LogModule.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"

namespace KVTest
{
/// How a log file begins after the module has opened it: the header block, then the entry line of a function scope.
inline std::wstring GetLogHeader(KVLogging::CLogModule& module)
{
    const TemporaryFolder folder;
    const RegistrySandbox registry;
    const std::wstring key = L"Software\\Norvik\\KV\\Logging";
    registry.SetString(key, L"LogFileName", folder.PathOf(L"log.txt"));
    registry.SetDword(key, L"LogCategories", KVLogging::kLogHeader | KVLogging::kLogEntry);
    const KVLogging::CLogSourceFile sourceFile(L"LogHeader.h");
    const KVLogging::CLogFunction scope(&module, sourceFile, L"Function", __LINE__);
    return ReadUtf16File(folder.PathOf(L"log.txt"));
}
} // namespace KVTest
