#pragma once

#include <string>

namespace KVAnalyticsDoctor
{
/// The client's folder and the client id. A run needs the id: it reads it, or makes and stores one.
struct ClientFindings
{
    std::wstring folder; ///< with a backslash at its end; empty if the user's folder is unavailable
    std::wstring identityFile;
    std::wstring clientId;         ///< whole; empty if there is none yet
    bool canStoreClientId = false; ///< judged without writing: the file, or the nearest folder above it, can be changed

    /// Whether a run of this user has an id.
    bool CanIdentify() const noexcept { return !clientId.empty() || canStoreClientId; }
};

/// version: of the program, which is part of the folder's name. Opens files and folders with the rights to change them,
/// and changes nothing (`CreateFileW`).
ClientFindings FindClient(const std::wstring& version);
} // namespace KVAnalyticsDoctor
