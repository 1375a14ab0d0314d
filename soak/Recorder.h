#pragma once

#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>

namespace KVSoak
{
/// The account that a process gives of itself: a text file of one record a line, a word and fields separated by tabs,
/// in the order of writing. soak_model.py reads it and tells what each record means. Any thread. Needs the same memory
/// and the same handles from its first record to its last, so that it does not show in what is measured.
class CRecorder
{
public:
    /// Throws std::runtime_error when the file cannot be made.
    explicit CRecorder(const std::wstring& path);
    ~CRecorder();
    CRecorder(const CRecorder&) = delete;
    CRecorder& operator=(const CRecorder&) = delete;

    void Write(std::string_view record);
    /// Hands on what is buffered, so that it is there also when the process dies.
    void Flush();

private:
    std::mutex m_mutex;
    std::FILE* m_file;
};

/// By what a hit can be told from every other: its label, or for the three hits of a session, which have none, the
/// property id of the session and which of the three it is. `hit` as it was tracked or as it is sent.
std::string KeyOf(std::wstring_view hit);

/// The custom dimension that carries the label.
constexpr unsigned kLabelDimension = 90;

/// The performance counter, which all processes share: it puts what they do to the queue file in order.
long long ReadCounter();

/// The units of ASCII text as bytes.
std::string Narrow(std::wstring_view text);
} // namespace KVSoak
