#pragma once

#include "Configuration/StoredRecord.h"
#include "RavikSrvExtApi.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace Ravik
{

/// What the records of the history tell of recipes and recipe types by themselves: those that came to be, or were
/// written whole, since the history is without a gap, as the edits since then left them.
class Recovery
{
public:
    /// Takes the records that are whole, in the order of their numbers. One whose places can't be read is a gap.
    void take(StoredRecord const& record);

    /// Calls `visit` for each recipe and recipe type that is known to be there.
    void for_each(std::function<void(std::string const& domain, std::string const& path,
                                     RavikSrv::Value const& entry)> const& visit) const;

private:
    std::int64_t m_last = 0;
    std::map<std::string, RavikSrv::Value> m_trees;
};

} // namespace Ravik
