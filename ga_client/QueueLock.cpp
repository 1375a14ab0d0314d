#include "ga_client/QueueLock.h"

#include "winapi/KernelApi.h"

namespace GAClient
{
CQueueLock::CQueueLock()
{
    KVWinApi::g_kernelApi->InitializeCriticalSection(&m_door);
    KVWinApi::g_kernelApi->InitializeCriticalSection(&m_section);
}

CQueueLock::~CQueueLock()
{
    KVWinApi::g_kernelApi->DeleteCriticalSection(&m_section);
    KVWinApi::g_kernelApi->DeleteCriticalSection(&m_door);
}

CQueueLock::CHold::CHold(CQueueLock& lock) : m_lock(lock)
{
    KVWinApi::g_kernelApi->EnterCriticalSection(&m_lock.m_door);
    KVWinApi::g_kernelApi->EnterCriticalSection(&m_lock.m_section);
    KVWinApi::g_kernelApi->LeaveCriticalSection(&m_lock.m_door);
}

CQueueLock::CHold::~CHold()
{
    KVWinApi::g_kernelApi->LeaveCriticalSection(&m_lock.m_section);
}
} // namespace GAClient
