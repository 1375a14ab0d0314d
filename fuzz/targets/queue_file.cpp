#include "fuzz/Input.h"
#include "ga_client/QueueFileFormat.h"

using KVFuzz::Require;

namespace
{
// The straightforward implementation, on the whole file.
std::list<std::wstring> ReadPlainly(const std::string& bytes, std::size_t limit)
{
    std::list<std::wstring> lines;
    std::wstring line;
    for (const char byte : bytes + "\n")
    {
        if (byte != '\n')
        {
            line += static_cast<wchar_t>(static_cast<signed char>(byte));
        }
        else
        {
            if (!line.empty() && line.front() != L'\0' && lines.size() < limit)
            {
                lines.push_back(line);
            }
            line.clear();
        }
    }
    return lines;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    KVFuzz::Input input(data, size);
    const auto limit = input.Between<std::size_t>(0, 20);
    GAClient::CQueueLineCollector collector(limit);
    std::string bytes;
    while (!input.IsOver())
    {
        const std::string piece = input.Bytes(200);
        bytes += piece;
        collector.Add(piece);
    }
    const std::list<std::wstring> lines = collector.TakeLines();
    Require(lines == ReadPlainly(bytes, limit), "the pieces do not matter");

    // Writing what was read and reading it again gives the same.
    GAClient::CQueueLineCollector again(lines.size());
    std::string written;
    for (const std::wstring& line : lines)
    {
        GAClient::AppendQueueLine(line, written);
    }
    again.Add(written);
    Require(again.TakeLines() == lines, "hits survive the file");
    return 0;
}
