#pragma once

namespace Http
{
/// Name of the host that receives the hits, without scheme, port and path. Fixed when the library is built (the CMake
/// variable KV_COLLECTION_HOST).
extern const wchar_t kCollectionHost[];
} // namespace Http
