#include "analytics_reporting/SystemFacts.h"

#include <windows.h>

#include "analytics_reporting/Dimensions.h"
#include "analytics_reporting/DimensionValues.h"
#include "utils/base/FileVersionInfo.h"
#include "utils/OSVersion.h"
#include "winapi/KernelApi.h"

namespace KVAnalyticsReporting
{
namespace
{
constexpr DWORD kLongestPath = 32768; // characters of the longest path of the system, with its terminating zero

// Empty if the system does not report it.
std::wstring GetPathOfProgram()
{
    // Most paths fit. The result equals the size of the buffer only if the path was cut.
    std::wstring path(MAX_PATH, L'\0');
    DWORD length = KVWinApi::g_kernelApi->GetModuleFileNameW(nullptr, path.data(), MAX_PATH);
    if (length >= MAX_PATH)
    {
        path.resize(kLongestPath);
        length = KVWinApi::g_kernelApi->GetModuleFileNameW(nullptr, path.data(), kLongestPath);
    }
    path.resize(length < path.size() ? length : 0);
    return path;
}
} // namespace

std::wstring GetProcessorArchitectureText()
{
    switch (KVUtils::GetNativeProcessorArchitecture())
    {
    case PROCESSOR_ARCHITECTURE_INTEL:
        return L"x86";
    case PROCESSOR_ARCHITECTURE_ARM:
        return L"ARM";
    case PROCESSOR_ARCHITECTURE_IA64:
        return L"IA64";
    case PROCESSOR_ARCHITECTURE_AMD64:
        return L"x64";
    default:
        return kUnknown;
    }
}

std::wstring GetOSVersionText()
{
    return GetTextOrUnknown(KVUtils::GetOSName());
}

std::wstring GetApplicationVersion()
{
    return GetVersionOfProgram(GetPathOfProgram());
}

std::wstring GetVersionOfProgram(const std::wstring& path)
{
    const KVUtils::CFileVersionInfo versionInfo(path.c_str());
    const wchar_t* version = versionInfo.GetProductVersion();
    return version == nullptr ? kUnknown : GetTextOrUnknown(version);
}
} // namespace KVAnalyticsReporting
