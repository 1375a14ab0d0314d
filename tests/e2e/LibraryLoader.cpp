// kv_library_loader protected|unprotected
//
// Makes the system load the libraries that the product's calls need: an encrypted request, the battery query, the list
// of printers. "protected" first sets up the process as the program does. Prints
//
//   start PATH    a module loaded before these calls
//   end PATH      a module loaded after them
//   sent 0|1      whether the request was delivered
//   battery TEXT  the result of the query
//   printers N    the number of printers, or -1 if the spooler does not report it

#include <winsock2.h>

#include <windows.h>

#include <tlhelp32.h>
#include <winspool.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "analytics_reporting/BatteryQuery.h"
#include "ga_client/http/HttpPostRequest.h"
#include "proxy/ProcessSetup.h"
#include "winapi/ComApi.h"
#include "winapi/SpoolerApi.h"

namespace
{
void PrintModules(const char* when)
{
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, ::GetCurrentProcessId());
    MODULEENTRY32W module{};
    module.dwSize = sizeof(module);
    for (BOOL found = ::Module32FirstW(snapshot, &module); found != FALSE; found = ::Module32NextW(snapshot, &module))
    {
        std::printf("%s %ls\n", when, module.szExePath);
    }
    ::CloseHandle(snapshot);
}

std::wstring AskForBattery()
{
    if (FAILED(KVWinApi::g_comApi->CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
    {
        return L"without COM";
    }
    std::wstring answer = KVAnalyticsReporting::CBatteryQuery().Run();
    KVWinApi::g_comApi->CoUninitialize();
    return answer;
}

int CountPrinters()
{
    constexpr DWORD kFlags = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;
    DWORD needed = 0;
    DWORD count = 0;
    KVWinApi::g_spoolerApi->EnumPrintersW(kFlags, nullptr, 2, nullptr, 0, &needed, &count);
    std::vector<BYTE> printers(needed);
    const BOOL listed =
        KVWinApi::g_spoolerApi->EnumPrintersW(kFlags, nullptr, 2, printers.data(), needed, &needed, &count);
    return listed != FALSE ? static_cast<int>(count) : -1;
}
} // namespace

int wmain(int argc, wchar_t** argv)
{
    std::optional<KVAnalyticsProxy::CProcessSetup> setup;
    if (argc > 1 && argv[1] == std::wstring(L"protected"))
    {
        setup.emplace();
    }
    PrintModules("start");
    std::printf("sent %d\n", Http::CHttpPostRequest().Send(L"/collect?v=1", true) ? 1 : 0);
    std::printf("battery %ls\n", AskForBattery().c_str());
    std::printf("printers %d\n", CountPrinters());
    PrintModules("end");
    return 0;
}
