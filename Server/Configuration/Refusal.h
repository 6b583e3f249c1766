#pragma once

#include "RavikSrvExtApi.h"

#include <string>

namespace Ravik
{

/// Why an edit was refused: the error, what is wrong for a person, and the path that caused it.
struct Refusal
{
    RavikSrv::ErrorValue error = RavikSrv::ErrorValue::SUCCESS;
    std::string text;
    std::string path;

    explicit operator bool() const noexcept { return error != RavikSrv::ErrorValue::SUCCESS; }
};

/// An extension's answer as a refusal, none where it is success. `BLACKLISTED`, by which it refuses words that it keeps
/// for itself, says nothing to a person and is explained.
inline Refusal explained(RavikSrv::ResultPair const& answer, std::string const& path)
{
    if (answer.result() == RavikSrv::ErrorValue::BLACKLISTED)
    {
        return {answer.result(),
                "the path of a recipe or recipe type must not hold the reserved words \"members\", \"options\", "
                "\"values\", \"recipeTypeNames\" and \"recipeTypeName\"",
                path};
    }
    return {answer.result(), answer.text(), answer.result() == RavikSrv::ErrorValue::SUCCESS ? "" : path};
}

} // namespace Ravik
