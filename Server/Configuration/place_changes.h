#pragma once

#include "Configuration/Changes.h"
#include "RavikSrvExtApi.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What an edit came to, place by place, as the history keeps it.
namespace Ravik
{

/// A place of a domain's configuration that stands otherwise than before: the deepest one that tells what differs. A
/// recipe or recipe type that came or went stands whole; so does a list in an entry that changed. A folder that came or
/// went is an empty object, and what it holds stands by itself.
struct PlaceChange
{
    std::string domain;
    std::string path;
    /// Whether the place lies inside a recipe or recipe type.
    bool inside = false;
    /// What stood there and what does now, nothing where nothing stands.
    std::optional<RavikSrv::Value> before{};
    std::optional<RavikSrv::Value> after{};

    /// Whether a folder came or went.
    bool is_folder() const;
};

/// A domain's tree before and after an edit.
struct TreePair
{
    RavikSrv::Value before;
    RavikSrv::Value after;
};

/// The places among and below those touched that stand otherwise, each once, folders before what they hold. Takes time
/// in proportion to what was touched.
std::vector<PlaceChange> place_changes(std::vector<Touched> const& touched,
                                       std::function<TreePair(std::string const& domain)> const& trees_of);

/// The places as a text: for each a line that names it, one with what stood there and one with what does, as JSON; an
/// empty line where nothing stands. Values so nest no deeper than they do in the rows of the store.
std::string places_text(std::vector<PlaceChange> const& places);
/// Throws `StoreError` for a text that is none of these.
std::vector<PlaceChange> read_places(std::string_view text);

/// Whether one of the places of such a text is `path` or lies below it.
bool has_place_at(std::string_view text, std::string const& path);

} // namespace Ravik
