#include <charconv>
#include <cmath>
#include <cwchar>
#include <sstream>

#include "fuzz/Input.h"
#include "ga_client/protocols/QueueTime.h"
#include "winapi/KernelApi.h"

using namespace Protocols::MeasurementParams;
using KVFuzz::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    KVFuzz::Input input(data, size);
    KVWinApi::g_now = input.Between<std::int64_t>(0, 4102444800); // to the year 2100
    const std::wstring request = input.Text();
    const std::wstring converted = ConvertQueueTimeMark(request);

    const std::size_t mark = request.find(L'#');
    if (mark == std::wstring::npos || mark + 1 == request.size())
    {
        Require(converted == request, "a request without mark stays as it is");
    }
    else
    {
        const std::wstring beginning = request.substr(0, mark) + L"&qt=";
        Require(converted.starts_with(beginning), "the mark gives way to the queue time");
        std::string time;
        for (const wchar_t character : converted.substr(beginning.size()))
        {
            time += static_cast<char>(character);
        }
        double milliseconds = -1;
        const auto [end, error] = std::from_chars(time.data(), time.data() + time.size(), milliseconds);
        Require(error == std::errc() && end == time.data() + time.size(), "the queue time is a number");
        Require(milliseconds >= 0 && std::isfinite(milliseconds), "no hit comes from the future");

        const long long markedTime = std::wcstoll(request.c_str() + mark + 1, nullptr, 10);
        const double seconds = static_cast<double>(KVWinApi::g_now) - static_cast<double>(markedTime);
        std::ostringstream stream;
        stream << seconds * 1000.0;
        Require(time == (seconds > 0.0 ? stream.str() : "0"), "the format is that of a text stream");
    }

    std::wstring marked = request;
    AppendQueueTimeMark(marked);
    Require(marked == (request.empty() ? L"" : request + L"#" + std::to_wstring(KVWinApi::g_now)),
            "the mark is the time in seconds");
    return 0;
}
