#pragma once

#include <string>
#include <string_view>

namespace KVTest
{
/// Full path of KVAnalyticsProxy.exe where the build has put it, in the configuration of this test program. The target
/// of a test that uses it depends on KVAnalyticsProxy.
std::wstring PathOfBuiltProgram();

/// Full path of a file of the source tree. path: from its root, with "/" between folders.
std::wstring PathInSources(std::wstring_view path);
} // namespace KVTest
