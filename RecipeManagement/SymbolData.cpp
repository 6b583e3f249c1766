#include "SymbolData.h"

#include <tuple>

namespace RecipeManagement
{

bool operator==(SymbolData const& left, SymbolData const& right) noexcept
{
    return std::tie(left.symbol, left.recipetype, left.name) == std::tie(right.symbol, right.recipetype, right.name);
}

} // namespace RecipeManagement
