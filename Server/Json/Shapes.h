#pragma once

#include "RavikSrvExt/Value.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Ravik::Json
{

struct Shape;

/// What was read last at some place of the texts: the next value there most likely resembles it. Owns no shape.
struct Place
{
    Shape* shape = nullptr;
    RavikSrv::Value text;
    /// The place of an array's elements.
    std::unique_ptr<Place> element;
};

/// The names of a map in their order.
struct Shape
{
    struct Entry
    {
        /// The bytes that the name takes in `tokens`.
        std::uint32_t token_size = 0;
        Place place;
    };

    /// A map of this shape.
    RavikSrv::Value map;
    /// How the names stand in a text without blanks, each with the punctuation around it: "a":,"b":
    std::string tokens;
    std::vector<Entry> entries;
};

/// The shapes read so far, found by the hash of their names. Shapes stay where they are until `clear`.
class Shapes
{
public:
    using Names = std::vector<std::string_view>;

    static std::size_t hash(Names const& names, std::size_t first);

    /// The shape of the names from `first` on; null where there is none.
    Shape* find(std::size_t hash, Names const& names, std::size_t first) const;
    /// Keeps the shape of the map, which `find` did not find. Null where there is no more room.
    Shape* add(std::size_t hash, RavikSrv::Value const& map);

    bool is_full() const noexcept { return m_entry_count >= most_entries; }
    void clear();

private:
    /// Texts come from outside: a million shapes must cost no more than not sharing.
    static constexpr std::size_t most_entries = 65'536;

    std::unordered_map<std::size_t, std::unique_ptr<Shape>> m_shapes;
    std::size_t m_entry_count = 0;
};

} // namespace Ravik::Json
