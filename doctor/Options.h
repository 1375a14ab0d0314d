#pragma once

#include <string>
#include <vector>

namespace KVAnalyticsDoctor
{
/// What the command line asks for. All are off unless a switch names them.
struct Options
{
    bool json = false;    ///< /json: for tools
    bool hits = false;    ///< /hits: each waiting hit, decoded
    bool id = false;      ///< /id: the whole client id
    bool connect = false; ///< /connect: one connection to the collection host
    bool help = false;    ///< /?
    std::wstring unknown; ///< the first argument that is none of these; empty if all are known
};

/// Reads the arguments without the program's name. A switch begins with a slash or a hyphen and matches in any letter
/// case.
Options ReadOptions(const std::vector<std::wstring>& arguments);
} // namespace KVAnalyticsDoctor
