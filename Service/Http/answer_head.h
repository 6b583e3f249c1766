#pragma once

#include "Http/Message.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Ravik::Service
{

/// What the header of an answer says beside the answer itself.
struct AnswerFrame
{
    /// The request's number.
    std::uint64_t id = 0;
    /// The time, as `http_date` writes it.
    std::string date;
    bool keep_alive = true;
};

/// The time now, as HTTP writes it.
std::string http_date();

/// The fields that every answer carries, one that opens a WebSocket too.
Fields common_fields(AnswerFrame const& frame);

/// Whether the field stands there, however its name is written.
bool has_field(Fields const& fields, std::string_view name);

/// Whether an answer of that status has a body.
bool has_body(unsigned status) noexcept;

/// The header of the answer, with the empty line behind it. What would break a field of it is written as a blank.
std::string answer_head(Response const& response, AnswerFrame const& frame);

} // namespace Ravik::Service
