#include <windows.h>

#include <cstdarg>
#include <cwchar>
#include <iterator>
#include <string>

#include "logging/LogFlags.h"
#include "logging/LogFunction.h"
#include "logging/LogModule.h"
#include "logging/LogSourceFile.h"
#include "tests/support/RegistrySandbox.h"

// kv_log_samples FOLDER: writes one log for each combination of the options that change a line, each with a module of
// its own, named after the options. trace-log.test.mjs knows what they contain.

namespace
{
using namespace KVLogging;

constexpr wchar_t kKey[] = L"Software\\Norvik\\KV\\Logging";
constexpr DWORD kEverything = 0x6600FFF0;
constexpr DWORD kFirstLineOption = kOptionIndent;
constexpr DWORD kLineOptionCount = 9; // indentation to counter and line number

const CLogSourceFile s_sourceFile(L"LogSamples.cpp");

class Sample
{
public:
    explicit Sample(CLogModule& module) : m_module(module) {}

    void Write()
    {
        const CLogFunction outer(&m_module, s_sourceFile, L"Samples::COuter::Run", 10);
        WriteWithParameters(L"%s %d", L"one", 2);
        WriteMessages();
        WriteFailure();
        WriteException();
    }

private:
    void WriteWithParameters(const wchar_t* format, ...)
    {
        va_list arguments;
        va_start(arguments, format);
        {
            const CLogFunction scope(&m_module, s_sourceFile, L"Samples::CInner<int>::Take", 20, 0, false, format,
                                     &arguments);
        }
        va_end(arguments);
    }

    void WriteMessages()
    {
        CLogFunction scope(&m_module, s_sourceFile, L"Samples::CInner::Write", 30);
        scope.LogString(kLogInfo, 31, L"plain");
        scope.LogString(kLogInfo + 7, 32, L"detailed");
        scope.LogString(kLogWarning, 33, L"warning: [1] {2} (3)");
        scope.LogString(kLogError, 34, L"error");
        scope.LogString(kLogException | kLogWarning, 35, L"caught");
        scope.LogString(kLogStatus, 36, L"status");
        scope.LogString(kLogDebug, 37, L"debug");
        scope.LogString(kLogLocking | kLogInterProcess, 38, L"locked");
        scope.LogString(5U << kLogMarkerShift, 39, L"marker");
        scope.LogString(kLogInfo, 40, L""); // no line end
        scope.LogString(kLogInfo, 12345, L"two\r\nlines");
        scope.LogString(kLogInfo, 42, L"\u00e9\u4e2d\U0001F600");
    }

    void WriteFailure()
    {
        CLogFunction scope(&m_module, s_sourceFile, L"Samples::Fail", 50);
        scope.SetErrorCode(ERROR_FILE_NOT_FOUND);
    }

    void WriteException()
    {
        {
            CLogFunction scope(&m_module, s_sourceFile, L"Samples::CInner::Handle", 60);
            scope.SetExceptionState(ExceptionState::kHandled);
        }
        const CLogFunction scope(&m_module, s_sourceFile, L"Samples::CInner::Throw", 61, 0, true, nullptr, nullptr);
    }

    CLogModule& m_module;
};

std::wstring FormatOptions(DWORD options)
{
    wchar_t text[9] = {};
    std::swprintf(text, std::size(text), L"%08lX", static_cast<unsigned long>(options));
    return text;
}
} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc != 2)
    {
        return 100;
    }
    const KVTest::RegistrySandbox registry;
    registry.SetDword(kKey, L"LogCategories", kEverything);
    registry.SetDword(kKey, L"LogInfoDetailLevel", 15);
    for (DWORD bits = 0; bits < (1U << kLineOptionCount); ++bits)
    {
        const DWORD options = bits * kFirstLineOption;
        const std::wstring name = FormatOptions(options);
        registry.SetDword(kKey, L"LogOptions", options | kOptionTruncate); // an earlier run left the same files
        registry.SetString(kKey, L"LogFileName", std::wstring(argv[1]) + L"\\" + name + L".log");
        CLogModule module("Samples", "01:02:03");
        Sample(module).Write();
    }
    return 0;
}
