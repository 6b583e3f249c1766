#include "Editing/condition_check.h"

#include "Configuration/entry_tag.h"

#include <algorithm>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

Refusal check_condition(Condition const& condition, std::string const& path, Value const* present)
{
    switch (condition.kind)
    {
    case Condition::Kind::Absent:
        return present == nullptr ? Refusal() : Refusal{ErrorValue::UNIQUE, "something stands there already", path};
    case Condition::Kind::Tag:
    {
        if (present == nullptr)
        {
            return {ErrorValue::ENTRY_NOT_FOUND, "nothing stands there any more", path};
        }
        auto const& tags = condition.tags;
        auto const is_known = std::find(tags.begin(), tags.end(), entry_tag(*present)) != tags.end();
        return is_known ? Refusal()
                        : Refusal{ErrorValue::STORAGE_CONSTRAINT, "it has changed since; look at what stands there now",
                                  path};
    }
    default:
        return {};
    }
}

Refusal check_revision(ImportOptions const& options, std::int64_t revision)
{
    return !options.revision || *options.revision == revision
               ? Refusal()
               : Refusal{ErrorValue::STORAGE_CONSTRAINT, "the configuration has changed since; check the import anew",
                         ""};
}

} // namespace Ravik
