#pragma once

#include "RavikSrvExtApi.h"

#include <string>

namespace RecipeManagement
{

/// A text for the exception that is being handled; empty where there is no memory for one.
std::string describe_exception() noexcept;

/// The failure of a listener operation, for the exception that is being handled.
RavikSrv::ResultPair unexpected_failure() noexcept;

/// Runs a listener operation that answers a `ResultPair`. What it throws becomes its failure: `UNEXPECTED` and a text.
template <typename Operation> RavikSrv::ResultPair guarded(Operation const& operation) noexcept
{
    try
    {
        return operation();
    }
    catch (...)
    {
        return unexpected_failure();
    }
}

} // namespace RecipeManagement
