#include "tests/support/OwnComputer.h"

#include <windows.h>

#include <string_view>

namespace KVTest
{
namespace
{
// UNLEN of the system, 256 characters, and the final zero.
constexpr DWORD kLongestName = 257;

bool IsAccountOfTheTests()
{
    wchar_t named[kLongestName] = {};
    wchar_t user[kLongestName] = {};
    DWORD size = kLongestName;
    const DWORD length = ::GetEnvironmentVariableW(L"KV_TEST_ACCOUNT", named, kLongestName);
    return length > 0 && length < kLongestName && ::GetUserNameW(user, &size) != FALSE &&
           std::wstring_view(named) == user;
}
} // namespace

bool IsComputerOfTheTests()
{
    if (::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr)
    {
        return ::GetEnvironmentVariableW(L"KV_WINE_PREFIX", nullptr, 0) != 0;
    }
    return IsAccountOfTheTests();
}
} // namespace KVTest
