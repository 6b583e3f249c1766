#include "PathIterator.h"

namespace RavikSrv
{

namespace
{

/// The length of `part` without the indices at its end.
std::size_t name_length(std::string_view part)
{
    auto length = part.size();
    while (length != 0 && part[length - 1] == ']')
    {
        auto const open = part.find_last_not_of("0123456789", length - 2);
        if (open == std::string_view::npos || part[open] != '[' || open + 2 == length)
        {
            break;
        }
        length = open;
    }
    return length;
}

} // namespace

bool NameSplitter::next() noexcept
{
    if (!m_more)
    {
        return false;
    }
    auto const colon_again = m_behind_separator && m_rest.starts_with(':');
    auto const separator = colon_again ? 0 : m_rest.find(separator_text);
    m_part = m_rest.substr(0, separator);
    m_more = separator != std::string_view::npos;
    m_behind_separator = m_more;
    m_rest.remove_prefix(m_more ? separator + (colon_again ? 1 : separator_text.size()) : m_rest.size());
    return true;
}

bool PathIterator::next()
{
    if (!m_indices.empty())
    {
        take_index();
        return true;
    }
    if (!m_names.next())
    {
        return false;
    }
    take_name(m_names.part());
    m_at_start = false;
    return true;
}

void PathIterator::take_name(std::string_view part)
{
    auto const length = part.ends_with(']') ? name_length(part) : part.size();
    m_indices = part.substr(length);
    if (m_at_start && length == 0 && !m_indices.empty())
    {
        take_index();
    }
    else
    {
        m_component.assign(part.substr(0, length));
    }
}

void PathIterator::take_index()
{
    auto const close = m_indices.find(']');
    m_component.assign(m_indices.substr(1, close - 1));
    m_indices.remove_prefix(close + 1);
}

} // namespace RavikSrv
