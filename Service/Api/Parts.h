#pragma once

#include "Access/Access.h"
#include "Api/Activations.h"
#include "Api/DeviceWork.h"
#include "Api/EntryTexts.h"
#include "Api/Lanes.h"
#include "Api/LastChanges.h"
#include "Api/Metrics.h"
#include "Api/PageFiles.h"
#include "Api/Plans.h"
#include "Api/Watch.h"
#include "Http/HttpServer.h"
#include "Http/Log.h"

#include "Project/Project.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace Ravik::Service
{

/// What the routes work with. Everything in it is thread-safe.
struct Parts
{
    Project& project;
    Access& access;
    Log& log;
    Lanes& lanes;
    DeviceWork& devices;
    EntryTexts& texts;
    Plans& plans;
    Activations& activations;
    Watch& watch;
    Metrics& metrics;
    PageFiles const& page;
    LastChanges& changes;
    /// The name of the project's folder.
    std::string project_name{};
    /// The most that an import may have. More is no recipes any more, and would take more memory than there is to give.
    std::size_t import_values = 4'000'000;
    /// What the listener tells of itself; empty where there is none.
    std::function<HttpCounts()> http_counts{};
    std::function<std::optional<double>()> certificate_days{};
};

} // namespace Ravik::Service
