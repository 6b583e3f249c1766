#include "Line.h"

#include "Project/library_membership.h"
#include "Json/Json.h"

#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

namespace Ravik::Benchmark
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr int members = 100;
/// What the recipes spread over.
constexpr int subfolders = 10;
constexpr std::chrono::seconds longest_wait{60};
std::string const domain(recipe_domain);

Value project_file(Line::Extension extension, LibrarySettings const* library)
{
    Value file(ValueType::Map);
    Value served(ValueType::Map);
    auto const is_silent = extension == Line::Extension::Silent;
    served.insert("domain", Value(domain));
    served.insert("library", Value(is_silent ? SILENT_LIBRARY : RECIPE_MANAGEMENT_LIBRARY));
    file["extensions"] << served;
    auto& symbol = file["symbols"]["s"];
    symbol.insert("DOMAIN", Value("RavikSrv"));
    symbol["SCHEMA"].insert("type", Value("number"));
    if (library != nullptr)
    {
        file["library"].insert("postgresql", Value(library->postgresql));
        file["library"].insert("schema", Value(library->schema));
    }
    return file;
}

std::string member(int number)
{
    return "m" + std::to_string(number);
}

void expect(EditReport const& report)
{
    if (!report.succeeded())
    {
        throw std::runtime_error(report.path + ": " + report.text);
    }
}

} // namespace

std::string Line::recipe(int number)
{
    return std::string(folder) + "::F" + std::to_string(number % subfolders) + "::recipe" + std::to_string(number);
}

Line::Line(std::string name, Extension extension, LibrarySettings const* library) : m_name(std::move(name))
{
    m_folder.write("ravik.json", Json::write(project_file(extension, library)));
    open();
}

void Line::open()
{
    m_project = Project::open(m_folder.path());
}

void Line::make_recipes(int count)
{
    Value lists(ValueType::Map);
    Value content(ValueType::Map);
    content.insert("recipeTypeName", Value("T"));
    for (int number = 0; number < members; ++number)
    {
        lists["recipeTypeList"]["T"]["members"][member(number).c_str()].insert("symbol", Value("s"));
        content["values"].insert(member(number).c_str(), Value(number + 0.5));
    }
    auto& all = lists["recipeList"]["All"];
    for (int number = 0; number < count; ++number)
    {
        content["values"].insert_or_update("m0", Value(number));
        auto& subfolder = all[("F" + std::to_string(number % subfolders)).c_str()];
        subfolder.insert(("recipe" + std::to_string(number)).c_str(), content);
    }
    expect(m_project->import(domain, lists, {}));
}

void Line::join()
{
    close();
    auto const report = join_library(m_folder.path(), {.name = m_name}, {});
    if (!report.clashes.empty())
    {
        throw std::runtime_error(m_name + " and the library differ in " + report.clashes.front());
    }
    open();
    settle();
}

void Line::settle() const
{
    auto const status = m_project->library_status(longest_wait);
    if (status.state != LibraryStatus::State::Following)
    {
        throw std::runtime_error(m_name + " does not follow: " + status.why);
    }
}

std::int64_t Line::revision() const
{
    return m_project->library_status(std::chrono::milliseconds(0)).position.revision;
}

void Line::set(int number, int value) const
{
    expect(m_project->set(domain, recipe(number) + "::values::m1", Value(value)));
}

bool Line::shows(int number, int value) const
{
    return m_project->get(domain, recipe(number) + "::values::m1").value == Value(value);
}

void Line::rename(std::string const& from, std::string const& to) const
{
    expect(m_project->rename(domain, from, to, {}));
}

void Line::await(std::int64_t revision) const
{
    auto const deadline = std::chrono::steady_clock::now() + longest_wait;
    while (this->revision() < revision)
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            throw std::runtime_error(m_name + " does not come to revision " + std::to_string(revision));
        }
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
}

} // namespace Ravik::Benchmark
