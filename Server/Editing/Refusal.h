#pragma once

#include "RavikSrvExtApi.h"
#include "Json/Location.h"

#include <string>

namespace Ravik
{

/// Why an edit was refused: the error, what is wrong for a person, and the path that caused it.
struct [[nodiscard]] Refusal
{
    RavikSrv::ErrorValue error = RavikSrv::ErrorValue::SUCCESS;
    std::string text;
    std::string path;
    /// Of the text of a table: where it is wrong.
    Json::Location place = {};

    explicit operator bool() const noexcept { return error != RavikSrv::ErrorValue::SUCCESS; }
};

/// An extension's answer as a refusal, none where it is success. An answer that says nothing to a person is explained:
/// `BLACKLISTED`, by which an extension refuses words that it keeps for itself, and any without a text.
Refusal explained(RavikSrv::ResultPair const& answer, std::string const& path);

/// The refusal of a write whose path leads nowhere.
Refusal explained_write(RavikSrv::ErrorValue result, std::string const& path);

} // namespace Ravik
