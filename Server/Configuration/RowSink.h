#pragma once

#include "RavikSrvExtApi.h"

#include <string>

namespace Ravik
{

/// What takes the rows of an edit.
class RowSink
{
public:
    RowSink(RowSink const&) = delete;
    RowSink& operator=(RowSink const&) = delete;
    virtual ~RowSink() = default;

    /// Writes the row; it keeps its place where there is one of that path. A null pointer writes a folder.
    virtual void put(std::string const& domain, std::string const& path, RavikSrv::Value const* value) = 0;
    /// Removes the row and all rows below it.
    virtual void erase(std::string const& domain, std::string const& path) = 0;
    /// Removes all rows below the path, not the row itself.
    virtual void erase_below(std::string const& domain, std::string const& path) = 0;

protected:
    RowSink() = default;
};

} // namespace Ravik
