#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Ravik::Service
{

/// What the service tells of itself on standard error: a line for a person, or a JSON object a line. Thread-safe.
/// Texts are escaped; secrets are never handed to it.
class Log
{
public:
    enum class Form
    {
        text,
        json,
    };

    explicit Log(Form form) : m_form(form) {}
    virtual ~Log() = default;

    using Details = std::vector<std::pair<std::string_view, std::string>>;
    /// An event ("request", "listening", "tls", …), a text for a person, which says all, and the same in pieces for
    /// programs: they stand in the JSON form alone.
    void tell(std::string_view event, std::string_view text, Details const& details = {});
    /// Whether the pieces count: whoever tells much need not make them otherwise.
    bool tells_details() const noexcept { return m_form == Form::json; }

protected:
    /// Writes one line, which comes without its end; here to standard error. Called from any thread, also from several
    /// at once.
    virtual void write(std::string const& line);

private:
    Form m_form;
};

} // namespace Ravik::Service
