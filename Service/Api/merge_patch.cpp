#include "Api/merge_patch.h"

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

Value merged(Value const& target, Value const& patch)
{
    if (patch.type() != ValueType::Map)
    {
        return patch;
    }
    Value result = target.type() == ValueType::Map ? target : Value(ValueType::Map);
    for (auto entry = patch.begin(); entry != patch.end(); ++entry)
    {
        if (!entry->isset())
        {
            result.erase(entry.name());
            continue;
        }
        Value const& present = target[entry.name()];
        result.insert_or_update(entry.name(), merged(present, *entry));
    }
    return result;
}

} // namespace Ravik::Service
