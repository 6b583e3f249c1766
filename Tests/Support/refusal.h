#pragma once

#include "Configuration/ProjectError.h"

#include <string>

namespace Ravik::Test
{

/// The message with which `open` refuses what it opens; empty where it doesn't.
template <typename Open> std::string refusal(Open const& open)
{
    try
    {
        open();
        return {};
    }
    catch (ProjectError const& error)
    {
        return error.what();
    }
}

} // namespace Ravik::Test
