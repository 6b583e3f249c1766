#include "Http/answer_head.h"

#include "Http/text.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <string_view>
#include <utility>

namespace Ravik::Service
{
namespace
{

struct Reason
{
    unsigned status;
    std::string_view text;
};

constexpr std::array reasons{
    Reason{200, "OK"},
    Reason{201, "Created"},
    Reason{202, "Accepted"},
    Reason{204, "No Content"},
    Reason{303, "See Other"},
    Reason{304, "Not Modified"},
    Reason{400, "Bad Request"},
    Reason{401, "Unauthorized"},
    Reason{403, "Forbidden"},
    Reason{404, "Not Found"},
    Reason{405, "Method Not Allowed"},
    Reason{406, "Not Acceptable"},
    Reason{408, "Request Timeout"},
    Reason{409, "Conflict"},
    Reason{410, "Gone"},
    Reason{412, "Precondition Failed"},
    Reason{413, "Content Too Large"},
    Reason{415, "Unsupported Media Type"},
    Reason{417, "Expectation Failed"},
    Reason{421, "Misdirected Request"},
    Reason{422, "Unprocessable Content"},
    Reason{426, "Upgrade Required"},
    Reason{428, "Precondition Required"},
    Reason{429, "Too Many Requests"},
    Reason{431, "Request Header Fields Too Large"},
    Reason{500, "Internal Server Error"},
    Reason{502, "Bad Gateway"},
    Reason{503, "Service Unavailable"},
    Reason{507, "Insufficient Storage"},
};

/// Empty for a status that has none here: clients go by the number.
std::string_view reason(unsigned status)
{
    auto const* const found =
        std::find_if(reasons.begin(), reasons.end(), [&](Reason const& each) { return each.status == status; });
    return found == reasons.end() ? std::string_view() : found->text;
}

void append_harmless(std::string& head, std::string_view text)
{
    auto const begin = head.size();
    head += text;
    std::replace_if(
        head.begin() + static_cast<std::ptrdiff_t>(begin), head.end(),
        [](char each)
        {
            auto const byte = static_cast<unsigned char>(each);
            return byte < ' ' || byte == 0x7f;
        },
        ' ');
}

/// A field that we have made ourselves.
void append_field(std::string& head, std::string_view name, std::string_view value)
{
    head.append(name).append(": ").append(value).append("\r\n");
}

/// A field that a handler has made, perhaps of what a client sent.
void append_given_field(std::string& head, std::string_view name, std::string_view value)
{
    append_harmless(head, name);
    head += ": ";
    append_harmless(head, value);
    head += "\r\n";
}

/// The fields that every answer carries, with what they say in each.
constexpr std::array constant_fields{std::pair<std::string_view, std::string_view>{"X-Content-Type-Options", "nosniff"},
                                     std::pair<std::string_view, std::string_view>{
                                         "Content-Security-Policy", "default-src 'self'; frame-ancestors 'none'"},
                                     std::pair<std::string_view, std::string_view>{"Referrer-Policy", "no-referrer"}};
constexpr std::string_view date_name = "Date";
constexpr std::string_view id_name = "X-Request-Id";

} // namespace

std::string http_date()
{
    std::time_t const now = std::time(nullptr);
    std::tm parts{};
    ::gmtime_r(&now, &parts);
    std::array<char, 40> text{};
    auto const length = std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S GMT", &parts);
    return {text.data(), length};
}

Fields common_fields(AnswerFrame const& frame)
{
    Fields fields{{std::string(date_name), frame.date}, {std::string(id_name), std::to_string(frame.id)}};
    fields.insert(fields.end(), constant_fields.begin(), constant_fields.end());
    return fields;
}

bool has_field(Fields const& fields, std::string_view name)
{
    return std::any_of(fields.begin(), fields.end(),
                       [&](auto const& field) { return equals_ignoring_case(field.first, name); });
}

bool has_body(unsigned status) noexcept
{
    return status >= 200 && status != 204 && status != 304;
}

std::string answer_head(Response const& response, AnswerFrame const& frame)
{
    std::string head;
    head.reserve(512);
    head.append("HTTP/1.1 ").append(std::to_string(response.status)).append(" ");
    head.append(reason(response.status)).append("\r\n");
    append_field(head, date_name, frame.date);
    append_field(head, id_name, std::to_string(frame.id));
    for (auto const& [name, value] : constant_fields)
    {
        append_field(head, name, value);
    }
    for (auto const& [name, value] : response.fields)
    {
        append_given_field(head, name, value);
    }
    if (!has_field(response.fields, "Cache-Control"))
    {
        append_field(head, "Cache-Control", "no-store");
    }
    if (!response.content_type.empty())
    {
        append_given_field(head, "Content-Type", response.content_type);
    }
    if (has_body(response.status))
    {
        append_field(head, "Content-Length", std::to_string(response.body ? response.body->size() : 0));
    }
    if (!frame.keep_alive)
    {
        append_field(head, "Connection", "close");
    }
    head += "\r\n";
    return head;
}

} // namespace Ravik::Service
