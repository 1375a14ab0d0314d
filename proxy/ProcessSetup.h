#pragma once

namespace KVAnalyticsProxy
{
/// What the program asks of the system for its own process before it does anything else. Lives as long as `wWinMain`,
/// on the main thread; one at a time.
///
/// DLLs are searched for in the system folder only. The product's own code loads them by full path, but what they load
/// later themselves would be taken from the program's folder first.
///
/// The system shows no box about a missing disk, a missing file or a fault.
///
/// All of this belongs to a whole process, so the libraries leave it to the program that links them.
///
/// An exception that nobody catches, such as a failed allocation in Run, and an abort end the process quietly: with 3
/// and without a word. On the main thread, while the object lives, static objects are destroyed on the way, and with
/// them the client, which saves its queue: the worker may have taken hits of earlier runs out of the queue file by
/// then, and one failed allocation must not lose them. That takes 75 seconds at most. On other threads, and when
/// anything fails on that way, the process ends at once.
class CProcessSetup
{
public:
    CProcessSetup() noexcept;
    ~CProcessSetup();
    CProcessSetup(const CProcessSetup&) = delete;
    CProcessSetup& operator=(const CProcessSetup&) = delete;
};

/// Keeps cookies of all requests of this process in memory: the collection host's would otherwise be stored on the
/// user's disk and returned by later runs, an identifier besides the client id. Loads WinINet, so it is called when a
/// request is certain to follow. For the whole process, hence not in the libraries; a failure changes nothing else.
void SuppressStoredCookies();
} // namespace KVAnalyticsProxy
