#pragma once

#include "Schema/WorkBudget.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace re2
{
class RE2;
}

namespace Ravik::Schema
{

/// A regular expression as JSON schemas write it (ECMA 262), matched in time linear in the text. Immutable; copies
/// share what was compiled.
class Pattern
{
public:
    /// Throws a `SchemaFailure` with the reason where the expression is wrong or needs what no linear matching can do
    /// (references back, looking ahead or behind), and where it is too large for the budget.
    Pattern(std::string_view expression, WorkBudget& budget);

    /// Whether the expression matches anywhere in the text.
    bool matches(std::string_view text, WorkBudget& budget) const;
    std::string const& expression() const noexcept { return m_expression; }

private:
    std::string m_expression;
    std::shared_ptr<re2::RE2 const> m_compiled;
    std::size_t m_size = 0;
};

} // namespace Ravik::Schema
