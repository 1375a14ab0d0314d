#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>

namespace KVUtils
{
/// The standard string entries of a version resource. Each operation returns null if the entry is missing.
/// Declaration order is slot order and part of the interface.
class AFileVersionInfo
{
public:
    virtual ~AFileVersionInfo() = default;
    /// The entry of that name, for example L"LegalCopyright"; for null the result is null.
    virtual const wchar_t* GetStringValue(const wchar_t* name) const = 0;
    /// The entry of that name.
    ///@{
    virtual const wchar_t* GetCompanyName() const = 0;
    virtual const wchar_t* GetFileDescription() const = 0;
    virtual const wchar_t* GetFileVersion() const = 0;
    virtual const wchar_t* GetProductName() const = 0;
    virtual const wchar_t* GetProductVersion() const = 0;
    ///@}
};

/// The version resource of a file, read once at construction (`GetFileVersionInfoW`, `VerQueryValueW`). A file that is
/// missing, cannot be read or has no version resource gives an object whose operations all return null.
///
/// The resource comes from the file, so no length or address in it is trusted: the table of translations is cut at the
/// end of the data, and an entry that does not lie inside the data, its end included, counts as absent.
///
/// Texts point into the object and live as long as it does. Immutable, hence safe on any thread.
class CFileVersionInfo : public AFileVersionInfo
{
public:
    /// Null is allowed and gives an object without entries.
    explicit CFileVersionInfo(const wchar_t* filePath);
    CFileVersionInfo(const CFileVersionInfo&) = delete;
    CFileVersionInfo& operator=(const CFileVersionInfo&) = delete;

    const wchar_t* GetStringValue(const wchar_t* name) const override;
    const wchar_t* GetCompanyName() const override;
    const wchar_t* GetFileDescription() const override;
    const wchar_t* GetFileVersion() const override;
    const wchar_t* GetProductName() const override;
    const wchar_t* GetProductVersion() const override;

    /// The language-independent part (root block); null if the file has none. For programs that compare version numbers
    /// rather than texts.
    const VS_FIXEDFILEINFO* GetFixedFileInfo() const noexcept { return m_fixedFileInfo; }

private:
    struct Translation
    {
        WORD language;
        WORD codePage;
    };

    bool ReadVersionData(const wchar_t* filePath);
    void FindTranslations();
    void FindFixedFileInfo();
    std::size_t GetRoomFrom(const void* place) const noexcept;
    const wchar_t* FindText(const wchar_t* blockName) const;

    const VS_FIXEDFILEINFO* m_fixedFileInfo = nullptr; // inside m_versionData
    UINT m_translationCount = 0;
    std::unique_ptr<std::byte[]> m_versionData;
    std::size_t m_versionDataSize = 0;           // bytes
    const Translation* m_translations = nullptr; // inside m_versionData
};
} // namespace KVUtils
