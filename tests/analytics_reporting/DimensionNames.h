#pragma once

#include <utility>

namespace KVTest
{
/// What the log calls each dimension; numbers that are left out have no name.
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
