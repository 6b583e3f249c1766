#pragma once

#include "Configuration/Library.h"

#include <chrono>
#include <filesystem>
#include <functional>

/// Projects that share a library.
namespace Ravik::Test
{

/// Writes the ravik.json of a project that names the library, or none where the settings name no database.
void write_project(std::filesystem::path const& folder, LibrarySettings const& settings);

/// Looks again and again until it holds; false where it does not within the time.
bool eventually(std::chrono::milliseconds most, std::function<bool()> const& holds);

} // namespace Ravik::Test
