#pragma once

#include <map>
#include <string>

namespace KVUtils
{
/// The command line of the process, parsed once, at construction, into switches and their values:
///
///     program.exe /linkid L1 -tabid "a tab"
///
/// A switch begins with a slash or a hyphen and takes at most one value, the next element. There is no form with an
/// equals sign or a colon. A repeated switch loses its earlier value; a value without a switch is ignored.
///
/// The line comes from `GetCommandLineW` and is split by `CommandLineToArgvW`, which defines what quotes and
/// backslashes mean. If the split fails, the object is empty. Immutable and therefore safe on any thread.
class CCommandLine
{
public:
    /// Keys are equal if they differ only in the case of A-Z. The map keeps the spelling that it saw first.
    struct KeyLess
    {
        /// True if left sorts before right.
        bool operator()(const std::wstring& left, const std::wstring& right) const noexcept;
    };
    /// Switches and their values.
    using ArgumentMap = std::map<std::wstring, std::wstring, KeyLess>;

    CCommandLine();
    virtual ~CCommandLine() = default;

    /// If the switch is absent, the result is false and value is unchanged. A switch without a value gives true and the
    /// empty string.
    virtual bool GetValue(const std::wstring& key, std::wstring& value) const;
    /// True if the switch is present, even without a value.
    virtual bool HasKey(const std::wstring& key) const;
    /// The switches without slash or hyphen. This reference and those below are valid as long as the object.
    virtual const ArgumentMap& GetArgumentMap() const;
    /// The first element after the program path, switch or not; empty if there is none.
    virtual const std::wstring& GetFirstArgument() const;
    /// The raw line from the first occurrence of the first argument's text, even inside the program path. The whole
    /// line if that text does not occur; empty if there is no argument.
    virtual const std::wstring& GetArgumentString() const;
    /// The first element of the line: the program as the process that started this one spelled it.
    virtual const std::wstring& GetProgramPath() const;

private:
    void CollectSwitches(const wchar_t* const* elements, int count);
    void StartSwitch(const wchar_t* name);

    ArgumentMap m_argumentMap;
    std::wstring m_firstArgument;
    std::wstring m_programPath;
    std::wstring m_argumentString;
};
} // namespace KVUtils
