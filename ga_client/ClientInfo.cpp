#include "ga_client/ClientInfo.h"

namespace GAClient
{
void ClientInfo::Reset()
{
    *this = ClientInfo();
}
} // namespace GAClient
