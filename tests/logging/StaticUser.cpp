#include <windows.h>

#include <optional>

#include "logging/LogFunction.h"
#include "logging/LogModule.h"
#include "logging/Trace.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"

// kv_log_static_user: logs through a module while the module exists, before it has been made and after it is gone. Ends
// with 0 when exactly the lines of its life have been written.

extern KVLogging::CLogModule g_module;

namespace
{
KV_TRACE_SOURCE(g_module, L"StaticUser.cpp");

std::optional<KVTest::RegistrySandbox> s_registry;
std::optional<KVTest::TemporaryFolder> s_folder;

std::uint32_t NoText(std::uint32_t, wchar_t*, std::uint32_t)
{
    return 0;
}

void UseEverything()
{
    ::SetLastError(4711);
    {
        KV_TRACE(L"Class::Outside");
        KV_LOG(kLogInfo, L"outside");
        KV_LOGF(kLogInfo, L"%s", L"outside");
        kvTraceScope.SetErrorCode(5);
    }
    g_module.LogString(nullptr, 0x10, L"outside", true);
    g_module.AttachLineSink(nullptr);
    g_module.SetErrorTextFormatter(&NoText);
    if (!g_module.FormatErrorText(5).empty() || ::GetLastError() != 4711)
    {
        ::ExitProcess(1);
    }
}

class StaticUser
{
public:
    StaticUser()
    {
        constexpr wchar_t kKey[] = L"Software\\Norvik\\KV\\Logging";
        s_registry.emplace();
        s_folder.emplace();
        s_registry->SetDword(kKey, L"LogCategories", 0x20000FF0);
        s_registry->SetString(kKey, L"LogFileName", s_folder->PathOf(L"trace.log"));
        UseEverything();
    }
    ~StaticUser()
    {
        UseEverything();
        const std::wstring log = KVTest::ReadUtf16File(s_folder->PathOf(L"trace.log"));
        s_folder.reset();
        s_registry.reset();
        if (log != L"(->) Class::Inside\r\n(I0) inside\r\n(<-) Class::Inside\r\n")
        {
            ::ExitProcess(2);
        }
    }
    StaticUser(const StaticUser&) = delete;
    StaticUser& operator=(const StaticUser&) = delete;
};

// Made before the module, hence destroyed after it.
StaticUser s_staticUser;
} // namespace

KVLogging::CLogModule g_module("StaticUser", "01:02:03");

int wmain()
{
    KV_TRACE(L"Class::Inside");
    KV_LOG(kLogInfo, L"inside");
    return 0;
}
