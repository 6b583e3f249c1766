#include "Editing/turns.h"

#include "Configuration/configuration_keys.h"

namespace Ravik
{

using RavikSrv::ErrorValue;

Refusal obstacle(Configuration::Turn const& turn, std::string const& domain, std::string const& path)
{
    return turn.obstacle().empty() || domain != recipe_domain ? Refusal()
                                                              : Refusal{ErrorValue::STORAGE, turn.obstacle(), path};
}

Refusal commit(Configuration::Turn& turn)
{
    auto const result = turn.commit();
    if (result == ErrorValue::SUCCESS)
    {
        return {};
    }
    // What is not known says so by itself.
    return {result, (turn.unknown_edit().empty() ? "it could not be stored: " : "") + turn.failure(), ""};
}

} // namespace Ravik
