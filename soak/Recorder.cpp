#include "soak/Recorder.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>

namespace KVSoak
{
namespace
{
// The text between `before` and the next separator; empty if there is none.
std::wstring_view ValueAfter(std::wstring_view hit, std::wstring_view before)
{
    const std::size_t start = hit.find(before);
    if (start == std::wstring_view::npos)
    {
        return {};
    }
    const std::wstring_view rest = hit.substr(start + before.size());
    return rest.substr(0, rest.find_first_of(L"&#"));
}

const char* SessionHitName(std::wstring_view hit)
{
    if (hit.find(L"&sc=start&t=appview&") != std::wstring_view::npos)
    {
        return "begin";
    }
    if (hit.find(L"&ea=Start&el=Launch&") != std::wstring_view::npos)
    {
        return "launch";
    }
    return hit.find(L"&ea=Stop&el=Launch&") != std::wstring_view::npos ? "stop" : "unknown";
}
} // namespace

CRecorder::CRecorder(const std::wstring& path) : m_file(::_wfopen(path.c_str(), L"wb"))
{
    if (m_file == nullptr)
    {
        throw std::runtime_error("the account of the process cannot be written");
    }
    constexpr std::size_t kBufferSize = 65536;
    std::setvbuf(m_file, nullptr, _IOFBF, kBufferSize);
}

CRecorder::~CRecorder()
{
    std::fclose(m_file);
}

void CRecorder::Write(std::string_view record)
{
    const std::lock_guard<std::mutex> hold(m_mutex);
    std::fwrite(record.data(), 1, record.size(), m_file);
    std::fputc('\n', m_file);
}

void CRecorder::Flush()
{
    const std::lock_guard<std::mutex> hold(m_mutex);
    std::fflush(m_file);
}

std::string KeyOf(std::wstring_view hit)
{
    const std::wstring_view label = ValueAfter(hit, L"&cd90=");
    if (!label.empty())
    {
        return Narrow(label);
    }
    return Narrow(ValueAfter(hit, L"&tid=")) + ":" + SessionHitName(hit);
}

long long ReadCounter()
{
    LARGE_INTEGER now{};
    ::QueryPerformanceCounter(&now);
    return now.QuadPart;
}

std::string Narrow(std::wstring_view text)
{
    std::string bytes(text.size(), '\0');
    std::transform(text.begin(), text.end(), bytes.begin(), [](wchar_t unit) { return static_cast<char>(unit); });
    return bytes;
}
} // namespace KVSoak
