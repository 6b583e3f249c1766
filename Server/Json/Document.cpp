#include "Json/Document.h"

#include "Json/Json.h"
#include "Json/Scanner.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <utility>

namespace Ravik::Json
{

namespace
{

/// Looks for paths together, so that however many there are the text is walked once.
class Search
{
public:
    Search(std::string_view text, std::vector<Document::Path> const& paths) : m_scanner(text), m_offsets(paths.size())
    {
        for (std::size_t index = 0; index < paths.size(); ++index)
        {
            auto* step = &m_root;
            // Nothing stands deeper in any text, so that a path without end can't take the stack.
            auto const depth = std::min<std::size_t>(paths[index].size(), max_nesting);
            for (std::size_t level = 0; level < depth; ++level)
            {
                step = &step->below[paths[index][level]];
            }
            step->ends.push_back(index);
        }
    }

    /// The deepest place on each path.
    std::vector<std::size_t> run()
    {
        visit(m_root, m_scanner.position());
        return std::move(m_offsets);
    }

private:
    struct Step
    {
        std::map<std::string, Step, std::less<>> below;
        /// The paths that end here.
        std::vector<std::size_t> ends;
    };

    /// Steps over the value of the step, which stands, or whose key does, at the position.
    void visit(Step const& step, std::size_t position)
    {
        note(step, position);
        auto const begin = step.below.empty() ? '\0' : m_scanner.peek();
        if (begin == '{')
        {
            visit_object(step);
        }
        else if (begin == '[')
        {
            visit_array(step);
        }
        else
        {
            m_scanner.skip_value();
        }
    }

    /// Whatever begins with the step leads here at least.
    void note(Step const& step, std::size_t position)
    {
        for (auto const index : step.ends)
        {
            m_offsets[index] = position;
        }
        for (auto const& [name, next] : step.below)
        {
            note(next, position);
        }
    }

    void visit_object(Step const& step)
    {
        m_scanner.skip_punctuation();
        while (m_scanner.peek() == '"')
        {
            auto const position = m_scanner.position();
            auto const key = parse(m_scanner.skip_text());
            m_scanner.skip_punctuation();
            visit_below(step, key.get_text(), position);
        }
        m_scanner.skip_punctuation();
    }

    void visit_array(Step const& step)
    {
        m_scanner.skip_punctuation();
        for (std::size_t index = 0; m_scanner.peek() != ']'; ++index)
        {
            visit_below(step, std::to_string(index), m_scanner.position());
        }
        m_scanner.skip_punctuation();
    }

    void visit_below(Step const& step, std::string_view name, std::size_t position)
    {
        auto const next = step.below.find(name);
        if (next == step.below.end())
        {
            m_scanner.skip_value();
        }
        else
        {
            visit(next->second, position);
        }
        if (m_scanner.peek() == ',')
        {
            m_scanner.skip_punctuation();
        }
    }

    Scanner m_scanner;
    Step m_root;
    std::vector<std::size_t> m_offsets;
};

} // namespace

Document::Document(std::string text) : m_text(std::move(text)), m_value(parse(m_text))
{
}

std::vector<Location> Document::locate_all(std::vector<Path> const& paths) const
{
    return locations_of(m_text, Search(m_text, paths).run());
}

} // namespace Ravik::Json
