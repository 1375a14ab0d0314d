#include "ga_client/http/CollectionHost.h"

namespace Http
{
const wchar_t kCollectionHost[] = KV_COLLECTION_HOST;
} // namespace Http
