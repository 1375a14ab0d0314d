#pragma once

#include <string>

namespace KVUtils
{
/// While not empty, CPathUtils::GetPathOfExecutable returns this text as it is, without asking the system. Set by
/// tests, before other threads run.
extern std::wstring g_pathOfExecutableOverride;
} // namespace KVUtils
