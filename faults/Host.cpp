// A substitute for the host of the device centre, which starts the program again and again.
//
// kv_fault_host PORT
//
// Connects to that port of 127.0.0.1 and takes one job a line, fields separated by tabs, until the connection is
// closed:
//   VARIABLE=VALUE  a variable of the program's environment, with a name in capitals
//   squat=HOW NAME  creates an object of that name before the program runs (Squatters.h); PID in it is the process id
//   kill=US         terminates the program so many microseconds after it has set the event KvFaultKill
//   limit=MS        the longest time that the program may run (10000)
//   output=FILE     receives what the program prints
//   command=TEXT    the program's command line, last
// Answers each with a line: the exit code as 0x%08X, "hang" for a program that was terminated after its limit, or
// "error" with a reason.

#include <winsock2.h>

#include <windows.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "faults/Squatters.h"

namespace
{
std::wstring Widen(const std::string& text)
{
    return std::wstring(text.begin(), text.end()); // jobs are ASCII
}

struct Job
{
    std::vector<std::string> variables; // VARIABLE=VALUE
    std::vector<std::string> squats;    // HOW NAME
    std::string output;
    std::wstring commandLine;
    DWORD limitMs = 10000;
    bool isKilled = false;
    unsigned long killMicroseconds = 0;
};

Job ParseJob(const std::string& line)
{
    Job job;
    std::size_t start = 0;
    while (start < line.size())
    {
        const std::size_t end = std::min(line.find('\t', start), line.size());
        const std::string field = line.substr(start, end - start);
        const std::size_t equals = field.find('=');
        const std::string value = field.substr(equals + 1);
        if (field.rfind("squat=", 0) == 0)
        {
            job.squats.push_back(value);
        }
        else if (field.rfind("kill=", 0) == 0)
        {
            job.isKilled = true;
            job.killMicroseconds = std::strtoul(value.c_str(), nullptr, 10);
        }
        else if (field.rfind("limit=", 0) == 0)
        {
            job.limitMs = std::strtoul(value.c_str(), nullptr, 10);
        }
        else if (field.rfind("output=", 0) == 0)
        {
            job.output = value;
        }
        else if (field.rfind("command=", 0) == 0)
        {
            job.commandLine = Widen(value);
        }
        else
        {
            job.variables.push_back(field);
        }
        start = end + 1;
    }
    return job;
}

// Sets the variables of a job for the object's lifetime.
class CEnvironment
{
public:
    explicit CEnvironment(const std::vector<std::string>& variables)
    {
        for (const std::string& variable : variables)
        {
            const std::size_t equals = variable.find('=');
            m_names.push_back(variable.substr(0, equals));
            ::SetEnvironmentVariableA(m_names.back().c_str(), variable.substr(equals + 1).c_str());
        }
    }
    ~CEnvironment()
    {
        for (const std::string& name : m_names)
        {
            ::SetEnvironmentVariableA(name.c_str(), nullptr);
        }
    }
    CEnvironment(const CEnvironment&) = delete;
    CEnvironment& operator=(const CEnvironment&) = delete;

private:
    std::vector<std::string> m_names;
};

std::string ReplaceProcessId(std::string name, DWORD processId)
{
    const std::size_t place = name.find("PID");
    return place == std::string::npos ? name : name.replace(place, 3, std::to_string(processId));
}

bool TakeNames(KVFaults::CSquatter& squatter, const std::vector<std::string>& squats, DWORD processId)
{
    return std::all_of(squats.begin(), squats.end(), [&](const std::string& squat) {
        const std::size_t blank = squat.find(' ');
        return squatter.Take(Widen(ReplaceProcessId(squat.substr(blank + 1), processId)), squat.substr(0, blank));
    });
}

// A busy wait: Sleep would be too coarse.
void PauseMicroseconds(unsigned long microseconds)
{
    LARGE_INTEGER frequency{};
    LARGE_INTEGER start{};
    LARGE_INTEGER now{};
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&start);
    do
    {
        ::QueryPerformanceCounter(&now);
    } while ((now.QuadPart - start.QuadPart) * 1000000 / frequency.QuadPart < static_cast<LONGLONG>(microseconds));
}

// From outside, like a task manager: a process that ends itself may wait for locks of threads that it has terminated.
void KillInTurn(HANDLE process, HANDLE turnBegins, const Job& job)
{
    constexpr UINT kKilled = 0xFA017002;
    const HANDLE either[] = {turnBegins, process};
    if (::WaitForMultipleObjects(2, either, FALSE, job.limitMs) == WAIT_OBJECT_0)
    {
        PauseMicroseconds(job.killMicroseconds);
        ::TerminateProcess(process, kKilled);
    }
}

std::string WaitForEnd(HANDLE process, DWORD limitMs)
{
    constexpr DWORD kEndMs = 10000;
    if (::WaitForSingleObject(process, limitMs) != WAIT_OBJECT_0)
    {
        ::TerminateProcess(process, 1);
        ::WaitForSingleObject(process, kEndMs);
        return "hang";
    }
    DWORD exitCode = 0;
    ::GetExitCodeProcess(process, &exitCode);
    char text[16] = {};
    std::snprintf(text, sizeof(text), "0x%08lX", exitCode);
    return text;
}

HANDLE OpenOutput(const std::string& path)
{
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    return ::CreateFileA(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, CREATE_ALWAYS,
                         0, nullptr);
}

std::string Run(Job job)
{
    const CEnvironment environment(job.variables);
    const HANDLE output = OpenOutput(job.output);
    const HANDLE turnBegins = ::CreateEventW(nullptr, FALSE, FALSE, L"KvFaultKill");
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output;
    startup.hStdError = output;
    PROCESS_INFORMATION process{};
    const BOOL started = ::CreateProcessW(nullptr, job.commandLine.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                                          nullptr, nullptr, &startup, &process);
    ::CloseHandle(output);
    if (started == FALSE)
    {
        ::CloseHandle(turnBegins);
        return "error: the program cannot be started";
    }
    KVFaults::CSquatter squatter;
    std::string result;
    if (TakeNames(squatter, job.squats, process.dwProcessId))
    {
        ::ResumeThread(process.hThread);
        if (job.isKilled)
        {
            KillInTurn(process.hProcess, turnBegins, job);
        }
        result = WaitForEnd(process.hProcess, job.limitMs);
    }
    else
    {
        ::TerminateProcess(process.hProcess, 1);
        result = "error: a name cannot be taken";
    }
    ::CloseHandle(turnBegins);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return result;
}

bool Answer(SOCKET connection, const std::string& text)
{
    const std::string line = text + "\n";
    return ::send(connection, line.data(), static_cast<int>(line.size()), 0) == static_cast<int>(line.size());
}

// Until the other side closes the connection.
void Serve(SOCKET connection)
{
    std::string received;
    char chunk[4096];
    for (;;)
    {
        const std::size_t end = received.find('\n');
        if (end != std::string::npos)
        {
            const std::string line = received.substr(0, end);
            received.erase(0, end + 1);
            if (!Answer(connection, Run(ParseJob(line))))
            {
                return;
            }
            continue;
        }
        const int count = ::recv(connection, chunk, sizeof(chunk), 0);
        if (count <= 0)
        {
            return;
        }
        received.append(chunk, static_cast<std::size_t>(count));
    }
}
} // namespace

int wmain(int argc, wchar_t** argv)
{
    WSADATA data{};
    if (argc != 2 || ::WSAStartup(MAKEWORD(2, 2), &data) != 0)
    {
        std::fputs("usage: kv_fault_host PORT\n", stderr);
        return 2;
    }
    const SOCKET connection = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = ::htons(static_cast<u_short>(std::wcstoul(argv[1], nullptr, 10)));
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    if (::connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
    {
        std::fputs("kv_fault_host: nobody listens\n", stderr);
        return 1;
    }
    Serve(connection);
    ::closesocket(connection);
    return 0;
}
