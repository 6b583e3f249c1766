#include "Schema/SchemaReferences.h"

#include "Schema/WorkBudget.h"
#include "Schema/builtin_definitions.h"
#include "Schema/messages.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <vector>

namespace Ravik::Schema
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr char const* id_keyword = "$id";
/// Relative names grow with each schema that they nest in.
constexpr std::size_t uri_limit = 4096;

std::string_view without_fragment(std::string_view uri)
{
    return uri.substr(0, uri.find('#'));
}

std::string_view fragment_of(std::string_view uri)
{
    auto const mark = uri.find('#');
    return mark == std::string_view::npos ? std::string_view() : uri.substr(mark + 1);
}

bool has_scheme(std::string_view uri)
{
    auto const end = uri.find_first_of(":/?#");
    return end != std::string_view::npos && end > 0 && uri[end] == ':';
}

/// The reference made absolute. Steps like "../" stay as they are: whoever names a schema uses the same text twice.
std::string absolute_uri(std::string_view base, std::string_view reference)
{
    if (has_scheme(reference))
    {
        return std::string(reference);
    }
    base = without_fragment(base);
    if (reference.empty() || reference.front() == '#')
    {
        return std::string(base).append(reference);
    }
    auto const authority = base.find("://");
    auto const root_end =
        authority == std::string_view::npos ? 0 : std::min(base.find('/', authority + 3), base.size());
    auto const folder_end = reference.front() == '/' ? std::string_view::npos : base.rfind('/');
    if (folder_end == std::string_view::npos || folder_end < root_end)
    {
        auto const* const separator = root_end > 0 && reference.front() != '/' ? "/" : "";
        return std::string(base.substr(0, root_end)).append(separator).append(reference);
    }
    return std::string(base.substr(0, folder_end + 1)).append(reference);
}

std::string percent_decoded(std::string_view text)
{
    std::string decoded;
    for (std::size_t position = 0; position < text.size(); ++position)
    {
        unsigned code = 0;
        auto const digits = text[position] == '%' ? text.substr(position + 1, 2) : std::string_view();
        auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
        auto const is_code = digits.size() == 2 && error == std::errc() && end == digits.data() + 2;
        decoded += is_code ? static_cast<char>(static_cast<unsigned char>(code)) : text[position];
        position += is_code ? 2 : 0;
    }
    return decoded;
}

/// A step of a JSON pointer with ~1 and ~0 read as slash and tilde.
std::string unescaped(std::string_view step)
{
    std::string name;
    for (std::size_t position = 0; position < step.size(); ++position)
    {
        auto const next = step[position] == '~' && position + 1 < step.size() ? step[position + 1] : '\0';
        auto const is_escape = next == '0' || next == '1';
        name += !is_escape ? step[position] : next == '0' ? '~' : '/';
        position += is_escape ? 1 : 0;
    }
    return name;
}

Value const* step_into(Value const& value, std::string const& name)
{
    if (value.type() != ValueType::Vector)
    {
        auto const entry = value.find(name.c_str());
        return entry == value.end() ? nullptr : &*entry;
    }
    unsigned long index = 0;
    auto const [end, error] = std::from_chars(name.data(), name.data() + name.size(), index);
    auto const found = value.find(index);
    return error != std::errc() || end != name.data() + name.size() || found == value.end_vector() ? nullptr : &*found;
}

/// Whether what stands under the keyword is data, in which no schema is to be found.
bool holds_data(std::string_view keyword)
{
    constexpr std::array<std::string_view, 4> keywords{"enum", "const", "default", "examples"};
    return std::find(keywords.begin(), keywords.end(), keyword) != keywords.end();
}

[[noreturn]] void throw_unknown(std::string_view reference)
{
    throw SchemaFailure(ErrorValue::TYPE_MISSING, "the schema refers to " + quoted(reference) + ", which is not known");
}

} // namespace

SchemaReferences::SchemaReferences(Value const& document, SchemaDocuments const& documents)
{
    add_document(builtin_uri, builtin_document());
    for (auto const& [uri, further] : documents)
    {
        add_document(uri, further);
    }
    m_root = add_document("", document);
}

SchemaLocation SchemaReferences::add_document(std::string_view uri, Value const& document)
{
    auto const location = inside(document, &*m_bases.emplace(uri).first);
    m_known.insert_or_assign(std::string(uri), location);
    m_known.insert_or_assign(*location.base, location);
    return location;
}

SchemaLocation SchemaReferences::inside(Value const& schema, std::string const* base)
{
    auto const id = schema[id_keyword].get_text();
    if (without_fragment(id).empty())
    {
        return {&schema, base};
    }
    auto const uri = absolute_uri(*base, without_fragment(id));
    if (uri.size() > uri_limit)
    {
        throw SchemaFailure(ErrorValue::SCHEMA, "the schema is broken: its \"$id\" " + quoted(uri) + " is too long");
    }
    return {&schema, &*m_bases.emplace(uri).first};
}

SchemaLocation SchemaReferences::resolve(std::string_view reference, std::string const* base)
{
    auto const uri = absolute_uri(*base, reference);
    auto const fragment = percent_decoded(fragment_of(uri));
    auto const is_pointer = fragment.empty() || fragment.front() == '/';
    auto const* const known = find(is_pointer ? std::string(without_fragment(uri)) : uri);
    if (known == nullptr)
    {
        throw_unknown(reference);
    }
    return is_pointer ? follow(*known, fragment, reference) : *known;
}

SchemaLocation const* SchemaReferences::find(std::string const& uri)
{
    auto found = m_known.find(uri);
    if (found == m_known.end() && !m_names_collected)
    {
        collect_names();
        found = m_known.find(uri);
    }
    return found == m_known.end() ? nullptr : &found->second;
}

/// Makes every schema with an `$id` in the documents known by it.
void SchemaReferences::collect_names()
{
    m_names_collected = true;
    WorkBudget budget;
    std::vector<SchemaLocation> open;
    std::transform(m_known.begin(), m_known.end(), std::back_inserter(open),
                   [](auto const& row) { return row.second; });
    auto const visit = [&](Value const& value, std::string const* base)
    {
        budget.spend();
        auto const location = inside(value, base);
        auto const id = value[id_keyword].get_text();
        if (!id.empty())
        {
            auto const uri = absolute_uri(*base, id);
            m_known.emplace(uri.ends_with('#') ? uri.substr(0, uri.size() - 1) : uri, location);
        }
        if (value.size() > 0)
        {
            open.push_back(location);
        }
    };
    while (!open.empty())
    {
        auto const [value, base] = open.back();
        open.pop_back();
        for (auto entry = value->begin(); entry != value->end(); ++entry)
        {
            if (!holds_data(entry.name()))
            {
                visit(*entry, base);
            }
        }
        std::for_each(value->begin_vector(), value->end_vector(),
                      [&, base = base](Value const& item) { visit(item, base); });
    }
}

SchemaLocation SchemaReferences::follow(SchemaLocation from, std::string_view pointer, std::string_view reference)
{
    while (!pointer.empty())
    {
        pointer.remove_prefix(1);
        auto const end = std::min(pointer.find('/'), pointer.size());
        auto const* const next = step_into(*from.schema, unescaped(pointer.substr(0, end)));
        if (next == nullptr)
        {
            throw_unknown(reference);
        }
        from = inside(*next, from.base);
        pointer.remove_prefix(end);
    }
    return from;
}

} // namespace Ravik::Schema
