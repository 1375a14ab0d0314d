#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/ImportPatch.h"

namespace KVTest
{
/// Stands between the program and the system's loader (`LoadLibraryExW`, `GetProcAddress`) for the object's lifetime,
/// notes what is asked of it and answers in its place. One at a time.
class LoaderPatch
{
public:
    /// The loader does its work, and leaves kDisturbedError as the last error.
    LoaderPatch();
    ~LoaderPatch();
    LoaderPatch(const LoaderPatch&) = delete;
    LoaderPatch& operator=(const LoaderPatch&) = delete;

    static constexpr DWORD kDisturbedError = 4711;

    /// A look-up of that name finds this function instead of what there is; without a name every look-up does.
    void AnswerWith(void* function, const char* name = "") { m_answers[name] = function; }
    /// No library can be loaded from now on (ERROR_MOD_NOT_FOUND), or none but those whose file name is another.
    void LackLibraries(const wchar_t* fileName = nullptr) noexcept;
    /// No function is found from now on (ERROR_PROC_NOT_FOUND).
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
        void* found; // what there is, whatever the answer was
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
