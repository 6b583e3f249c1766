#pragma once

#include "Activation/Activation.h"
#include "Configuration/Library.h"
#include "Configuration/ProjectError.h"
#include "History/quantities.h"
#include "Project/RegularFile.h"
#include "Project/ServiceSettings.h"
#include "Json/Document.h"

#include "RavikSrvExt/Value.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ravik
{

/// An extension that the project loads.
struct ExtensionEntry
{
    std::string domain;
    /// A path from the project's folder, or a name without a slash that is looked for.
    std::string shared_object;
    /// What is laid over the domain's stored configuration; an empty map where the file says nothing.
    RavikSrv::Value configuration;
};

/// The content of a project's `ravik.json`.
struct ProjectFile
{
    /// In the order of the file; domains are unique.
    std::vector<ExtensionEntry> extensions;
    /// The symbol table: a map from each symbol's name to its entry, whose "DOMAIN" is that of an extension or the
    /// server's own. The other keys, where they stand, have their type: "MAPPING" a text, "USEMAPPING" and "VERIFY" a
    /// bool, "SCHEMA" a map or bool, "TOLERANCE" a number that is not negative.
    RavikSrv::Value symbols;
    HistoryBounds history;
    ActivationSettings activation;
    ServiceSettings service;
    /// The library that the recipes of several servers stand in, if any.
    std::optional<LibrarySettings> library;

    std::filesystem::path path;
    /// What the file says, for messages about it.
    std::shared_ptr<Json::Document const> document;

    /// The error of what stands at `place` of the file (see `Json::Document::locate`) and turns out to be wrong only
    /// when it is used.
    ProjectError error(std::vector<std::string> const& place, std::string const& message) const;
};

/// Reads and checks a project file. Throws `ProjectError` for the first fault that it meets: a file that can't be read,
/// broken JSON, a key that is unknown, missing or of the wrong type, a name that cannot be addressed, a domain that
/// stands twice, a symbol of no domain, a bound of the history that is none, or a library that
/// can't be used. "$schema", which tells editors how the
/// file is made up, says nothing here.
ProjectFile read_project_file(RegularFile const& file);

} // namespace Ravik
