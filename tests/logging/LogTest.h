#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "logging/LogFlags.h"
#include "logging/LogFunction.h"
#include "logging/LogModule.h"
#include "logging/LogSourceFile.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"

namespace KVTest
{
/// "log_tests.exe", whatever this program is called.
std::wstring GetExecutableName();

/// The registry keys of the log settings of this process.
std::wstring BaseKey();
std::wstring ProcessKey();
std::wstring ModuleKey(const std::wstring& moduleName = L"Test");

/// Lines with their ends, as a log file holds them.
std::wstring Lines(std::initializer_list<std::wstring> lines);

/// True when the regular expression (ECMAScript, narrow) fits the whole text.
bool Matches(const std::wstring& text, const std::string& expression);

bool FileExists(const std::wstring& path);

/// Keeps everybody else from opening a file that exists, as another process that writes it would.
class HeldFile
{
public:
    explicit HeldFile(const std::wstring& path);
    ~HeldFile() { Release(); }
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;
    void Release();

private:
    HANDLE m_file;
};

/// Records the lines as prefix|indentation|message.
class RecordingSink : public KVLogging::ILineSink
{
public:
    void WriteLine(const wchar_t* prefix, const wchar_t* indentation, const wchar_t* message) override
    {
        lines.push_back(std::wstring(prefix) + L"|" + indentation + L"|" + message);
    }
    std::vector<std::wstring> lines;
};

/// A process whose user has empty log settings, a folder for log files and one module, "Test".
class LogTest : public testing::Test
{
protected:
    /// Has the base key name the file and enable the categories. Returns the file's path.
    std::wstring UseFile(DWORD categories, DWORD options = 0, const std::wstring& fileName = L"trace.log");
    void SetBase(const std::wstring& valueName, DWORD value) const { m_registry.SetDword(BaseKey(), valueName, value); }

    /// The module, made on first need, after the test has arranged the registry.
    KVLogging::CLogModule& Module();
    /// Ends the module and with it what the process remembers of its settings.
    void EndModule() { m_module.reset(); }

    /// A line without a scope.
    void Log(std::uint32_t flags, const wchar_t* text) { Module().LogString(nullptr, flags, text, true); }
    /// The whole log file.
    std::wstring ReadLog(const std::wstring& fileName = L"trace.log") const;

    RegistrySandbox m_registry;
    TemporaryFolder m_folder;

private:
    std::optional<KVLogging::CLogModule> m_module;
};
} // namespace KVTest
