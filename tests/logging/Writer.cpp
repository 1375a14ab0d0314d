#include <windows.h>

#include <cstdlib>
#include <string>

#include "logging/Trace.h"
#include "tests/support/RegistrySandbox.h"

// kv_log_writer, a process that shares a log file with a test:
//   hold FILE NAME               keeps FILE open, sets the event NAMEHeld, waits for NAMERelease
//   header FILE                  writes one line with the header block before it
//   write FILE NAME INDEX COUNT  waits for NAMEStart, writes COUNT lines, sets NAMEWrittenINDEX, waits for
//                                NAMEDrainINDEX and writes one line more, which takes along what is queued
// Ends with 0 when all went well.

KVLogging::CLogModule g_logModule("Writer", "01:02:03");

namespace
{
KV_TRACE_SOURCE(g_logModule, L"Writer.cpp");

constexpr DWORD kWaitMs = 50000;

HANDLE OpenEvent(const std::wstring& name)
{
    return ::CreateEventW(nullptr, TRUE, FALSE, name.c_str());
}

bool WaitFor(const std::wstring& name)
{
    return ::WaitForSingleObject(OpenEvent(name), kWaitMs) == WAIT_OBJECT_0;
}

int Hold(const wchar_t* file, const std::wstring& name)
{
    if (::CreateFileW(file, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr) == INVALID_HANDLE_VALUE)
    {
        return 1;
    }
    ::SetEvent(OpenEvent(name + L"Held"));
    return WaitFor(name + L"Release") ? 0 : 2;
}

void UseFile(const KVTest::RegistrySandbox& registry, const wchar_t* file, DWORD categories)
{
    constexpr wchar_t kKey[] = L"Software\\Norvik\\KV\\Logging";
    registry.SetString(kKey, L"LogFileName", file);
    registry.SetDword(kKey, L"LogCategories", categories);
}

int WriteHeader(const wchar_t* file)
{
    const KVTest::RegistrySandbox registry;
    UseFile(registry, file, 0x40000010);
    KV_TRACE(L"Writer::WriteHeader");
    KV_LOG(kLogInfo, L"line");
    return 0;
}

int Write(const wchar_t* file, const std::wstring& name, const std::wstring& index, int count)
{
    const KVTest::RegistrySandbox registry;
    UseFile(registry, file, 0x10);
    if (!WaitFor(name + L"Start"))
    {
        return 1;
    }
    KV_TRACE(L"Writer::Write");
    for (int i = 0; i < count; ++i)
    {
        KV_LOGF(kLogInfo, L"writer %s line %d end", index.c_str(), i);
    }
    ::SetEvent(OpenEvent(name + L"Written" + index));
    if (!WaitFor(name + L"Drain" + index))
    {
        return 2;
    }
    KV_LOGF(kLogInfo, L"writer %s line %d end", index.c_str(), count);
    return 0;
}
} // namespace

int wmain(int argc, wchar_t** argv)
{
    const std::wstring mode = argc > 1 ? argv[1] : L"";
    if (mode == L"hold" && argc == 4)
    {
        return Hold(argv[2], argv[3]);
    }
    if (mode == L"header" && argc == 3)
    {
        return WriteHeader(argv[2]);
    }
    if (mode == L"write" && argc == 6)
    {
        return Write(argv[2], argv[3], argv[4], static_cast<int>(std::wcstol(argv[5], nullptr, 10)));
    }
    return 100;
}
