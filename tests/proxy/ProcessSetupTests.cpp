#include "proxy/ProcessSetup.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "tests/proxy/Surroundings.h"
#include "tests/support/LoaderPatch.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int);

namespace
{
using KVAnalyticsProxy::CProcessSetup;

constexpr UINT kBoxes = SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX;

// A library beside the program, which only the usual search finds by its bare name.
bool IsFoundBesideTheProgram()
{
    const HMODULE module = ::LoadLibraryW(L"kv_planted.dll");
    if (module != nullptr)
    {
        ::FreeLibrary(module);
    }
    return module != nullptr;
}

TEST(ProcessSetupTests, Libraries_AreSearchedForInTheSystemFolderOnly)
{
    EXPECT_TRUE(IsFoundBesideTheProgram());
    const CProcessSetup setup;
    EXPECT_FALSE(IsFoundBesideTheProgram());
    EXPECT_NE(::LoadLibraryW(L"winmm.dll"), nullptr);
}

TEST(ProcessSetupTests, ASystemWithoutTheFunction_KeepsItsSearch)
{
    KVTest::LoaderPatch loader;
    loader.LackFunctions();
    const CProcessSetup setup;
    EXPECT_EQ(loader.GetLookUps().at(0).name, "SetDefaultDllDirectories");
    EXPECT_TRUE(IsFoundBesideTheProgram());
}

TEST(ProcessSetupTests, Boxes_AreOffAndWhatWasOffStaysOff)
{
    ::SetErrorMode(SEM_NOALIGNMENTFAULTEXCEPT);
    const CProcessSetup setup;
    EXPECT_EQ(::GetErrorMode(), kBoxes | SEM_NOALIGNMENTFAULTEXCEPT);
}

TEST(ProcessSetupTests, Main_SetsItsProcessUp)
{
    KVTest::Surroundings around;
    around.RemoveParticipationProgram();
    ::SetErrorMode(0);
    wWinMain(nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(::GetErrorMode(), kBoxes);
    EXPECT_FALSE(IsFoundBesideTheProgram());
}
} // namespace
