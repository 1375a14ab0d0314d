#include "faults/Injection.h"

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstring>

// Runs before and after the program's own runtime: nothing here allocates, throws or needs construction.
namespace KVFaults
{
namespace
{
constexpr std::size_t kMostThreads = 8;
constexpr std::size_t kKinds = 3;

struct Plan
{
    char kind = 0; // 0: nothing fails
    unsigned long thread = 0;
    unsigned long first = 0;
    unsigned long count = 0; // 0: for ever
};

constinit Plan s_plan;
constinit std::atomic<bool> s_failsFromNowOn{false};
constinit std::atomic<DWORD> s_threads[kMostThreads] = {};
constinit std::atomic<unsigned long> s_ordinals[kMostThreads][kKinds] = {};

constinit char* s_journal = nullptr;
constinit std::size_t s_journalSize = 0;
constinit std::atomic<std::size_t> s_journalEnd{0};

class Line
{
public:
    void Add(const char* text) noexcept
    {
        while (*text != '\0' && m_length < sizeof(m_text) - 1)
        {
            m_text[m_length++] = *text++;
        }
    }
    void Add(unsigned long long number) noexcept
    {
        char digits[24];
        char* first = digits + sizeof(digits) - 1;
        *first = '\0';
        do
        {
            *--first = static_cast<char>('0' + number % 10);
            number /= 10;
        } while (number != 0);
        Add(first);
    }
    // Each writer reserves its own piece of the journal. Nothing is added to a full journal.
    void Write() noexcept
    {
        m_text[m_length++] = '\n';
        const std::size_t place = s_journalEnd.fetch_add(m_length);
        if (s_journal != nullptr && place + m_length <= s_journalSize)
        {
            std::memcpy(s_journal + place, m_text, m_length);
        }
    }

private:
    char m_text[120];
    std::size_t m_length = 0;
};

unsigned long ParseNumber(const char*& text) noexcept
{
    while (*text == ' ')
    {
        ++text;
    }
    unsigned long number = 0;
    while (*text >= '0' && *text <= '9')
    {
        number = number * 10 + static_cast<unsigned long>(*text++ - '0');
    }
    return number;
}

void ReadPlan() noexcept
{
    char text[64] = {};
    if (::GetEnvironmentVariableA("KV_FAULT_PLAN", text, sizeof(text)) == 0)
    {
        return;
    }
    const char* rest = text + 1;
    s_plan.thread = ParseNumber(rest);
    s_plan.first = ParseNumber(rest);
    s_plan.count = ParseNumber(rest);
    s_plan.kind = text[0];
}

void OpenJournal() noexcept
{
    char path[MAX_PATH] = {};
    if (::GetEnvironmentVariableA("KV_FAULT_JOURNAL", path, sizeof(path)) == 0)
    {
        return;
    }
    // Neither handle is closed: both last as long as the process.
    const HANDLE file = ::CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    const HANDLE mapping = ::CreateFileMappingW(file, nullptr, PAGE_READWRITE, 0, 0, nullptr);
    s_journalSize = ::GetFileSize(file, nullptr);
    s_journal = static_cast<char*>(::MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0));
    if (s_journal == nullptr)
    {
        constexpr UINT kNoJournal = 0xFA017001;
        ::TerminateProcess(::GetCurrentProcess(), kNoJournal);
    }
}

std::size_t OwnThreadNumber() noexcept
{
    const DWORD id = ::GetCurrentThreadId();
    for (std::size_t number = 0; number < kMostThreads - 1; ++number)
    {
        DWORD owner = 0;
        if (s_threads[number].compare_exchange_strong(owner, id) || owner == id)
        {
            return number;
        }
    }
    return kMostThreads - 1;
}

std::size_t IndexOf(Kind kind) noexcept
{
    return kind == Kind::kNew ? 0 : kind == Kind::kRuntime ? 1 : 2;
}

bool IsPlanned(Kind kind, std::size_t thread, unsigned long ordinal) noexcept
{
    if (static_cast<char>(kind) != s_plan.kind)
    {
        return false;
    }
    const bool isInPlace = thread == s_plan.thread && ordinal >= s_plan.first;
    if (s_plan.count != 0)
    {
        return isInPlace && ordinal < s_plan.first + s_plan.count;
    }
    if (isInPlace)
    {
        s_failsFromNowOn = true;
    }
    return s_failsFromNowOn;
}
} // namespace

void StartInjection() noexcept
{
    ReadPlan();
    OpenJournal();
    OwnThreadNumber(); // the main thread's is 0
}

bool ShouldFail(Kind kind, const char* name) noexcept
{
    const std::size_t thread = OwnThreadNumber();
    const unsigned long ordinal = s_ordinals[thread][IndexOf(kind)]++;
    const bool fails = IsPlanned(kind, thread, ordinal);
    const char kindText[] = {' ', static_cast<char>(kind), ' ', '\0'};
    Line line;
    line.Add(thread);
    line.Add(kindText);
    line.Add(name);
    line.Add(fails ? " failed" : "");
    line.Write();
    return fails;
}

void Note(const char* text, unsigned long long number) noexcept
{
    Line line;
    line.Add(text);
    line.Add(" ");
    line.Add(number);
    line.Write();
}

unsigned long ReadNumber(const char* variable) noexcept
{
    char text[32] = {};
    const char* rest = text;
    return ::GetEnvironmentVariableA(variable, text, sizeof(text)) != 0 ? ParseNumber(rest) : 0;
}
} // namespace KVFaults
