#pragma once

// System functions are called as they are: there is nothing to load.
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
