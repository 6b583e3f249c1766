#pragma once

#include "RavikSrvExt/Export.h"
#include "RavikSrvExt/Value.h"

#include <memory>
#include <string_view>
#include <vector>

namespace RavikSrv
{

/// Builds one map entry by entry, for readers that make many maps of the same shape: as long as the names come in the
/// order of a model map, the new map shares the model's table of names, which costs neither memory nor hashing.
/// Not thread-safe; the finished value is an ordinary one.
class RAVIK_SRV_EXT_API MapBuilder
{
public:
    /// Starts a map that resembles none.
    MapBuilder();
    /// Starts a map that may resemble `model`; a model that is no map is ignored.
    explicit MapBuilder(Value const& model);
    MapBuilder(MapBuilder const&) = delete;
    MapBuilder& operator=(MapBuilder const&) = delete;
    MapBuilder(MapBuilder&&) noexcept;
    MapBuilder& operator=(MapBuilder&&) noexcept;
    ~MapBuilder();

    /// Appends an entry. Returns false, and appends nothing, where there is one of that name already.
    bool insert(std::string_view name, Value&& value);

    /// The map with all entries, in exactly the memory that it needs. The builder is done with and only to be
    /// destroyed.
    Value finish();

    /// A map with the names of `model`, a map that is not empty, and these values, as many as it has names. The memory
    /// is the vector's where that has no more than it needs.
    static Value resembling(Value const& model, std::vector<Value>&& values);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace RavikSrv
