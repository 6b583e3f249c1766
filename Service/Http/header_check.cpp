#include "Http/header_check.h"

#include "Http/text.h"

#include <algorithm>

namespace Ravik::Service
{
namespace
{

constexpr std::string_view line_end = "\r\n";

bool is_token_character(char character)
{
    char const small = lower_case(character);
    return (small >= 'a' && small <= 'z') || (small >= '0' && small <= '9') ||
           std::string_view("!#$%&'*+-.^_`|~").find(small) != std::string_view::npos;
}

bool is_token(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), is_token_character);
}

/// Takes a line off the front.
std::string_view take_line(std::string_view& text)
{
    auto const line = text.substr(0, text.find(line_end));
    text.remove_prefix(std::min(line.size() + line_end.size(), text.size()));
    return line;
}

std::string check_request_line(std::string_view line)
{
    auto const method = line.substr(0, line.find(' '));
    line.remove_prefix(std::min(method.size() + 1, line.size()));
    auto const target = line.substr(0, line.find(' '));
    auto const version = line.substr(std::min(target.size() + 1, line.size()));
    bool const is_target = !target.empty() && std::all_of(target.begin(), target.end(),
                                                          [](char each) { return each > ' ' && each < '\x7f'; });
    if (!is_token(method) || !is_target)
    {
        return "The first line is not a method, a target and a version";
    }
    return version == "HTTP/1.1" || version == "HTTP/1.0" ? "" : "The version is neither HTTP/1.1 nor HTTP/1.0";
}

/// What the fields say of the message's frame.
class Frame
{
public:
    explicit Frame(bool is_1_0) : m_is_1_0(is_1_0) {}

    void add(std::string_view name, std::string_view value)
    {
        if (equals_ignoring_case(name, "Host"))
        {
            ++m_hosts;
        }
        else if (equals_ignoring_case(name, "Content-Length"))
        {
            ++m_lengths;
            // 18 digits are beyond any body and within 64 bits.
            m_has_bad_length |=
                value.empty() || value.size() > 18 ||
                !std::all_of(value.begin(), value.end(), [](char each) { return each >= '0' && each <= '9'; });
        }
        else if (equals_ignoring_case(name, "Transfer-Encoding"))
        {
            ++m_codings;
            m_has_bad_coding |= !equals_ignoring_case(value, "chunked");
        }
        else if (equals_ignoring_case(name, "Connection"))
        {
            add_connection(value);
        }
    }

    std::string problem() const
    {
        if (m_hosts != 1)
        {
            return "There has to be one field Host";
        }
        if (m_lengths > 1 || m_has_bad_length)
        {
            return "Content-Length has to be one number";
        }
        if (m_codings > 1 || m_has_bad_coding || (m_codings > 0 && m_is_1_0))
        {
            return "The one transfer coding is \"chunked\", from HTTP/1.1 on";
        }
        if (m_codings > 0 && m_lengths > 0)
        {
            return "Content-Length and Transfer-Encoding contradict one another";
        }
        return m_is_1_0 && m_keeps_alive ? "HTTP/1.0 does not stay connected" : "";
    }

private:
    void add_connection(std::string_view options)
    {
        while (!options.empty())
        {
            auto const option = options.substr(0, options.find(','));
            options.remove_prefix(std::min(option.size() + 1, options.size()));
            m_keeps_alive |= equals_ignoring_case(trimmed(option), "keep-alive");
        }
    }

    bool m_is_1_0;
    bool m_keeps_alive = false;
    bool m_has_bad_length = false;
    bool m_has_bad_coding = false;
    std::size_t m_hosts = 0;
    std::size_t m_lengths = 0;
    std::size_t m_codings = 0;
};

} // namespace

HeaderScan::State HeaderScan::scan(std::string_view bytes) noexcept
{
    for (; m_seen < bytes.size(); ++m_seen)
    {
        auto const byte = static_cast<unsigned char>(bytes[m_seen]);
        if (byte >= ' ' ? byte == 0x7f : byte != '\r' && byte != '\n' && byte != '\t')
        {
            return State::broken;
        }
        bool const follows_return = m_seen > 0 && bytes[m_seen - 1] == '\r';
        if (follows_return != (byte == '\n'))
        {
            return State::broken;
        }
        if (byte == '\n')
        {
            auto const line = m_seen + 1 - m_line;
            m_line = m_seen + 1;
            if (line == line_end.size())
            {
                ++m_seen;
                return State::complete;
            }
        }
    }
    return State::more;
}

std::string check_header(std::string_view header)
{
    auto const request_line = take_line(header);
    if (auto problem = check_request_line(request_line); !problem.empty())
    {
        return problem;
    }
    Frame frame(request_line.back() == '0');
    for (auto line = take_line(header); !line.empty(); line = take_line(header))
    {
        if (line.front() == ' ' || line.front() == '\t')
        {
            return "A line of the header is folded";
        }
        auto const name = line.substr(0, line.find(':'));
        if (name.size() == line.size() || !is_token(name))
        {
            return "A line of the header is not a name, a colon and a value";
        }
        frame.add(name, trimmed(line.substr(name.size() + 1)));
    }
    return frame.problem();
}

} // namespace Ravik::Service
