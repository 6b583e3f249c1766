#pragma once

#include "RavikSrvExtApi.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// The words of the validator's answers.
namespace Ravik::Schema
{

/// A place inside the value that is checked, told as steps from the one around it, which must outlive this one.
struct InstanceLocation
{
    InstanceLocation() = default;
    InstanceLocation(InstanceLocation const& around, char const* field) : parent(&around), name(field) {}
    InstanceLocation(InstanceLocation const& around, std::size_t item) : parent(&around), index(item) {}

    InstanceLocation const* parent = nullptr;
    /// Null for an item of an array.
    char const* name = nullptr;
    std::size_t index = 0;
};

/// The location as a server path below `path`: "values::Speed", "list[3]::x".
std::string location_text(std::string_view path, InstanceLocation const& location);

/// The text led by its location, where there is one.
std::string with_location(std::string_view location, std::string_view text);

/// The value in a few words: a number or bool as it is, a text in quotes and shortened, a list or object by its kind.
std::string describe(RavikSrv::Value const& value);

/// The first of the values, as `describe` tells each, joined by commas.
std::string describe_list(std::vector<RavikSrv::Value> const& values);

/// The text in quotes, shortened where it is long, blanks for control characters.
std::string quoted(std::string_view text);

/// The text, cut behind a whole character and marked where it is longer than `limit` bytes.
std::string shortened(std::string_view text, std::size_t limit);

} // namespace Ravik::Schema
