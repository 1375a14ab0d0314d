#pragma once

#include <string>

#include "utils/FileUtils.h"
#include "utils/PathUtils.h"
#include "utils/SxSConfig.h"

namespace KVAnalyticsProxy
{
/// What decides whether the user takes part in the participation programme. Both files belong to a different product.
struct Consent
{
    std::wstring programPath;    ///< of the participation program, beside this one
    bool programPresent = false; ///< as a file; a folder of that name counts as absent
    std::wstring markPath;       ///< of the opt-out mark, in the product's data folder
    bool optedOut = false;       ///< the mark exists as a file

    bool IsGiven() const noexcept { return programPresent && !optedOut; }
};

/// Looks for both files (KVUtils::FileExists). Only looks: nothing is created or logged here. If memory is short, in
/// this process or in the system, it throws std::bad_alloc: an unfinished check is no consent. Inline: in a source of
/// its own the code is larger, and the size of the program is bounded.
inline Consent FindConsent()
{
    Consent consent;
    consent.programPath = KVUtils::CPathUtils::GetPathOfExecutable();
    consent.programPath += L"\\NorvikCustPartic.exe";
    consent.programPresent = KVUtils::FileExists(consent.programPath);
    consent.markPath = KVUtils::CSxSConfig::GetDataFolder();
    consent.markPath += L"\\NorvikCustPartic\\OptedOut";
    consent.optedOut = KVUtils::FileExists(consent.markPath);
    return consent;
}
} // namespace KVAnalyticsProxy
