#include "fuzz/Input.h"
#include "utils/PathUtils.h"

using KVFuzz::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    KVFuzz::Input input(data, size);
    const std::wstring head = input.Text(300);
    const std::wstring tail = input.Text(300);

    const std::wstring combined = KVUtils::CombinePaths(head, tail);
    if (head.empty() || tail.empty())
    {
        Require(combined == head + tail, "an empty side leaves the other as it is");
    }
    else
    {
        const std::wstring left = head.back() == L'\\' ? head.substr(0, head.size() - 1) : head;
        const std::wstring right = tail.front() == L'\\' ? tail.substr(1) : tail;
        Require(combined == left + L"\\" + right, "one backslash stands between the two");
    }

    const std::wstring last = KVUtils::GetLastPathComponent(head);
    Require(head.ends_with(last), "the last component ends the path");
    Require(last.find(L'\\') == std::wstring::npos, "a component has no backslash");
    Require(last == head || last.size() < head.size(), "what is cut off is more than nothing");

    // Paths are zero-terminated texts.
    const std::wstring path = head.c_str();
    const std::wstring folder = KVUtils::CPathUtils::StripFilename(path);
    Require(path.starts_with(folder), "a folder begins the path of what is in it");
    const std::size_t backslash = path.rfind(L'\\');
    if (backslash != std::wstring::npos)
    {
        Require(folder.size() == backslash || folder.size() == backslash + 1, "it goes to the last backslash");
    }
    else
    {
        Require(folder.empty() || folder.size() == 2, "without a backslash it is the drive or nothing");
    }
    return 0;
}
