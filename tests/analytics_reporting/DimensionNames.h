#pragma once

#include <utility>

namespace KVTest
{
/// The name of each dimension in the log. Numbers that are missing have no name.
inline constexpr std::pair<int, const wchar_t*> kDimensionNames[] = {
    {1, L"ModelName"},
    {2, L"Manufacturer"},
    {3, L"ConnectionType"},
    {4, L"DriverType"},
    {5, L"DriverVersion"},
    {6, L"Count"},
    {8, L"ProcessorArchitecture"},
    {9, L"Battery"},
    {10, L"OSVersion"},
    {12, L"Installed"},
    {13, L"Selected"},
    {14, L"Enabled"},
};
} // namespace KVTest
