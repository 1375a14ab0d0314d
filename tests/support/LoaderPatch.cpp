#include "tests/support/LoaderPatch.h"

KV_DECLARE_IMPORT(LoadLibraryExW)
KV_DECLARE_IMPORT(GetProcAddress)

namespace KVTest
{
namespace
{
LoaderPatch* s_patch = nullptr;

template <typename Function> Function OriginalOf(const ImportPatch& patch, Function)
{
    return reinterpret_cast<Function>(patch.GetOriginal());
}

std::wstring FilePart(const std::wstring& path)
{
    return path.substr(path.rfind(L'\\') + 1);
}
} // namespace

LoaderPatch::LoaderPatch()
    : m_loadPatch(__imp_LoadLibraryExW, reinterpret_cast<void*>(&LoadStandIn)),
      m_lookUpPatch(__imp_GetProcAddress, reinterpret_cast<void*>(&LookUpStandIn))
{
    s_patch = this;
}

LoaderPatch::~LoaderPatch()
{
    s_patch = nullptr;
}

void LoaderPatch::LackLibraries(const wchar_t* fileName) noexcept
{
    m_lacksLibraries = true;
    m_lackingLibrary = fileName != nullptr ? fileName : L"";
}

void* LoaderPatch::FindAnswer(const char* name) const
{
    const auto own = m_answers.find(name);
    const auto found = own != m_answers.end() ? own : m_answers.find("");
    return found != m_answers.end() ? found->second : nullptr;
}

HMODULE WINAPI LoaderPatch::LoadStandIn(LPCWSTR path, HANDLE file, DWORD flags)
{
    LoaderPatch& patch = *s_patch;
    patch.m_loads.push_back({path, file, flags});
    if (patch.m_lacksLibraries && (patch.m_lackingLibrary.empty() || patch.m_lackingLibrary == FilePart(path)))
    {
        ::SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    const HMODULE module = OriginalOf(patch.m_loadPatch, &::LoadLibraryExW)(path, file, flags);
    ::SetLastError(module != nullptr ? kDisturbedError : ::GetLastError());
    return module;
}

FARPROC WINAPI LoaderPatch::LookUpStandIn(HMODULE module, LPCSTR name)
{
    LoaderPatch& patch = *s_patch;
    const FARPROC found = OriginalOf(patch.m_lookUpPatch, &::GetProcAddress)(module, name);
    patch.m_lookUps.push_back({module, name, reinterpret_cast<void*>(found)});
    if (found == nullptr || patch.m_lacksFunctions)
    {
        ::SetLastError(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    ::SetLastError(kDisturbedError);
    void* const answer = patch.FindAnswer(name);
    return answer != nullptr ? reinterpret_cast<FARPROC>(answer) : found;
}
} // namespace KVTest
