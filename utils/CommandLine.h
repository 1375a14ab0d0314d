#pragma once

#include <map>
#include <string>

namespace KVUtils
{
/// The command line of the process, taken apart once, at construction, into switches and their values:
///
///     program.exe /linkid L1 -tabid "a tab"
///
/// A switch begins with a slash or a hyphen and takes at most one value, the element behind it. There is no form with
/// an equals sign or a colon. A repeated switch starts over; a value without a switch is ignored.
///
/// The line comes from `GetCommandLineW` and is split by `CommandLineToArgvW`, so quotes and backslashes mean what
/// they mean to that function. When the split fails the object is empty. Immutable, hence safe on any thread.
class CCommandLine
{
public:
    /// Keys are equal when they differ in the case of A-Z only; the spelling seen first stays.
    struct KeyLess
    {
        /// True when left stands before right.
        bool operator()(const std::wstring& left, const std::wstring& right) const noexcept;
    };
    /// Switches and their values.
    using ArgumentMap = std::map<std::wstring, std::wstring, KeyLess>;

    CCommandLine();
    virtual ~CCommandLine() = default;

    /// False when the switch was not given, and value is then left as it is. A switch without a value gives true and
    /// the empty string.
    virtual bool GetValue(const std::wstring& key, std::wstring& value) const;
    /// True when the switch was given.
    virtual bool HasKey(const std::wstring& key) const;
    /// The switches without their slash or hyphen. This and the texts below live as long as the object.
    virtual const ArgumentMap& GetArgumentMap() const;
    /// The first element behind the program path, switch or not; empty when there is none.
    virtual const std::wstring& GetFirstArgument() const;
    /// The raw line from the first place where the text of the first argument occurs in it, be it inside the program
    /// path; the whole line when it does not occur, and empty when there is no argument.
    virtual const std::wstring& GetArgumentString() const;
    /// The program as the caller of the process spelled it.
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
