#pragma once

#include "Http/Message.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

namespace Ravik::Service
{

/// The most parameters that a query may have.
inline constexpr std::size_t max_parameters = 100;

/// What a request's target names, decoded.
struct Target
{
    std::string path;
    Fields query;
    /// Of a target in the absolute form: what stands in the place of the field Host, which is then ignored (RFC 9112).
    std::string authority;
};

/// Why a target has no decoded form, for a person.
struct TargetError
{
    std::string detail;
};

/// Decodes the target of a request: a path with or without a query, an absolute one with http or https, or "*" of
/// OPTIONS, whose path is "*". Escapes are decoded once. Refused are broken escapes, what is no UTF-8 when decoded,
/// U+0000 anywhere, in the path "%2f", a backslash in either form and the segments "." and "..", and a fragment. In a
/// query, "+" is a blank as in a form that a browser sends.
std::variant<Target, TargetError> decode_target(std::string_view method, std::string_view target);

} // namespace Ravik::Service
