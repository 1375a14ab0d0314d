#pragma once

// System functions are called directly: no library is loaded.
#define KV_SYSTEM_FUNCTION(library, name) KVWinApi::CNativeFunction(&::name)

namespace KVWinApi
{
template <typename Pointer> class CNativeFunction
{
public:
    explicit CNativeFunction(Pointer function) : m_function(function) {}
    template <typename Failure> Pointer Or(Failure /*failure*/) const { return m_function; }

private:
    Pointer m_function;
};
} // namespace KVWinApi
