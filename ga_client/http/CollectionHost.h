#pragma once

namespace Http
{
/// The name of the host that receives the hits, without scheme, port and path. Fixed when the library is built (CMake
/// variable KV_COLLECTION_HOST).
extern const wchar_t kCollectionHost[];
} // namespace Http
