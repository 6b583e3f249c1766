#include "Contender.h"

#include "Project/Project.h"
#include "Support/TemporaryFolder.h"

#include <stdexcept>
#include <string>

namespace Ravik::Benchmarks
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

std::string const domain(recipe_domain);

std::string symbol_of(std::size_t index)
{
    return "Line.Register" + std::to_string(index);
}

/// The symbols have schemas, as those of a real project do, so that the server checks what it writes.
std::string project_file(int port, Layout const& layout, int parallel_requests)
{
    std::string symbols;
    for (std::size_t index = 0; index < layout.count; ++index)
    {
        symbols += std::string(symbols.empty() ? "" : ",\n") + '"' + symbol_of(index) +
                   R"(": {"DOMAIN": "Device", "USEMAPPING": true, "MAPPING": "holding:)" +
                   std::to_string(layout.address(index)) +
                   R"(:uint16", "SCHEMA": {"$ref": "ravik:general#/definitions/UINT"}})";
    }
    return R"({"extensions": [{"domain": ")" + domain + R"(", "library": ")" RECIPE_MANAGEMENT_LIBRARY R"("},
{"domain": "Device", "library": ")" MODBUS_LIBRARY R"(", "configuration": {"host": "127.0.0.1", "port": )" +
           std::to_string(port) + R"(, "parallelRequests": )" + std::to_string(parallel_requests) +
           "}}],\n\"symbols\": {" + symbols + "}}";
}

/// The type "Line" with a member for each register, and the recipe "Product" of it.
Value recipes(Layout const& layout)
{
    Value lists(ValueType::Map);
    auto& members = lists["recipeTypeList"]["Line"]["members"];
    members.set_type(ValueType::Map);
    auto& recipe = lists["recipeList"]["Product"];
    recipe["recipeTypeName"] = "Line";
    auto& values = recipe["values"];
    values.set_type(ValueType::Map);
    for (std::size_t index = 0; index < layout.count; ++index)
    {
        auto const name = "register" + std::to_string(index);
        auto& member = members[name.c_str()];
        member.insert("symbol", symbol_of(index).c_str());
        member.insert("enabled", true);
        values.insert(name.c_str(), static_cast<int>(layout.value(index)));
    }
    return lists;
}

class RavikContender : public Contender
{
public:
    RavikContender(int port, Layout const& layout, int parallel_requests) : m_count(layout.count)
    {
        m_folder.write("ravik.json", project_file(port, layout, parallel_requests));
        m_project = Project::open(m_folder.path());
        if (auto const report = m_project->import(domain, recipes(layout), {}); !report.succeeded())
        {
            throw std::runtime_error(report.path + ": " + report.text);
        }
        m_parameters.insert("path", "Product");
    }

    void pass(Operation operation) override
    {
        auto const* const function = operation == Operation::WRITE ? "ActivateRecipe" : "ReadFromTarget";
        auto outcome = m_project->call(domain, function, m_parameters);
        if (!outcome.succeeded())
        {
            throw std::runtime_error(std::string(function) + ": " + outcome.name + ' ' + outcome.text);
        }
        m_answer = outcome.value;
    }

    std::vector<std::uint16_t> values_read() const override
    {
        std::vector<std::uint16_t> read;
        auto const& values = m_answer["Product"]["values"];
        for (std::size_t index = 0; index < m_count; ++index)
        {
            read.push_back(
                static_cast<std::uint16_t>(values[("register" + std::to_string(index)).c_str()].get_int32()));
        }
        return read;
    }

private:
    Test::TemporaryFolder m_folder;
    std::unique_ptr<Project> m_project;
    std::size_t m_count;
    Value m_parameters{ValueType::Struct};
    Value m_answer;
};

} // namespace

std::unique_ptr<Contender> make_ravik(int port, Layout const& layout, int parallel_requests)
{
    return std::make_unique<RavikContender>(port, layout, parallel_requests);
}

} // namespace Ravik::Benchmarks
