#pragma once

#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>

namespace KVSoak
{
/// The account of a process: a text file with one record a line, a word and fields separated by tabs, in the order of
/// writing. The script's soak_model.py reads it and describes each record. Any thread. Its use of memory and handles
/// stays the same from the first record to the last, so it does not affect what is measured.
class CRecorder
{
public:
    /// Throws std::runtime_error if the file cannot be created.
    explicit CRecorder(const std::wstring& path);
    ~CRecorder();
    CRecorder(const CRecorder&) = delete;
    CRecorder& operator=(const CRecorder&) = delete;

    void Write(std::string_view record);
    /// Writes what is buffered, so that it survives the end of the process.
    void Flush();

private:
    std::mutex m_mutex;
    std::FILE* m_file;
};

/// Identifies a hit: its label, or for the three hits of a session, which have none, the property id of the session and
/// which of the three it is. `hit` as it was tracked or as it is sent.
std::string KeyOf(std::wstring_view hit);

/// The custom dimension that carries the label.
constexpr unsigned kLabelDimension = 90;

/// The performance counter, which all processes share: it orders their operations on the queue file.
long long ReadCounter();

/// The units of ASCII text as bytes.
std::string Narrow(std::wstring_view text);
} // namespace KVSoak
