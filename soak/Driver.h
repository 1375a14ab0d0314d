#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "logging/LogFunction.h"
#include "soak/Recorder.h"
#include "soak/Watch.h"

namespace KVSoak
{
/// Drives the engine and the client of this process through sessions, and records for every hit whether the client
/// accepted it: it must accept each while its queue cannot be full.
class CDriver
{
public:
    struct Session
    {
        unsigned hits = 0;
        std::int32_t limit = 500;  // of the queue after the queue file is loaded; before that it is 500
        bool waitsForLoad = true;  // before the first hit; otherwise after some of them
        unsigned fileLines = 500;  // the most lines in the queue file at the start
        bool paces = true;         // waits now and then until some hits are sent
        bool holds = false;        // sends nothing
        DWORD lingerMs = 0;        // the longest wait for all hits to be sent before the session ends
        DWORD flushMs = 0;         // the longest time for sending while the client stops
        bool uninitializes = true; // otherwise the end of the process ends the session
    };

    /// process: a unique name without blanks. application: names the queue file.
    CDriver(CRecorder& recorder, CWatchedWinApi& winApi, std::wstring process, std::wstring application, unsigned seed);

    /// False if an operation failed that must succeed.
    bool Run(const Session& session);
    /// Writes a line through each log module, and with it the queued lines.
    void LogLast();
    /// Records the gauges of the process.
    void Sample(const char* stretch);
    /// Records how often each traced function was called.
    void RecordCalls();

    unsigned GetHits() const noexcept { return m_hits; }
    std::mt19937& GetRandom() noexcept { return m_random; }
    bool Chance(unsigned percent) { return m_random() % 100 < percent; }

private:
    bool Expect(bool result, const char* operation);
    bool Count(const char* function, bool result);
    void Count(const char* function);
    void TrackAny(KVLogging::CLogFunction& kvTraceScope);
    void CallAny(const std::wstring& label, const std::wstring& kind);
    void Track(const std::vector<std::string>& keys, const std::function<void()>& call);
    std::list<std::string> TakeSnapshot();
    bool WaitForLoad();
    void Pace();
    void Linger(DWORD longestMs);

    CRecorder& m_recorder;
    CWatchedWinApi& m_winApi;
    std::wstring m_process;
    std::wstring m_application;
    std::mt19937 m_random;
    std::map<std::string, unsigned> m_calls;
    unsigned m_sessions = 0;
    unsigned m_hits = 0;
    unsigned m_turnsBefore = 0;
    bool m_isLoaded = false;
    bool m_isSound = true;
    std::int64_t m_limit = 500;
    std::int64_t m_largestSize = 0; // the most hits that the queue can hold
    ULONGLONG m_start = ::GetTickCount64();
};
} // namespace KVSoak
