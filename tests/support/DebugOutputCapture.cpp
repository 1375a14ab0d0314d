#include "tests/support/DebugOutputCapture.h"

#include <stdexcept>

namespace KVTest
{
// The layout is the system's.
struct DebugOutputCapture::Buffer
{
    DWORD processId;
    char text[4096 - sizeof(DWORD)];
};

DebugOutputCapture::DebugOutputCapture()
{
    try
    {
        TakeTurn();
        OpenBuffer();
    }
    catch (...)
    {
        Close();
        throw;
    }
    m_receiver = std::thread([this] { Receive(); });
}

DebugOutputCapture::~DebugOutputCapture()
{
    ::SetEvent(m_stop);
    m_receiver.join();
    Close();
}

void DebugOutputCapture::TakeTurn()
{
    constexpr DWORD kTurnMs = 30000;
    m_turn = ::CreateMutexW(nullptr, FALSE, L"KVTestDebugOutputCapture");
    const DWORD wait = ::WaitForSingleObject(m_turn, kTurnMs);
    if (wait != WAIT_OBJECT_0 && wait != WAIT_ABANDONED)
    {
        ::CloseHandle(m_turn);
        m_turn = nullptr;
        throw std::runtime_error("another process keeps the debug output");
    }
}

void DebugOutputCapture::OpenBuffer()
{
    m_bufferReady = ::CreateEventW(nullptr, FALSE, TRUE, L"DBWIN_BUFFER_READY");
    m_dataReady = ::CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY");
    m_stop = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    m_markSeen = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    m_mapping = ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Buffer), L"DBWIN_BUFFER");
    if (m_mapping != nullptr)
    {
        m_buffer = static_cast<const Buffer*>(::MapViewOfFile(m_mapping, FILE_MAP_READ, 0, 0, sizeof(Buffer)));
    }
    if (m_bufferReady == nullptr || m_dataReady == nullptr || m_stop == nullptr || m_markSeen == nullptr ||
        m_buffer == nullptr)
    {
        throw std::runtime_error("the debug output buffer cannot be opened");
    }
}

void DebugOutputCapture::Close() noexcept
{
    if (m_buffer != nullptr)
    {
        ::UnmapViewOfFile(m_buffer);
    }
    for (const HANDLE handle : {m_mapping, m_bufferReady, m_dataReady, m_stop, m_markSeen})
    {
        if (handle != nullptr)
        {
            ::CloseHandle(handle);
        }
    }
    if (m_turn != nullptr)
    {
        ::ReleaseMutex(m_turn);
        ::CloseHandle(m_turn);
    }
}

void DebugOutputCapture::Receive()
{
    const HANDLE events[] = {m_stop, m_dataReady};
    while (::WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0 + 1)
    {
        if (m_buffer->processId == ::GetCurrentProcessId())
        {
            const std::lock_guard lock(m_mutex);
            std::string line(m_buffer->text, ::strnlen(m_buffer->text, sizeof(m_buffer->text)));
            if (!m_awaitedMark.empty() && line == m_awaitedMark)
            {
                ::SetEvent(m_markSeen);
            }
            else
            {
                m_lines.push_back(std::move(line));
            }
        }
        ::SetEvent(m_bufferReady);
    }
}

std::vector<std::string> DebugOutputCapture::GetLines()
{
    constexpr DWORD kArrivalMs = 10000;
    static unsigned s_mark = 0;
    std::string mark = "KVTestDebugOutputCapture mark " + std::to_string(++s_mark);
    {
        const std::lock_guard lock(m_mutex);
        m_awaitedMark = mark;
    }
    // The buffer holds one text at a time, so all earlier output of this thread arrives before the mark.
    ::OutputDebugStringA(mark.c_str());
    if (::WaitForSingleObject(m_markSeen, kArrivalMs) != WAIT_OBJECT_0)
    {
        throw std::runtime_error("the debug output does not arrive");
    }
    const std::lock_guard lock(m_mutex);
    m_awaitedMark.clear();
    return m_lines;
}

std::string DebugOutputCapture::GetText()
{
    std::string text;
    for (const std::string& line : GetLines())
    {
        text += line;
    }
    return text;
}
} // namespace KVTest
