#pragma once

#include <string>

namespace GAClient
{
/// Reads the client id, a persistent pseudonym of the user, from the identity file, or generates one and writes it
/// there.
///
/// The file is NAME.ini in the data folder (DataFolder.h), section "Users", key "UUID". Because the folder includes the
/// version, each version of an application has an id of its own; this is deliberate. An existing value is used as it
/// is, also when it is no UUID. A new id has 36 characters, lower case, with hyphens (`UuidCreate`).
///
/// False when there is no application name, no data folder, or when a new id could not be written. In the last two
/// cases clientId holds the new id nevertheless; it is empty when the system could not generate one.
bool LoadOrCreateClientId(const std::wstring& applicationName, const std::wstring& applicationVersion,
                          std::wstring& clientId);

/// The identity file of an application in its data folder, which ends with a backslash.
inline std::wstring GetIdentityFile(const std::wstring& folder, const std::wstring& applicationName)
{
    return folder + applicationName + L".ini";
}

/// The client id in an identity file, at most 255 characters of it (`GetPrivateProfileStringW`); empty if the file has
/// none. Only reads. Pass a full path: a bare name would mean a file in the Windows folder.
std::wstring ReadClientId(const std::wstring& identityFile);
} // namespace GAClient
