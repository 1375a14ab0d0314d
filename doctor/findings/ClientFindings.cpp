#include "doctor/findings/ClientFindings.h"

#include <windows.h>

#include "ga_client/ClientId.h"
#include "ga_client/DataFolderLookup.h"
#include "proxy/RunSettings.h"
#include "utils/PathUtils.h"
#include "winapi/handles/KernelHandles.h"

namespace KVAnalyticsDoctor
{
namespace
{
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool CanOpen(const std::wstring& path, DWORD access)
{
    // The flag lets folders be opened as well.
    return KVWinApi::CUniqueFile(KVWinApi::g_kernelApi->CreateFileW(path.c_str(), access, kShareAll, nullptr,
                                                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr))
        .IsValid();
}

// Whether an entry can be added at the nearest existing folder above: a file there, or nothing, is no place for one.
bool CanAddBelow(std::wstring folder)
{
    while (!folder.empty())
    {
        const DWORD attributes = KVWinApi::g_kernelApi->GetFileAttributesW(folder.c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES)
        {
            return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
                   CanOpen(folder, FILE_ADD_FILE | FILE_ADD_SUBDIRECTORY);
        }
        const std::wstring parent = KVUtils::CPathUtils::StripFilename(folder);
        folder = parent.size() < folder.size() ? parent : std::wstring();
    }
    return false;
}

bool CanStore(const std::wstring& file)
{
    const DWORD attributes = KVWinApi::g_kernelApi->GetFileAttributesW(file.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
    {
        return CanAddBelow(KVUtils::CPathUtils::StripFilename(file));
    }
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 && CanOpen(file, GENERIC_READ | GENERIC_WRITE);
}
} // namespace

ClientFindings FindClient(const std::wstring& version)
{
    ClientFindings findings;
    findings.folder = GAClient::FindDataFolder(KVAnalyticsProxy::kApplicationName, version);
    if (findings.folder.empty())
    {
        return findings;
    }
    findings.identityFile = GAClient::GetIdentityFile(findings.folder, KVAnalyticsProxy::kApplicationName);
    findings.clientId = GAClient::ReadClientId(findings.identityFile);
    findings.canStoreClientId = CanStore(findings.identityFile);
    return findings;
}
} // namespace KVAnalyticsDoctor
