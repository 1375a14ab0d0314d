#pragma once

#include <string>

#include "utils/IniFile.h"

namespace KVUtils
{
/// The places of the settings and the data of the product that this program is installed with.
///
/// Each value is determined on first use and cached while it is not empty; an empty one is determined again by the next
/// call. The references are valid until the process ends. Deliberate: no lock, since the program calls on its main
/// thread only; calls on other threads must not race with the first use.
class CSxSConfig
{
public:
    /// "config.ini" in the product folder: one object for the whole process, whose path each call sets again. If the
    /// product folder is unknown, the path is the bare file name, which the system looks up in the Windows folder.
    static IIniFile& _GetIniFile(); // NOLINT(readability-identifier-naming): the name is part of the interface

    /// The parent of the executable's folder; empty if the system does not report the executable's path.
    static const std::wstring& GetSxSProductFolder();

    /// The folder of the product's data: section "Directories", key "DataFolder" of the ini file, unchanged; otherwise
    /// "Norvik" and the product folder's own name below the common application data (`SHGetFolderPathW`). Empty if that
    /// is unknown as well. The folder is neither created nor checked. If memory is short, in this process or in the
    /// system, it throws std::bad_alloc: the wrong folder would not have the opt-out mark.
    static const std::wstring& GetDataFolder();

    /// Section "DeviceInfo", key "ModelName" of the ini file; empty if it is absent.
    static const std::wstring& GetModelName();
};
} // namespace KVUtils
