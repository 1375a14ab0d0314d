#pragma once

#include <windows.h>
#include <winsock2.h>

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace KVTest
{
/// A real HTTP server on 127.0.0.1, in this process, whose answers the test chooses. Every connection has a thread of
/// its own. Stop and destruction end each connection as soon as it is idle. Throws std::runtime_error if it cannot
/// listen.
class LoopbackServer
{
public:
    struct Request
    {
        std::string method;
        std::string target;
        std::string head; // request line and header fields
    };
    struct Answer
    {
        std::string bytes;
        bool closes = false; // the connection, after the bytes
        DWORD delayMs = 0;   // before the bytes
    };
    using Answering = std::function<Answer(const Request&)>;

    /// An answer with this status and no content.
    static Answer Status(int status);

    /// Listens on a port that the system chooses. The function is called on the threads of the connections.
    explicit LoopbackServer(Answering answering);
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    unsigned short GetPort() const noexcept { return m_port; }
    /// The targets of all requests that arrived, in the order of their arrival.
    std::vector<std::string> Arrived();
    /// The targets of the requests that were answered with 200, 201 or 202.
    std::vector<std::string> Accepted();
    std::vector<Request> Requests();

    /// Ends listening and all connections; Restart listens on the same port again.
    void Stop();
    void Restart();

private:
    void Listen();
    void AcceptConnections(SOCKET listener);
    void Serve(SOCKET connection);
    bool ServeRequest(SOCKET connection, std::string& received);

    Answering m_answering;
    unsigned short m_port = 0;
    SOCKET m_listener = INVALID_SOCKET;
    std::thread m_acceptor;
    std::atomic<bool> m_stopping = false;
    std::mutex m_mutex; // guards all below
    std::list<std::thread> m_threads;
    std::vector<Request> m_requests;
    std::vector<std::string> m_accepted;
};
} // namespace KVTest
