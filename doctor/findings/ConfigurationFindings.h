#pragma once

#include <string>

namespace KVAnalyticsDoctor
{
/// What a run reads from config.ini, and what it makes of that.
struct ConfigurationFindings
{
    /// How the data folder was found.
    enum class DataFolderSource
    {
        kConfigured, ///< config.ini names it
        kDefault,    ///< below the common application data
        kNone,       ///< that is unavailable
    };

    std::wstring path;
    bool isPresent = false; ///< as a file
    std::wstring propertyIdPrefix;
    std::wstring propertyId; ///< of the hits
    std::wstring useSslText; ///< as it is written; empty if it is absent
    bool useSsl = true;
    std::wstring modelName;
    std::wstring dataFolder; ///< where the opt-out mark is looked for
    DataFolderSource dataFolderSource = DataFolderSource::kNone;
};

/// Reads all keys as a run does (proxy/RunSettings.h, KVUtils::CSxSConfig). Throws std::bad_alloc if memory is short
/// while the data folder is looked for.
ConfigurationFindings FindConfiguration();
} // namespace KVAnalyticsDoctor
