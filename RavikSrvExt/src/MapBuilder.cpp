#include "RavikSrvExt/MapBuilder.h"

#include "Storage.h"

#include <utility>
#include <vector>

namespace RavikSrv
{

using Detail::KeyTable;
using Detail::KeyTablePointer;

/// Either all names so far are the first ones of the model, or the map has a table of its own.
struct MapBuilder::State
{
    std::vector<Value> items;
    KeyTablePointer model;
    KeyTablePointer keys;

    bool next_is(std::string_view name) const noexcept
    {
        auto const position = static_cast<std::uint32_t>(items.size());
        return keys == nullptr && model != nullptr && position < model->size() && (*model)[position] == name;
    }

    /// Afterwards the next item can be appended without running out of memory.
    void make_room()
    {
        if (items.size() == items.capacity())
        {
            items.reserve(items.size() * 2 + 1);
        }
    }

    void leave_model()
    {
        keys = model == nullptr ? Detail::make_key_table() : model->copy(static_cast<std::uint32_t>(items.size()));
    }
};

MapBuilder::MapBuilder() : m_state(std::make_unique<State>())
{
}

MapBuilder::MapBuilder(Value const& model) : MapBuilder()
{
    if (auto const* const entries = model.entries(); entries != nullptr)
    {
        m_state->model = entries->keys;
        m_state->items.reserve(entries->items.size());
    }
}

MapBuilder::MapBuilder(MapBuilder&&) noexcept = default;
MapBuilder& MapBuilder::operator=(MapBuilder&&) noexcept = default;
MapBuilder::~MapBuilder() = default;

bool MapBuilder::insert(std::string_view name, Value&& value)
{
    auto& state = *m_state;
    if (!state.next_is(name))
    {
        if (state.keys == nullptr)
        {
            state.leave_model();
        }
        if (state.keys->find(name) != KeyTable::none)
        {
            return false;
        }
        state.make_room();
        state.keys->append(name);
    }
    state.items.push_back(std::move(value));
    return true;
}

Value MapBuilder::finish()
{
    auto& state = *m_state;
    if (state.items.empty())
    {
        return Value(ValueType::Map);
    }
    if (state.keys == nullptr && state.model->size() != state.items.size())
    {
        state.leave_model();
    }
    if (state.keys != nullptr)
    {
        state.keys->shrink_to_fit();
    }
    auto container = std::make_unique<Detail::Container>();
    state.items.shrink_to_fit();
    container->items = std::move(state.items);
    container->keys = state.keys != nullptr ? std::move(state.keys) : std::move(state.model);
    return {ValueType::Map, container.release()};
}

Value MapBuilder::resembling(Value const& model, std::vector<Value>&& values)
{
    auto container = std::make_unique<Detail::Container>();
    container->items = std::move(values);
    container->items.shrink_to_fit();
    container->keys = model.entries()->keys;
    return {ValueType::Map, container.release()};
}

} // namespace RavikSrv
