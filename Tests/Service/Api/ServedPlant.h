#pragma once

#include "ApiClient.h"

#include "Service/Support/MemoryLog.h"
#include "Support/TemporaryFolder.h"

#include "Service.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace Ravik::Test
{

struct PlantOptions
{
    /// Of the device "Press"; 0 where the plant has none.
    std::uint16_t device = 0;
    /// Whether requests may tell by X-Forwarded-For that they come from elsewhere.
    bool behind_proxy = false;
};

/// The service of a small plant in a temporary folder: the simulated domain "Line" with Speed (0 to 300), Count and
/// Free (any number), the recipes Bread, Pizza and Shared::Roll, all of the type Dough; with a device also the recipes
/// Plate and Bowl, of the same two registers Press.R0 and Press.R1. There is a token of each role, named like it.
class ServedPlant
{
public:
    explicit ServedPlant(PlantOptions const& options = {});

    /// A client with the role's token; without a role nobody.
    ApiClient client(std::string const& role = "") const;
    /// The lines of the header for a role's token.
    std::string identity(std::string const& role) const;
    /// Adds a user and returns the lines of the header of a session of his.
    std::string user(std::string const& name, std::string const& role) const;
    std::string sign_in(std::string const& name) const;
    /// Ends the service and serves the same project again.
    void restart();
    EventStream events(std::string const& identity) const { return EventStream(address(), identity); }
    std::string address() const { return m_service->addresses().front(); }
    /// The configuration, the history, and who may come in.
    std::string state() const;

    static constexpr auto password = "correct horse";

    TemporaryFolder folder;
    MemoryLog log;
    std::map<std::string, std::string> tokens;

private:
    void open();
    void fill() const;

    PlantOptions m_options;
    std::unique_ptr<Project> m_project;
    std::unique_ptr<Service::Service> m_service;
};

} // namespace Ravik::Test
