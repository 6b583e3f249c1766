#include "ServedPlant.h"

#include "Access/UserFile.h"
#include "Configuration/Entry.h"
#include "Project/ServiceSettings.h"
#include "Json/Json.h"

#include "Support/RecipeNotation.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{

namespace
{

std::string plant_file(std::uint16_t device)
{
    std::string extensions = R"({"domain":"RavikRecipeManagement","library":")" RECIPE_MANAGEMENT_LIBRARY
                             R"("},{"domain":"Line","library":")" SIMULATION_LIBRARY
                             R"(","configuration":{"variables":{"Speed":0.0,"Count":0,"Free":0.0}}})";
    std::string symbols = R"("Line.Speed":{"DOMAIN":"Line","MAPPING":"Speed","USEMAPPING":true,)"
                          R"("SCHEMA":{"type":"number","minimum":0,"maximum":300}},)"
                          R"("Line.Count":{"DOMAIN":"Line","MAPPING":"Count","USEMAPPING":true,)"
                          R"("SCHEMA":{"type":"integer"}},)"
                          R"("Line.Free":{"DOMAIN":"Line","MAPPING":"Free","USEMAPPING":true,)"
                          R"("TOLERANCE":0.5,"SCHEMA":{"type":"number"}})";
    if (device != 0)
    {
        extensions += R"(,{"domain":"Press","library":")" MODBUS_LIBRARY
                      R"(","configuration":{"host":"127.0.0.1","port":)" +
                      std::to_string(device) + R"(,"timeoutMs":20000}})";
        // Too far apart to share a request.
        symbols += R"(,"Press.R0":{"DOMAIN":"Press","MAPPING":"holding:100:int16","USEMAPPING":true,)"
                   R"("SCHEMA":{"type":"integer"}},)"
                   R"("Press.R1":{"DOMAIN":"Press","MAPPING":"holding:200:int16","USEMAPPING":true,)"
                   R"("SCHEMA":{"type":"integer"}})";
    }
    return "{\"extensions\":[" + extensions + "],\"symbols\":{" + symbols + "}}";
}

} // namespace

ServedPlant::ServedPlant(PlantOptions const& options) : m_options(options)
{
    folder.write("ravik.json", plant_file(options.device));
    Service::UserFile file(Service::users_file_of(folder.path()));
    for (auto const& role : Service::role_names())
    {
        EXPECT_EQ(file.add_token(role, *Service::role_of(role), std::nullopt, tokens[role]).text, "");
    }
    open();
    fill();
}

void ServedPlant::open()
{
    ProjectFileMark const mark(folder.path());
    m_project = Project::open(folder.path(), {.trust = true});
    ServiceSettings settings;
    settings.listen = {{"127.0.0.1", 0}};
    settings.poll = std::chrono::milliseconds(50);
    if (m_options.behind_proxy)
    {
        settings.proxies = {"127.0.0.1"};
    }
    m_service = std::make_unique<Service::Service>(folder.path(), mark, *m_project, settings, log);
    m_service->start();
}

void ServedPlant::fill() const
{
    std::string types = "Dough { Speed:Line.Speed Count:Line.Count Free:Line.Free }";
    std::string recipes = "Bread:Dough { Speed=120 Count=3 Free=7 } Pizza:Dough { Speed=150 Count=4 Free=7 } "
                          "Shared::Roll:Dough { Speed=90 Count=5 Free=7 }";
    if (m_options.device != 0)
    {
        types += " Pressed { R0:Press.R0 R1:Press.R1 }";
        recipes += " Plate:Pressed { R0=1 R1=2 } Bowl:Pressed { R0=3 R1=4 }";
    }
    auto const report = m_project->import(std::string(recipe_domain), configuration_of(types, recipes), {});
    EXPECT_TRUE(report.succeeded()) << report.path << ": " << report.text;
}

void ServedPlant::restart()
{
    m_service->stop();
    m_service.reset();
    m_project.reset();
    open();
}

std::string ServedPlant::identity(std::string const& role) const
{
    return role.empty() ? "" : "Authorization: Bearer " + tokens.at(role) + "\r\n";
}

ApiClient ServedPlant::client(std::string const& role) const
{
    return ApiClient(address(), identity(role));
}

std::string ServedPlant::user(std::string const& name, std::string const& role) const
{
    auto const answer = client("admin").send(
        "POST", "/users", R"({"name":")" + name + R"(","password":")" + password + R"(","role":")" + role + "\"}");
    EXPECT_EQ(answer.status, 201U) << answer.body;
    return sign_in(name);
}

std::string ServedPlant::sign_in(std::string const& name) const
{
    auto const answer =
        client().send("POST", "/session", R"({"user":")" + name + R"(","password":")" + password + "\"}");
    EXPECT_EQ(answer.status, 201U) << answer.body;
    auto const cookie = answer.field("set-cookie");
    return "Cookie: " + cookie.substr(0, cookie.find(';')) + "\r\nX-CSRF-Token: " + text_in(answer, "csrf") + "\r\n";
}

std::string ServedPlant::state() const
{
    auto text = Json::write(m_project->get(std::string(recipe_domain), "").value);
    for (auto const& record : m_project->history({.limit = 1000}).records)
    {
        text += '\n' + std::to_string(record.id) + ' ' + record.asked + ": " + record.outcome;
    }
    return text + '\n' + content_of(Service::users_file_of(folder.path()));
}

} // namespace Ravik::Test
