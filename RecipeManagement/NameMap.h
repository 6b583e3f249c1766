#pragma once

#include <boost/unordered/unordered_flat_map.hpp>

#include <cstddef>
#include <string_view>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace RecipeManagement
{

/// Takes a third of the standard hash's instructions for a name.
struct NameHash
{
    using is_avalanching = void;

    std::size_t operator()(std::string_view name) const noexcept { return XXH3_64bits(name.data(), name.size()); }
};

/// A map by names that stand elsewhere.
template <typename T> using NameMap = boost::unordered_flat_map<std::string_view, T, NameHash>;

} // namespace RecipeManagement
