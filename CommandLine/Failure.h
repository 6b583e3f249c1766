#pragma once

#include "RavikSrvExtApi.h"

#include <stdexcept>
#include <string>

namespace Ravik::CommandLine
{

/// A command that ends with an error value and a text for the user.
class Failure : public std::runtime_error
{
public:
    Failure(RavikSrv::ErrorValue error, std::string const& text) : std::runtime_error(text), m_error(error) {}

    RavikSrv::ErrorValue error() const noexcept { return m_error; }

private:
    RavikSrv::ErrorValue m_error;
};

/// A command line that the program does not understand. `what()` tells the user what to write instead.
class UsageError : public Failure
{
public:
    explicit UsageError(std::string const& text, RavikSrv::ErrorValue error = RavikSrv::ErrorValue::INVALID_PARAMETER)
        : Failure(error, text)
    {
    }
};

} // namespace Ravik::CommandLine
