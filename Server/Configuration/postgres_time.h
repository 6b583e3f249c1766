#pragma once

#include <string>

namespace Ravik
{

/// SQL that makes a text of a time as `StoredRecord::time` is one.
inline std::string postgres_timestamp(std::string const& time)
{
    return "to_char(" + time + R"( AT TIME ZONE 'UTC', 'YYYY-MM-DD"T"HH24:MI:SS.MS"Z"'))";
}

} // namespace Ravik
