#pragma once

namespace KVTest
{
/// Puts a substitute behind a facade pointer and restores what was there before. Not synchronised with callers on other
/// threads: end them, and the objects under test that use the facade, before the scope.
template <typename Interface> class ScopedSubstitute
{
public:
    ScopedSubstitute(Interface*& pointer, Interface& substitute) noexcept : m_pointer(pointer), m_original(pointer)
    {
        m_pointer = &substitute;
    }
    ~ScopedSubstitute() { m_pointer = m_original; }
    ScopedSubstitute(const ScopedSubstitute&) = delete;
    ScopedSubstitute& operator=(const ScopedSubstitute&) = delete;

private:
    Interface*& m_pointer;
    Interface* m_original;
};

// The substitute may be of a derived class: the interface is the pointer's.
template <typename Interface, typename Substitute>
ScopedSubstitute(Interface*&, Substitute&) -> ScopedSubstitute<Interface>;
} // namespace KVTest
