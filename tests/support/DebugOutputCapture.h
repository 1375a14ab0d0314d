#pragma once

#include <windows.h>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace KVTest
{
/// While the object lives, records what this process passes to `OutputDebugStringW` and `OutputDebugStringA`, one entry
/// a call, as a viewer of the system-wide debug output buffer (DBWIN_BUFFER) does. The buffer holds narrow text:
/// characters outside the code page arrive as "?".
///
/// A session has one such buffer, so captures of several processes take turns: construction waits for its turn up to 30
/// seconds, then throws std::runtime_error. Output of other processes is left out.
class DebugOutputCapture
{
public:
    DebugOutputCapture();
    ~DebugOutputCapture();
    DebugOutputCapture(const DebugOutputCapture&) = delete;
    DebugOutputCapture& operator=(const DebugOutputCapture&) = delete;

    /// Everything so far, including each call that this thread has made. Throws std::runtime_error if the output does
    /// not arrive within 10 seconds.
    std::vector<std::string> GetLines();
    /// The same with all entries joined.
    std::string GetText();

private:
    struct Buffer;

    void TakeTurn();
    void OpenBuffer();
    void Close() noexcept;
    void Receive();

    HANDLE m_turn = nullptr;
    HANDLE m_mapping = nullptr;
    HANDLE m_bufferReady = nullptr;
    HANDLE m_dataReady = nullptr;
    HANDLE m_stop = nullptr;
    HANDLE m_markSeen = nullptr;
    const Buffer* m_buffer = nullptr;
    std::mutex m_mutex; // guards the two below
    std::vector<std::string> m_lines;
    std::string m_awaitedMark;
    std::thread m_receiver;
};
} // namespace KVTest
