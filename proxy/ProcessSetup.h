#pragma once

namespace KVAnalyticsProxy
{
/// Settings of the whole process, made before anything else. Lives as long as `wWinMain`, on the main thread; one at a
/// time.
///
/// DLLs are searched for in the system folder only. The product's own code loads them by full path, but the libraries
/// that they load later would be taken from the program's folder first.
///
/// The system shows no box about a missing disk, a missing file or a fault.
///
/// All of this affects the whole process, so the libraries leave it to the program that links them.
///
/// An unhandled exception, such as a failed allocation in Run, or an abort ends the process quietly: with exit code 3
/// and without a message. On the main thread, while the object lives, static objects are destroyed first, including the
/// client, which saves its queue: by then the worker may have moved hits of earlier runs out of the queue file, and one
/// failed allocation must not lose them. That takes 75 seconds at most. On other threads, and if anything fails during
/// that orderly end, the process ends at once.
class CProcessSetup
{
public:
    CProcessSetup() noexcept;
    ~CProcessSetup();
    CProcessSetup(const CProcessSetup&) = delete;
    CProcessSetup& operator=(const CProcessSetup&) = delete;
};

/// Keeps the cookies of all requests of this process in memory. Otherwise those of the collection host would be stored
/// on the user's disk and returned by later runs: an identifier besides the client id. Loads WinINet, so call it only
/// when a request is certain to follow. Affects the whole process, so the libraries do not; a failure is ignored.
void SuppressStoredCookies();
} // namespace KVAnalyticsProxy
