#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/ImportPatch.h"

namespace KVTest
{
/// For the object's lifetime replaces the program's imports of the system's loader, `LoadLibraryExW` and
/// `GetProcAddress`: records each call and can change its result. One at a time.
class LoaderPatch
{
public:
    /// Calls succeed as usual at first, but leave kDisturbedError as the last error.
    LoaderPatch();
    ~LoaderPatch();
    LoaderPatch(const LoaderPatch&) = delete;
    LoaderPatch& operator=(const LoaderPatch&) = delete;

    static constexpr DWORD kDisturbedError = 4711;

    /// A look-up of that name returns this function instead of the system's; without a name every look-up does.
    void AnswerWith(void* function, const char* name = "") { m_answers[name] = function; }
    /// From here on every load fails with ERROR_MOD_NOT_FOUND, or only that of the library with this file name.
    void LackLibraries(const wchar_t* fileName = nullptr) noexcept;
    /// From here on every look-up fails with ERROR_PROC_NOT_FOUND.
    void LackFunctions() noexcept { m_lacksFunctions = true; }

    struct Load
    {
        std::wstring path;
        HANDLE file;
        DWORD flags;
    };
    struct LookUp
    {
        HMODULE module;
        std::string name;
        void* found; // what the system returned, whatever the caller received
    };
    const std::vector<Load>& GetLoads() const noexcept { return m_loads; }
    const std::vector<LookUp>& GetLookUps() const noexcept { return m_lookUps; }

private:
    static HMODULE WINAPI LoadStandIn(LPCWSTR path, HANDLE file, DWORD flags);
    static FARPROC WINAPI LookUpStandIn(HMODULE module, LPCSTR name);

    void* FindAnswer(const char* name) const;

    std::map<std::string, void*> m_answers;
    bool m_lacksLibraries = false;
    std::wstring m_lackingLibrary; // empty: all
    bool m_lacksFunctions = false;
    std::vector<Load> m_loads;
    std::vector<LookUp> m_lookUps;
    ImportPatch m_loadPatch;
    ImportPatch m_lookUpPatch;
};
} // namespace KVTest
