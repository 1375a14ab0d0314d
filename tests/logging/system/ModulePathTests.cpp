#include "logging/system/ModulePath.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace
{
using namespace KVLogging;

constexpr wchar_t kLongPathPrefix[] = L"\\\\?\\";

// The system tells a path as it was asked for, with the prefix, or without it.
std::wstring StripPrefix(const std::wstring& path)
{
    return path.starts_with(kLongPathPrefix) ? path.substr(std::size(kLongPathPrefix) - 1) : path;
}

// A copy of a library at a path of more characters than MAX_PATH, loaded.
class DeepLibrary
{
public:
    DeepLibrary()
        : m_deepFolder(kLongPathPrefix + m_folder.MakeFolder(std::wstring(100, L'd')) + L"\\" +
                       std::wstring(150, L'e')),
          m_path(m_deepFolder + L"\\kv_log_library.dll")
    {
        ::CreateDirectoryW(m_deepFolder.c_str(), nullptr);
        ::CopyFileW(KVTest::PathBesideTest(L"kv_log_library.dll").c_str(), m_path.c_str(), TRUE);
        m_module = ::LoadLibraryW(m_path.c_str());
    }
    ~DeepLibrary()
    {
        if (m_module != nullptr)
        {
            ::FreeLibrary(m_module);
        }
        ::DeleteFileW(m_path.c_str());
        ::RemoveDirectoryW(m_deepFolder.c_str());
    }
    DeepLibrary(const DeepLibrary&) = delete;
    DeepLibrary& operator=(const DeepLibrary&) = delete;

    HMODULE GetModule() const { return m_module; }
    std::wstring GetPath() const { return StripPrefix(m_path); }

private:
    KVTest::TemporaryFolder m_folder;
    std::wstring m_deepFolder;
    std::wstring m_path;
    HMODULE m_module = nullptr;
};

TEST(ModulePathTests, GetModulePath_LongerThanMaxPath_IsWhole)
{
    const DeepLibrary library;
    ASSERT_NE(library.GetModule(), nullptr);
    ASSERT_GT(library.GetPath().size(), std::size_t{MAX_PATH});
    EXPECT_EQ(StripPrefix(GetModulePath(library.GetModule())), library.GetPath());
}

TEST(ModulePathTests, GetModulePath_NoSuchModule_IsEmpty)
{
    EXPECT_EQ(GetModulePath(reinterpret_cast<HMODULE>(std::uintptr_t{0x12340000})), L"");
}
} // namespace
