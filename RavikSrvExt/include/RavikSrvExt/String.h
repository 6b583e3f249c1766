#pragma once

#include <string>

namespace RavikSrv
{

/// A small owned text, as text functions across the extension boundary return it.
class String
{
public:
    String() = default;
    /// Copies `text`, which must not be null.
    String(char const* text) : m_text(text) {}

    /// The text, zero-terminated; owned by this object.
    char const* name() const noexcept { return m_text.c_str(); }

private:
    std::string m_text;
};

} // namespace RavikSrv
