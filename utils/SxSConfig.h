#pragma once

#include <string>

#include "utils/IniFile.h"

namespace KVUtils
{
/// Where the product that this program is installed with keeps its settings and its data.
///
/// Each value is worked out on first use and kept while it is not empty; an empty one is worked out again at the next
/// call. The references stay valid to the end of the process. Deliberate: no lock, the program asks from its main
/// thread; calls on other threads must not race with the first use.
class CSxSConfig
{
public:
    /// "config.ini" in the product folder: one object for the whole process, its path set anew at each call. With an
    /// unknown product folder the path is the bare file name, which the system looks up in the Windows folder.
    static IIniFile& _GetIniFile(); // NOLINT(readability-identifier-naming): the name is part of the interface

    /// The parent of the folder that holds the executable; empty when the system does not tell.
    static const std::wstring& GetSxSProductFolder();

    /// The folder of the product's data: section "Directories", key "DataFolder" of the ini file, taken as it stands,
    /// or else "Norvik" and the product folder's own name below the common application data (`SHGetFolderPathW`).
    /// Empty when that is unknown too. Nothing is made or checked. Throws std::bad_alloc when there was no memory to
    /// find the folder, in this process or in the system: another folder would not have the mark of opting out.
    static const std::wstring& GetDataFolder();

    /// Section "DeviceInfo", key "ModelName" of the ini file; empty when it is not there.
    static const std::wstring& GetModelName();
};
} // namespace KVUtils
