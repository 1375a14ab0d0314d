#include "tests/ga_client/LoopbackServer.h"

#include <exception>
#include <stdexcept>

namespace KVTest
{
namespace
{
struct Winsock
{
    Winsock()
    {
        WSADATA data{};
        ::WSAStartup(MAKEWORD(2, 2), &data);
    }
    ~Winsock() { ::WSACleanup(); }
    Winsock(const Winsock&) = delete;
    Winsock& operator=(const Winsock&) = delete;
};

void Require(bool condition, const char* complaint)
{
    if (!condition)
    {
        throw std::runtime_error(complaint);
    }
}

// False when the server stops first.
bool WaitUntilReadable(SOCKET connection, const std::atomic<bool>& stopping)
{
    constexpr long kLookMicroseconds = 10000; // a shutdown of the socket does not end a recv everywhere
    while (!stopping)
    {
        fd_set readable{};
        readable.fd_count = 1;
        readable.fd_array[0] = connection;
        timeval interval{0, kLookMicroseconds};
        if (::select(0, &readable, nullptr, nullptr, &interval) != 0)
        {
            return true;
        }
    }
    return false;
}

// False at the end of the connection.
bool Receive(SOCKET connection, std::string& received)
{
    char buffer[4096];
    const int size = ::recv(connection, buffer, static_cast<int>(sizeof(buffer)), 0);
    if (size <= 0)
    {
        return false;
    }
    received.append(buffer, static_cast<std::size_t>(size));
    return true;
}

bool Send(SOCKET connection, const std::string& bytes)
{
    std::size_t sent = 0;
    while (sent < bytes.size())
    {
        const int size = ::send(connection, bytes.data() + sent, static_cast<int>(bytes.size() - sent), 0);
        if (size <= 0)
        {
            return false;
        }
        sent += static_cast<std::size_t>(size);
    }
    return true;
}

bool IsAccepting(const std::string& answer)
{
    const std::string start = answer.substr(0, 13);
    return start == "HTTP/1.1 200 " || start == "HTTP/1.1 201 " || start == "HTTP/1.1 202 ";
}
} // namespace

LoopbackServer::Answer LoopbackServer::Status(int status)
{
    return {"HTTP/1.1 " + std::to_string(status) + " Text\r\nContent-Length: 0\r\n\r\n"};
}

LoopbackServer::LoopbackServer(Answering answering) : m_answering(std::move(answering))
{
    static const Winsock s_winsock;
    Listen();
}

LoopbackServer::~LoopbackServer()
{
    try
    {
        Stop();
    }
    catch (...)
    {
        std::terminate(); // a thread that cannot be joined would use destroyed objects
    }
}

std::vector<std::string> LoopbackServer::Arrived()
{
    std::vector<std::string> targets;
    for (const Request& request : Requests())
    {
        targets.push_back(request.target);
    }
    return targets;
}

std::vector<std::string> LoopbackServer::Accepted()
{
    const std::lock_guard<std::mutex> hold(m_mutex);
    return m_accepted;
}

std::vector<LoopbackServer::Request> LoopbackServer::Requests()
{
    const std::lock_guard<std::mutex> hold(m_mutex);
    return m_requests;
}

void LoopbackServer::Listen()
{
    m_listener = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    Require(m_listener != INVALID_SOCKET, "no socket");
    const BOOL reuse = TRUE; // connections of the time before a restart may linger
    ::setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char*>(&reuse), sizeof(reuse));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    address.sin_port = ::htons(m_port);
    int size = sizeof(address);
    Require(::bind(m_listener, reinterpret_cast<const sockaddr*>(&address), size) == 0, "the port is not to be had");
    Require(::listen(m_listener, SOMAXCONN) == 0, "the server cannot listen");
    Require(::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) == 0, "no port");
    m_port = ::ntohs(address.sin_port);
    m_stopping = false;
    m_acceptor = std::thread([this, listener = m_listener] { AcceptConnections(listener); });
}

void LoopbackServer::Stop()
{
    std::list<std::thread> threads;
    {
        const std::lock_guard<std::mutex> hold(m_mutex);
        m_stopping = true;
        threads.swap(m_threads);
    }
    if (m_acceptor.joinable())
    {
        ::closesocket(m_listener);
        m_acceptor.join();
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

void LoopbackServer::Restart()
{
    Stop();
    Listen();
}

void LoopbackServer::AcceptConnections(SOCKET listener)
{
    for (;;)
    {
        const SOCKET connection = ::accept(listener, nullptr, nullptr);
        if (connection == INVALID_SOCKET)
        {
            return;
        }
        const std::lock_guard<std::mutex> hold(m_mutex);
        if (m_stopping)
        {
            ::closesocket(connection);
            return;
        }
        m_threads.emplace_back([this, connection] { Serve(connection); });
    }
}

void LoopbackServer::Serve(SOCKET connection)
{
    std::string received;
    while (ServeRequest(connection, received))
    {
    }
    ::shutdown(connection, SD_SEND);
    ::closesocket(connection);
}

// False when the connection is to be closed. The client's requests have no content.
bool LoopbackServer::ServeRequest(SOCKET connection, std::string& received)
{
    std::size_t end = received.find("\r\n\r\n");
    while (end == std::string::npos)
    {
        if (!WaitUntilReadable(connection, m_stopping) || !Receive(connection, received))
        {
            return false;
        }
        end = received.find("\r\n\r\n");
    }
    Request request;
    request.head = received.substr(0, end + 2);
    received.erase(0, end + 4);
    const std::size_t methodEnd = request.head.find(' ');
    const std::size_t targetEnd = request.head.find(" HTTP/1.1\r\n");
    if (methodEnd == std::string::npos || targetEnd == std::string::npos)
    {
        return false;
    }
    request.method = request.head.substr(0, methodEnd);
    request.target = request.head.substr(methodEnd + 1, targetEnd - methodEnd - 1);
    {
        const std::lock_guard<std::mutex> hold(m_mutex);
        m_requests.push_back(request);
    }
    const Answer answer = m_answering(request);
    ::Sleep(answer.delayMs);
    if (IsAccepting(answer.bytes))
    {
        // Before the bytes are sent: a client that has the answer finds the hit here.
        const std::lock_guard<std::mutex> hold(m_mutex);
        m_accepted.push_back(request.target);
    }
    return Send(connection, answer.bytes) && !answer.closes;
}
} // namespace KVTest
