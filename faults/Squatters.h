#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace KVFaults
{
/// System objects that take names before the program does, until this object is destroyed.
class CSquatter
{
public:
    /// Does nothing yet.
    CSquatter() noexcept = default;
    ~CSquatter();
    CSquatter(const CSquatter&) = delete;
    CSquatter& operator=(const CSquatter&) = delete;

    /// how: "held" (a mutex that this thread owns), "event", and as mappings "image", "reserved", "read-only", "small",
    /// "garbage". False if there is no such way or the name is already taken.
    bool Take(const std::wstring& name, const std::string& how);

private:
    HANDLE Make(const std::wstring& name, const std::string& how);

    std::vector<HANDLE> m_objects;
};
} // namespace KVFaults
