#include "Configuration/Library.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include <libpq-fe.h>

namespace Ravik
{

namespace
{

struct Free
{
    void operator()(PQconninfoOption* options) const noexcept { PQconninfoFree(options); }
    void operator()(char* text) const noexcept { PQfreemem(text); }
};

bool has_password(PQconninfoOption const* options)
{
    auto has = false;
    for (; options->keyword != nullptr; ++options)
    {
        std::string_view const keyword = options->keyword;
        has = has || (options->val != nullptr && (keyword == "password" || keyword == "sslpassword"));
    }
    return has;
}

std::string objection_to_connection(std::string const& text)
{
    if (text.find_first_not_of(' ') == std::string::npos)
    {
        return "there is no connection string; one is like \"host=db1 dbname=recipes\"";
    }
    char* failure = nullptr;
    std::unique_ptr<PQconninfoOption, Free> const options(PQconninfoParse(text.c_str(), &failure));
    std::unique_ptr<char, Free> const told(failure);
    if (options == nullptr)
    {
        // What is told may show a part of the text, and so a password that stands in it.
        auto const may_hold_password = text.find("passw") != std::string::npos || text.find("://") != std::string::npos;
        std::string why = may_hold_password || told == nullptr ? "" : std::string(": ") + told.get();
        std::erase(why, '\n');
        return "the connection string can't be read" + why + "; one is like \"host=db1 dbname=recipes\"";
    }
    return has_password(options.get())
               ? "the connection string has a password; it belongs in a pass file (passfile=…, ~/.pgpass) or a service "
                 "file"
               : "";
}

std::string objection_to_schema(std::string const& name)
{
    constexpr std::size_t longest = 63;
    auto const is_control = [](char character) { return static_cast<unsigned char>(character) < ' '; };
    if (name.empty() || name.size() > longest || std::any_of(name.begin(), name.end(), is_control))
    {
        return "the name of a schema has 1 to 63 bytes, none of them a control character";
    }
    return name.starts_with("pg_") || name == "information_schema"
               ? "the schema \"" + name + "\" is one of PostgreSQL's own; name another one"
               : "";
}

} // namespace

std::string Library::objection(LibrarySettings const& settings)
{
    auto const objection = objection_to_connection(settings.postgresql);
    return objection.empty() ? objection_to_schema(settings.schema) : objection;
}

} // namespace Ravik
