#include "logging/LogSourceFile.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace
{
using KVLogging::CLogSourceFile;

TEST(LogSourceFileTests, GetName_IsInLowerCase)
{
    EXPECT_EQ(CLogSourceFile(L"SxSConfig.cpp").GetName(), L"sxsconfig.cpp");
}

TEST(LogSourceFileTests, GetName_OnlyAToZChange)
{
    EXPECT_EQ(CLogSourceFile(L"AZ[\u00C4\u0410].Cpp").GetName(), L"az[\u00C4\u0410].cpp");
}

TEST(LogSourceFileTests, GetName_FolderIsTakenOffUpToTheLastBackslash)
{
    EXPECT_EQ(CLogSourceFile(L"C:\\Src\\Utils\\PathUtils.cpp").GetName(), L"pathutils.cpp");
    EXPECT_EQ(CLogSourceFile(L"\\Utils\\PathUtils.cpp").GetName(), L"pathutils.cpp");
    EXPECT_EQ(CLogSourceFile(L"utils/PathUtils.cpp").GetName(), L"utils/pathutils.cpp");
    EXPECT_EQ(CLogSourceFile(L"folder\\").GetName(), L"");
}

TEST(LogSourceFileTests, GetName_OnlyBackslashInFront_Stays)
{
    EXPECT_EQ(CLogSourceFile(L"\\PathUtils.cpp").GetName(), L"\\pathutils.cpp");
}

TEST(LogSourceFileTests, GetName_LongerThanAnyFileName_IsCut)
{
    EXPECT_EQ(CLogSourceFile(std::wstring(300, L'X')).GetName(), std::wstring(255, L'x'));
}

TEST(LogSourceFileTests, Class_HasAVirtualDestructor)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<CLogSourceFile>);
}
} // namespace
