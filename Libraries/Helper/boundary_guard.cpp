#include "boundary_guard.h"

#include <cstdio>
#include <exception>

namespace RavikSrv
{

namespace
{

/// Removes a character from the end of which only the first bytes are there.
void drop_cut_character(char* text, std::size_t size) noexcept
{
    auto const is_continuation = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; };
    while (size > 0 && is_continuation(text[size - 1]))
    {
        --size;
    }
    text[size > 0 ? size - 1 : 0] = '\0';
}

template <std::size_t Size>
void print(std::array<char, Size>& text, char const* operation, char const* separator, char const* what) noexcept
{
    auto const length = std::snprintf(text.data(), Size, "%s: unexpected failure%s%s", operation, separator, what);
    if (length >= static_cast<int>(Size))
    {
        drop_cut_character(text.data(), Size - 1);
    }
}

} // namespace

FailureText::FailureText(char const* operation) noexcept
{
    try
    {
        throw;
    }
    catch (std::exception const& exception)
    {
        print(m_text, operation, ": ", exception.what());
    }
    catch (...)
    {
        print(m_text, operation, "", "");
    }
}

} // namespace RavikSrv
