#include "tests/support/BuiltFiles.h"

#include <filesystem>

namespace KVTest
{
namespace
{
// The definitions are paths of the machine that builds. On Windows they are full paths. Under Wine they have no drive,
// and tests start in a folder of the drive that shows that machine's files.
std::wstring FullPath(const std::filesystem::path& pathOfBuild)
{
    return std::filesystem::absolute(pathOfBuild).make_preferred().wstring();
}
} // namespace

std::wstring PathOfBuiltProgram()
{
    return FullPath(KV_TEST_BUILT_PROGRAM);
}

std::wstring PathInSources(std::wstring_view path)
{
    return FullPath(std::filesystem::path(KV_TEST_SOURCES) / path);
}
} // namespace KVTest
