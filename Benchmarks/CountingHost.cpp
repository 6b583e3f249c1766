#include "CountingHost.h"

#include <cstring>
#include <stdexcept>

#include <dlfcn.h>

namespace Ravik::Benchmarks
{

using namespace RavikSrv;

CountingHost::CountingHost(int symbol_count, int domain_count)
{
    m_member_shape["symbol"] = "";
    m_member_shape["enabled"] = true;
    m_member_shape["defaultValue"] = 0.0;
    m_mapping_shape["DOMAIN"] = "";
    m_mapping_shape["USEMAPPING"] = true;
    Value own;
    Value inherited;
    Value nested;
    Value values;
    Value nested_values;
    values.insert("part", "Line::Nested");
    for (int i = 0; i < symbol_count; ++i)
    {
        auto& members = i % 4 == 2 ? inherited : i % 4 == 3 ? nested : own;
        add_symbol(i, domain_count, members, i % 4 == 3 ? nested_values : values);
    }
    own["part"]["recipeType"] = "Nested";
    own["part"]["enabled"] = true;
    auto& types = m_configuration["recipeTypeList"];
    types["Line"]["members"] = own;
    types["Line"]["recipeTypeNames"] << Value("Inherited");
    types["Inherited"]["members"] = inherited;
    types["Nested"]["members"] = nested;
    auto& recipes = m_configuration["recipeList"]["Line"];
    recipes["Product"]["recipeTypeName"] = "Line";
    recipes["Product"]["values"] = values;
    recipes["Nested"]["recipeTypeName"] = "Nested";
    recipes["Nested"]["values"] = nested_values;
}

void CountingHost::add_symbol(int number, int domain_count, Value& members, Value& values)
{
    auto const name = "Member" + std::to_string(number);
    auto const symbol = "Line.Symbol" + std::to_string(number);
    // As a server reads them, maps of one shape share their names.
    auto member = m_member_shape;
    member["symbol"] = symbol.c_str();
    members.insert(name.c_str(), member);
    values.insert(name.c_str(), 0.5 * number);
    auto const domain = "Domain" + std::to_string(number % domain_count);
    auto mapping = m_mapping_shape;
    mapping["DOMAIN"] = domain.c_str();
    m_symbol_table.insert(symbol.c_str(), mapping);
    m_written.insert(symbol.c_str(), 0.5 * number);
}

void CountingHost::add_recipes(int count)
{
    auto& recipes = m_configuration["recipeList"]["Line"];
    Value const product = recipes["Product"];
    for (int i = 0; i < count; ++i)
    {
        recipes.insert(("Product" + std::to_string(i)).c_str(), product);
    }
    Value const& all = recipes;
    for (auto recipe = all.begin(); recipe != all.end(); ++recipe)
    {
        // A listener that is told of a change has nothing to refuse.
        static_cast<void>(
            m_changes->on_change(Context(), ("recipeList::Line::" + std::string(recipe.name())).c_str(), "recipe"));
    }
}

ErrorValue CountingHost::execute_command_group(Context const& /*context*/, CommandGroup* group)
{
    commands += static_cast<std::size_t>(group->end_vector() - group->begin_vector());
    Value const& held = m_written;
    for (auto command = group->begin_vector(); command != group->end_vector(); ++command)
    {
        if (!command->write_value().isset())
        {
            command->set_read_value(held[command->name()]);
        }
    }
    return ErrorValue::SUCCESS;
}

ErrorValue CountingHost::execute_command(Context const& /*context*/, Command* /*command*/)
{
    return ErrorValue::NOT_IMPLEMENTED;
}

void CountingHost::register_listener(Context const& /*context*/, IRavikSrvListener* listener)
{
    if (auto* const requests = dynamic_cast<IRavikSrvRequestListener*>(listener))
    {
        m_requests = requests;
    }
}

void CountingHost::register_listener(Context const& /*context*/, IRavikSrvListener* listener, Value const& /*settings*/)
{
    m_changes = dynamic_cast<IRavikSrvConfigListener*>(listener);
}

ErrorValue CountingHost::set_config_value(Context const& /*context*/, char const* /*path*/, Value const* /*value*/)
{
    return ErrorValue::NOT_IMPLEMENTED;
}

Value CountingHost::get_config_value(Context const& context, char const* /*path*/)
{
    return std::strcmp(context.domain(), "RavikSrv") == 0 ? m_symbol_table : m_configuration;
}

ResultPair CountingHost::validate_symbol_value(char const* /*symbol*/, Value const& /*value*/)
{
    return ErrorValue::SUCCESS;
}

ResultPair CountingHost::validate(Value const& /*schema*/, Value const& /*value*/, char const* /*path*/)
{
    return ErrorValue::SUCCESS;
}

String CountingHost::get_extension_error_string(char const* /*domain*/, unsigned /*code*/)
{
    return {};
}

std::unique_ptr<IRavikSrvExt> load_recipe_management(CountingHost& host)
{
    using Entry = int (*)(IRavikSrvExtHost * host, IRavikSrvExt * *extension, double* version);
    auto* const library = dlopen(RECIPE_MANAGEMENT_LIBRARY, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    auto* const entry = library != nullptr ? dlsym(library, "ext_interface") : nullptr;
    if (entry == nullptr)
    {
        throw std::runtime_error(dlerror());
    }
    IRavikSrvExt* extension = nullptr;
    double version = 0;
    reinterpret_cast<Entry>(entry)(&host, &extension, &version);
    std::unique_ptr<IRavikSrvExt> owned(extension);
    if (owned->init(Context()).result() != RavikSrv::ErrorValue::SUCCESS)
    {
        throw std::runtime_error("the extension could not be initialised");
    }
    return owned;
}

CommandGroup activation()
{
    Value parameters(ValueType::Struct);
    parameters.insert("path", "Line::Product");
    return request("ActivateRecipe", parameters);
}

CommandGroup request(char const* function, Value const& parameters)
{
    Command command(function);
    command.set_mapping(function);
    command.set_write_value(parameters);
    CommandGroup group;
    group.insert(group.end_vector(), command);
    return group;
}

CommandGroup append_commands(CountingHost const& host)
{
    CommandGroup group;
    group.set_domain("Domain0");
    auto const& written = host.written();
    for (auto symbol = written.begin(); symbol != written.end(); ++symbol)
    {
        Command command(symbol.name());
        command.set_write_value(*symbol);
        group.insert(group.end_vector(), command);
    }
    return group;
}

} // namespace Ravik::Benchmarks
