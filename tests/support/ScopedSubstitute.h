#pragma once

namespace KVTest
{
/// Points a facade pointer to a substitute and restores it at the end of the scope. Not synchronised with other
/// threads: those that call the facade must have ended by then, and objects under test that use it must have been
/// destroyed.
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

// The pointer decides the interface; the substitute may be of a derived class.
template <typename Interface, typename Substitute>
ScopedSubstitute(Interface*&, Substitute&) -> ScopedSubstitute<Interface>;
} // namespace KVTest
