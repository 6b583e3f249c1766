#include "Project/ProjectFile.h"

#include "Configuration/configuration_keys.h"
#include "Json/Document.h"
#include "Json/Json.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <set>
#include <utility>

namespace Ravik
{

namespace
{

using RavikSrv::Value;
using RavikSrv::ValueType;

using Path = std::vector<std::string>;

/// A kind of value that a key takes: what a message calls it, and its types.
struct Kind
{
    char const* name;
    std::initializer_list<ValueType> types;

    bool holds(ValueType type) const noexcept { return std::find(types.begin(), types.end(), type) != types.end(); }
};

// Lists with static storage, which a temporary initializer list would not have.
constexpr std::initializer_list<ValueType> map_type = {ValueType::Map};
constexpr std::initializer_list<ValueType> vector_type = {ValueType::Vector};
constexpr std::initializer_list<ValueType> string_type = {ValueType::String};
constexpr std::initializer_list<ValueType> bool_type = {ValueType::Bool};
constexpr std::initializer_list<ValueType> number_types = {ValueType::Int, ValueType::Int64, ValueType::Double};
constexpr std::initializer_list<ValueType> schema_types = {ValueType::Map, ValueType::Bool};

constexpr Kind object{"an object", map_type};
constexpr Kind list{"a list", vector_type};
constexpr Kind text{"a text", string_type};
constexpr Kind boolean{"true or false", bool_type};
constexpr Kind number{"a number", number_types};
constexpr Kind schema{"a schema (an object, true or false)", schema_types};

/// A key that an object of the file may hold.
struct Field
{
    char const* key;
    Kind const* kind;
    bool required;
};

constexpr std::initializer_list<Field> project_fields = {{"$schema", &text, false},   {"extensions", &list, true},
                                                         {"symbols", &object, false}, {"activation", &object, false},
                                                         {"history", &object, false}, {"service", &object, false},
                                                         {"library", &object, false}};
constexpr std::initializer_list<Field> activation_fields = {{"capture", &boolean, false}, {"verify", &boolean, false}};
constexpr std::initializer_list<Field> history_fields = {{"keep", &text, false}, {"size", &text, false}};
constexpr std::initializer_list<Field> library_fields = {{"postgresql", &text, true}, {"schema", &text, false}};
constexpr std::initializer_list<Field> service_fields = {
    {"listen", &list, false}, {"tls", &object, false}, {"names", &list, false},   {"proxy", &list, false},
    {"group", &text, false},  {"poll", &text, false},  {"limits", &object, false}};
constexpr std::initializer_list<Field> tls_fields = {{"certificate", &text, true}, {"key", &text, true}};
constexpr std::initializer_list<Field> limit_fields = {{"body", &text, false},
                                                       {"import", &text, false},
                                                       {"importValues", &number, false},
                                                       {"header", &text, false},
                                                       {"headerTime", &text, false},
                                                       {"leastRate", &number, false},
                                                       {"connections", &number, false},
                                                       {"userConnections", &number, false},
                                                       {"unknownConnections", &number, false}};
constexpr char const* interval = R"(an interval such as "1 s" or "500 ms")";
constexpr std::initializer_list<Field> extension_fields = {
    {"domain", &text, true}, {"library", &text, true}, {"configuration", &object, false}};
constexpr std::initializer_list<Field> symbol_fields = {
    {Key::domain, &text, true},    {Key::mapping, &text, false},     {Key::use_mapping, &boolean, false},
    {Key::schema, &schema, false}, {Key::tolerance, &number, false}, {Key::verify, &boolean, false}};

std::string in_quotes(std::string_view name)
{
    return Json::write(Value(name));
}

/// The names in quotes, separated by commas.
template <typename Range, typename Name> std::string listed(Range const& range, Name name)
{
    std::string names;
    for (auto const& entry : range)
    {
        names += (names.empty() ? "" : ", ") + in_quotes(name(entry));
    }
    return names;
}

/// A value as a message names what was found: short ones as they are written, others by their kind.
std::string found(Value const& value)
{
    constexpr std::size_t longest = 40;
    switch (value.type())
    {
    case ValueType::Map:
        return "an object";
    case ValueType::Vector:
        return "a list";
    default:
        break;
    }
    auto written = Json::write(value);
    return written.size() <= longest ? written : (value.type() == ValueType::String ? "a text" : "a number");
}

/// Walks the document and makes the project of it; throws at the first fault.
class Checker
{
public:
    Checker(std::filesystem::path const& file, Json::Document const& document) : m_file(file), m_document(document) {}

    ProjectFile check()
    {
        auto const& root = m_document.value();
        check_object({}, "the project", root, project_fields);
        ProjectFile project;
        auto const& extensions = root["extensions"];
        for (unsigned long index = 0; index < extensions.size(); ++index)
        {
            project.extensions.push_back(check_extension({"extensions", std::to_string(index)}, extensions[index]));
        }
        project.symbols = root["symbols"].isset() ? root["symbols"] : Value(ValueType::Map);
        auto const& symbols = root["symbols"];
        for (auto symbol = symbols.begin(); symbol != symbols.end(); ++symbol)
        {
            check_symbol(symbol.name(), *symbol);
        }
        project.history = check_history(root["history"]);
        project.activation = check_activation(root["activation"]);
        project.service = check_service(root["service"]);
        project.library = check_library(root["library"]);
        return project;
    }

private:
    [[noreturn]] void fail(Path const& path, std::string const& message) const
    {
        throw ProjectError(m_file, m_document.locate(path), message);
    }

    [[noreturn]] void fail(Path path, std::string key, std::string const& message) const
    {
        path.push_back(std::move(key));
        fail(path, message);
    }

    void check_object(Path const& path, std::string const& what, Value const& value,
                      std::initializer_list<Field> fields) const
    {
        if (value.type() != ValueType::Map)
        {
            fail(path, "expected " + what + " to be an object, found " + found(value));
        }
        for (auto entry = value.begin(); entry != value.end(); ++entry)
        {
            auto const has_key = [&](Field const& field) { return std::string_view(field.key) == entry.name(); };
            auto const* const field = std::find_if(fields.begin(), fields.end(), has_key);
            if (field == fields.end())
            {
                auto const known = listed(fields, [](Field const& each) { return each.key; });
                fail(path, entry.name(), "expected one of the keys " + known + ", found " + in_quotes(entry.name()));
            }
            if (!field->kind->holds(entry->type()))
            {
                fail(path, field->key,
                     "expected " + in_quotes(field->key) + " to be " + field->kind->name + ", found " + found(*entry));
            }
        }
        for (auto const& field : fields)
        {
            if (field.required && value.find(field.key) == value.end())
            {
                fail(path, "expected " + what + " to have the key " + in_quotes(field.key) + " (" + field.kind->name +
                               "), found none");
            }
        }
    }

    ExtensionEntry check_extension(Path const& path, Value const& value)
    {
        check_object(path, "an extension", value, extension_fields);
        ExtensionEntry entry{value["domain"].get_string(), value["library"].get_string(), value["configuration"]};
        check_domain(path, entry.domain);
        if (entry.shared_object.empty())
        {
            fail(path, "library", "expected \"library\" to name a shared object, found an empty text");
        }
        if (!entry.configuration.isset())
        {
            entry.configuration.set_type(ValueType::Map);
        }
        return entry;
    }

    void check_domain(Path const& path, std::string const& domain)
    {
        if (domain.empty())
        {
            fail(path, "domain", "expected \"domain\" to be a name, found an empty text");
        }
        for (auto const* const part : {"::", ".", "[", "/"})
        {
            if (domain.find(part) != std::string::npos)
            {
                fail(path, "domain", "expected a domain without " + in_quotes(part) + ", found " + in_quotes(domain));
            }
        }
        if (domain == server_domain)
        {
            fail(path, "domain",
                 "expected a domain of the extension's own, found " + in_quotes(domain) + ", which is the server's");
        }
        if (!m_domains.insert(domain).second)
        {
            fail(path, "domain",
                 "expected each domain once, found " + in_quotes(domain) + " in an extension before this one");
        }
    }

    ActivationSettings check_activation(Value const& value) const
    {
        ActivationSettings settings;
        if (!value.isset())
        {
            return settings;
        }
        check_object({"activation"}, "\"activation\"", value, activation_fields);
        auto const is_on = [&value](char const* key) { return !value[key].isset() || value[key].get_bool(); };
        settings = {.capture = is_on("capture"), .verify = is_on("verify")};
        return settings;
    }

    void check_symbol(std::string const& name, Value const& value) const
    {
        Path const path = {"symbols", name};
        if (name.empty())
        {
            fail(path, "expected a symbol to have a name, found an empty text");
        }
        for (auto const* const part : {"::", "["})
        {
            if (name.find(part) != std::string::npos)
            {
                fail(path, "expected a symbol's name without " + in_quotes(part) + ", found " + in_quotes(name));
            }
        }
        check_object(path, "the symbol " + in_quotes(name), value, symbol_fields);
        if (auto const& tolerance = value[Key::tolerance]; tolerance.isset() && tolerance.get_double() < 0)
        {
            fail(path, Key::tolerance,
                 "expected \"TOLERANCE\" to be 0 or more, in the symbol's unit, found " + found(tolerance));
        }
        std::string const domain = value[Key::domain].get_string();
        if (domain != server_domain && !m_domains.contains(domain))
        {
            auto const known = listed(m_domains, [](std::string const& each) { return std::string_view(each); });
            fail(path, Key::domain,
                 "expected \"DOMAIN\" to be " + in_quotes(server_domain) +
                     (known.empty() ? "" : " or an extension's domain (" + known + ")") + ", found " +
                     in_quotes(domain));
        }
    }

    HistoryBounds check_history(Value const& value) const
    {
        HistoryBounds bounds;
        if (!value.isset())
        {
            return bounds;
        }
        check_object({"history"}, "the history", value, history_fields);
        Path const place{"history"};
        bounds.keep =
            check_quantity(place, "keep", value, read_span, "a span of time such as \"90 days\"", bounds.keep);
        bounds.size = check_quantity(place, "size", value, read_size, "a size such as \"256 MiB\"", bounds.size);
        return bounds;
    }

    std::optional<LibrarySettings> check_library(Value const& value) const
    {
        if (!value.isset())
        {
            return std::nullopt;
        }
        Path const place{"library"};
        check_object(place, "\"library\"", value, library_fields);
        LibrarySettings settings;
        settings.postgresql = value["postgresql"].get_text();
        check_usable(settings, "postgresql");
        settings.schema = value["schema"].isset() ? value["schema"].get_string() : settings.schema;
        check_usable(settings, "schema");
        return settings;
    }

    /// What there is against the settings is the fault of the key.
    void check_usable(LibrarySettings const& settings, char const* key) const
    {
        if (auto const objection = Library::objection(settings); !objection.empty())
        {
            fail({"library"}, key, objection);
        }
    }

    ServiceSettings check_service(Value const& value) const
    {
        ServiceSettings settings;
        if (!value.isset())
        {
            return settings;
        }
        Path const place{"service"};
        check_object(place, "\"service\"", value, service_fields);
        if (value["listen"].isset())
        {
            settings.listen = check_listen(value["listen"]);
        }
        settings.tls = check_tls(value["tls"]);
        settings.names = check_texts("names", value["names"]);
        settings.proxies = check_texts("proxy", value["proxy"]);
        settings.group = value["group"].get_text();
        settings.poll = check_quantity(place, "poll", value, read_interval, interval, settings.poll);
        settings.limits = check_limits(value["limits"]);
        return settings;
    }

    std::vector<ListenAddress> check_listen(Value const& value) const
    {
        std::vector<ListenAddress> addresses;
        for (auto const& written : check_texts("listen", value))
        {
            auto const address = read_listen_address(written);
            if (!address)
            {
                fail({"service", "listen", std::to_string(addresses.size())},
                     "expected HOST:PORT such as \"127.0.0.1:8420\", found " + in_quotes(written));
            }
            addresses.push_back(*address);
        }
        return addresses;
    }

    std::vector<std::string> check_texts(char const* key, Value const& value) const
    {
        std::vector<std::string> texts;
        for (auto element = value.begin_vector(); element != value.end_vector(); ++element)
        {
            if (element->type() != ValueType::String || element->empty())
            {
                fail({"service", key, std::to_string(texts.size())}, "expected a text, found " + found(*element));
            }
            texts.emplace_back(element->get_text());
        }
        return texts;
    }

    std::optional<TlsSettings> check_tls(Value const& value) const
    {
        if (!value.isset())
        {
            return std::nullopt;
        }
        check_object({"service", "tls"}, "\"tls\"", value, tls_fields);
        auto const folder = m_file.parent_path();
        return TlsSettings{.certificate = folder / value["certificate"].get_string(),
                           .key = folder / value["key"].get_string()};
    }

    ServiceLimits check_limits(Value const& value) const
    {
        ServiceLimits limits;
        if (!value.isset())
        {
            return limits;
        }
        Path const place{"service", "limits"};
        check_object(place, "\"limits\"", value, limit_fields);
        auto const size = [&](char const* key, std::size_t otherwise)
        { return check_quantity<std::uint64_t>(place, key, value, read_size, "a size such as \"1 MiB\"", otherwise); };
        auto const count = [&](char const* key, std::size_t otherwise)
        {
            if (value[key].isset() && value[key].get_int64() < 1)
            {
                fail(place, key, "expected a whole number above 0, found " + found(value[key]));
            }
            return value[key].isset() ? static_cast<std::size_t>(value[key].get_int64()) : otherwise;
        };
        return {.body = size("body", limits.body),
                .import = size("import", limits.import),
                .import_values = count("importValues", limits.import_values),
                .header = size("header", limits.header),
                .header_time = check_quantity(place, "headerTime", value, read_interval, interval, limits.header_time),
                .least_rate = count("leastRate", limits.least_rate),
                .connections = count("connections", limits.connections),
                .user_connections = count("userConnections", limits.user_connections),
                .unknown_connections = count("unknownConnections", limits.unknown_connections)};
    }

    /// What a key of the object at the place says, or `otherwise` where it is not there.
    template <typename Quantity>
    Quantity check_quantity(Path const& place, char const* key, Value const& holder,
                            std::optional<Quantity> (*read)(std::string const& text), char const* expected,
                            Quantity otherwise) const
    {
        auto const& value = holder[key];
        auto const quantity = value.isset() ? read(value.get_string()) : std::optional(otherwise);
        if (!quantity)
        {
            fail(place, key, "expected " + in_quotes(key) + " to be " + expected + ", found " + found(value));
        }
        return *quantity;
    }

    std::filesystem::path const& m_file;
    Json::Document const& m_document;
    std::set<std::string> m_domains;
};

std::shared_ptr<Json::Document const> read_document(RegularFile const& file)
{
    auto content = file.read();
    try
    {
        return std::make_shared<Json::Document const>(std::move(content));
    }
    catch (Json::ParseError const& error)
    {
        throw ProjectError(file.path(), error.location(), error.what());
    }
}

} // namespace

ProjectError ProjectFile::error(std::vector<std::string> const& place, std::string const& message) const
{
    return {path, document->locate(place), message};
}

ProjectFile read_project_file(RegularFile const& file)
{
    auto const document = read_document(file);
    auto project = Checker(file.path(), *document).check();
    project.path = file.path();
    project.document = document;
    return project;
}

} // namespace Ravik
