#include "api_helper.h"

#include "PathIterator.h"
#include "algorithm_helper.h"

#include <utility>

namespace RavikSrv
{

namespace
{

bool has_entries(Value const& value)
{
    return value.type() == ValueType::Map || value.type() == ValueType::Struct;
}

/// The index that a component denotes in a vector.
bool index_from(std::string const& name, std::size_t& index)
{
    return !name.empty() && Algorithm::try_as_size_t(name, index);
}

/// The steps of both walks; `step` goes one down from a node.
template <typename T, typename Step> BasicPathNode<T> walk(std::string const& path, T& root, Step const& step)
{
    BasicPathNode<T> reached{.name = {}, .node = &root, .parent = nullptr};
    PathIterator components(path);
    while (reached.node != nullptr && components.next())
    {
        reached.parent = reached.node;
        reached.node = components.component().empty() ? nullptr : step(reached.parent, components.component());
    }
    reached.name = std::move(components).component();
    return reached;
}

} // namespace

std::string path_separator()
{
    return std::string(separator_text);
}

std::string name_from_path(char const* path)
{
    std::string_view const text = path;
    auto const first = text.substr(0, text.find(separator_text));
    return std::string(first.substr(0, first.find('[')));
}

std::string path_from_symbol(char const* symbol)
{
    std::string path = symbol;
    Algorithm::replace(path, name_from_path(symbol), "");
    Algorithm::remove_start(path, path_separator());
    return path;
}

Value const* node(Value const* value, std::string const& name)
{
    if (value == nullptr)
    {
        return nullptr;
    }
    if (has_entries(*value))
    {
        return value->get_map().get(name.c_str());
    }
    std::size_t index = 0;
    return value->type() == ValueType::Vector && index_from(name, index) ? value->get_vector().get(index) : nullptr;
}

Value* node(Value* value, std::string const& name, bool create)
{
    if (value == nullptr)
    {
        return nullptr;
    }
    if (has_entries(*value))
    {
        return create ? &(*value)[name.c_str()] : value->get_map().get(name.c_str());
    }
    std::size_t index = 0;
    return value->type() == ValueType::Vector && index_from(name, index) ? value->get_vector().get(index) : nullptr;
}

PathNode node_path(std::string const& path, Value const& root)
{
    return walk(path, root, [](Value const* value, std::string const& name) { return node(value, name); });
}

MutablePathNode node_path(std::string const& path, Value& root)
{
    return walk(path, root, [](Value* value, std::string const& name) { return node(value, name, false); });
}

std::pair<bool, Value> follow_hmi_path(std::string const& path, Value const& root)
{
    // An event is a record of named entries; its data stand under "data".
    auto const step = [](Value const* value, std::string const& name)
    { return node(value->type() == ValueType::Event ? value->get_map().get("data") : value, name); };
    auto const reached = walk(path, root, step);
    return {reached.node != nullptr, reached.node != nullptr ? *reached.node : Value()};
}

} // namespace RavikSrv
