#include "Configuration/ProjectError.h"

namespace Ravik
{

ProjectError::ProjectError(std::filesystem::path const& file, Json::Location location, std::string const& message)
    : std::runtime_error(file.lexically_normal().string() + ":" + std::to_string(location.line) + ":" +
                         std::to_string(location.column) + ": " + message)
{
}

} // namespace Ravik
