#include "Editing/Refusal.h"

#include "api_helper.h"

namespace Ravik
{

using RavikSrv::ErrorValue;

Refusal explained(RavikSrv::ResultPair const& answer, std::string const& path)
{
    std::string text = answer.text();
    switch (answer.result())
    {
    case ErrorValue::SUCCESS:
        return {};
    case ErrorValue::BLACKLISTED:
        text = "the path of a recipe or recipe type must not hold the reserved words \"members\", \"options\", "
               "\"values\", \"recipeTypeNames\" and \"recipeTypeName\"";
        break;
    case ErrorValue::TYPE_MISSING:
        // The name alone, where it is no text about a schema.
        text = text.find(' ') == std::string::npos && !text.empty() ? "there is no recipe type \"" + text + '"' : text;
        break;
    case ErrorValue::RECURSION:
        text = text.empty() ? "its types inherit or nest one another in a circle, or more than 20 deep" : text;
        break;
    default:
        text = text.empty()
                   ? std::string("the extension refuses it: ") + RavikSrv::get_error_string(answer.result()).name()
                   : text;
        break;
    }
    return {answer.result(), text, path};
}

Refusal explained_write(RavikSrv::ErrorValue result, std::string const& path)
{
    return {result, "the path leads through something that holds no entries", path};
}

} // namespace Ravik
