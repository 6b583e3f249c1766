#pragma once

#include "api_types.h"

#include <string_view>

namespace RecipeManagement
{

/// A zero-terminated text that stands elsewhere, mostly in the configuration that a request has read.
class TextView : public std::string_view
{
public:
    TextView() noexcept : std::string_view("") {}
    TextView(char const* text) noexcept : std::string_view(text) {}
    /// The text of a string; an empty one for a value of any other type.
    explicit TextView(Value const& value) noexcept : std::string_view(value.get_text()) {}

    char const* c_str() const noexcept { return data(); }
};

} // namespace RecipeManagement
