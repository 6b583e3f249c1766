#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace RavikSrv
{

/// What stands between the components of a path. Whoever has no need of a constant asks `path_separator()`.
inline constexpr std::string_view separator_text = "::";

/// Takes a server name apart at its separators, part by part and without copying. Every colon that directly follows a
/// separator is another separator, with an empty part before it: a:::b gives a, an empty part, b. The name must outlive
/// the splitter.
class NameSplitter
{
public:
    explicit NameSplitter(std::string_view name) noexcept : m_rest(name), m_more(!name.empty()) {}

    /// Steps to the next part; returns false behind the last one. An empty name has no parts.
    bool next() noexcept;
    std::string_view part() const noexcept { return m_part; }

private:
    std::string_view m_rest;
    std::string_view m_part;
    bool m_more;
    bool m_behind_separator = false;
};

/// Walks the components of a server path from the front without splitting the whole of it: the names between the
/// separators "::", and behind a name each index in brackets as a component of its own, so that a[2]::b gives a, 2, b.
/// A path may also begin with an index, as does what lies below a symbol: [2]::b gives 2, b. Brackets that are no such
/// index (a[x], a[], a[1]b) are ordinary characters of the name.
///
/// The path must outlive the iterator. A component is valid until the next step.
class PathIterator
{
public:
    explicit PathIterator(std::string_view path) noexcept : m_names(path) {}

    /// Steps to the next component; returns false behind the last one. An empty path has no components.
    bool next();
    /// The component that the last step reached. Empty where two separators stand in a row, or one at either end.
    std::string const& component() const& noexcept { return m_component; }
    std::string component() && noexcept { return std::move(m_component); }

private:
    void take_name(std::string_view part);
    void take_index();

    NameSplitter m_names;
    bool m_at_start = true;
    /// The indices of the part that the walk is in, brackets included.
    std::string_view m_indices;
    std::string m_component;
};

} // namespace RavikSrv
