#pragma once

#include "Configuration/Library.h"
#include "RavikSrvExtApi.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Bringing a tree into line with rows that came from a library.
namespace Ravik
{

/// What a tree has to have done to it: first the removals, then the writings, each in its order.
struct RowSteps
{
    struct Write
    {
        std::string path;
        RavikSrv::Value value;
        /// Whether it goes to the end of its map.
        bool is_new = false;
    };
    std::vector<std::string> removals;
    std::vector<Write> writes;
};

/// Brings the tree, which stands as the copy's rows do, into line with `rows`; `row_of` looks into the copy. The
/// result is the tree that all rows make by their ranks. Takes time in proportion to `rows`. Throws `LibraryError` for
/// a text that is no JSON.
RowSteps steps_of(std::vector<LibraryRow> const& rows, RavikSrv::Value const& tree,
                  std::function<std::optional<LibraryRow>(std::string const& path)> const& row_of);

/// The tree that these rows make, all there are.
RavikSrv::Value tree_of(std::vector<LibraryRow> const& rows);

} // namespace Ravik
