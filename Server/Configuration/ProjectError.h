#pragma once

#include "Json/Location.h"

#include <filesystem>
#include <stdexcept>
#include <string>

namespace Ravik
{

/// A project that can't be opened. `what()` is one line for a person: what is wrong and, where the fault stands in a
/// file, where.
class ProjectError : public std::runtime_error
{
public:
    explicit ProjectError(std::string const& message) : std::runtime_error(message) {}
    /// A fault in a file: "ravik.json:12:7: " and the message, the file named as `file` names it.
    ProjectError(std::filesystem::path const& file, Json::Location location, std::string const& message);
};

/// A project that another process has open.
class ProjectInUse : public ProjectError
{
public:
    using ProjectError::ProjectError;
};

} // namespace Ravik
