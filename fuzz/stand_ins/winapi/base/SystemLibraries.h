#pragma once

#include <type_traits>

// System functions are called directly: no library is loaded.
#define KV_SYSTEM_FUNCTION(library, name) KVWinApi::CNativeFunction(&::name)

namespace KVWinApi
{
template <typename Pointer> struct CNativeFunction
{
    explicit CNativeFunction(Pointer function) : m_function(function) {}
    Pointer m_function;
};

template <typename Result, typename... Parameters>
Result Call(CNativeFunction<Result (*)(Parameters...)> function, std::type_identity_t<Parameters>... arguments)
{
    return function.m_function(arguments...);
}
} // namespace KVWinApi
