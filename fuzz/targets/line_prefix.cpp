#include "fuzz/Input.h"
#include "logging/line/LineFormat.h"
#include "logging/LogFlags.h"

using namespace KVLogging;
using KVFuzz::Require;

namespace
{
std::size_t CountTags(std::uint32_t flags)
{
    constexpr std::uint32_t kTagged = kLogException | kLogError | kLogWarning | kLogHeader | kLogInfo | kLogStatus |
                                      kLogDebug | kLogEntry | kLogExit | kLogErrorCode | kLogLocking | kLogInterProcess;
    std::size_t count = (flags & kLogMarkerMask) != 0 ? 1 : 0;
    for (std::uint32_t rest = flags & kTagged; rest != 0; rest &= rest - 1)
    {
        ++count;
    }
    return count;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    KVFuzz::Input input(data, size);
    const std::wstring tag = L"[" + std::to_wstring(input.Any<std::uint32_t>()) + L"] ";
    const LinePrefix parts{input.Any<std::uint32_t>(), input.Any<std::uint32_t>(), input.Any<int>(), tag,
                           input.Any<std::int64_t>() >> 1};
    std::wstring tags;
    AppendTags(tags, parts.flags);
    const std::wstring prefix = ComposePrefix(parts);

    std::size_t count = 0;
    for (const wchar_t character : tags)
    {
        count += character == L'(' ? 1 : 0;
    }
    Require(count == CountTags(parts.flags), "each category has one tag");
    Require(prefix.ends_with(tags), "the tags come last");
    Require((prefix.find(tag) != std::wstring::npos) == ((parts.options & kOptionProcessTag) != 0),
            "the process tag comes when it is asked for");
    Require((prefix.find(L"{tid: 0x1A2B} ") != std::wstring::npos) == ((parts.options & kOptionThreadId) != 0),
            "the thread comes when it is asked for");
    Require((prefix.find(L" ms) ") != std::wstring::npos) == ((parts.options & kOptionSincePrevious) != 0),
            "the time since the previous line comes when it is asked for");
    if ((parts.options & ~(kOptionSizeLimitMask | kOptionCompactTime)) == 0)
    {
        Require(prefix == tags, "without options there are the tags only");
    }
    return 0;
}
