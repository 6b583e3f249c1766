// Prints what the recipe management does in random configurations: every answer, group and write of configuration.
//
//     benchmark_transcript CONFIGURATIONS [SEED]
//
// Two builds do the same where they print the same: whoever makes the extension faster runs the one before and the one
// after, and compares.

#include "Support/LoadedExtension.h"
#include "Support/RecipeNotation.h"
#include "Support/RecordingHost.h"

#include <cstdlib>
#include <iostream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace Ravik::Test;
using Names = std::vector<std::string>;

constexpr char const* domain = "RavikRecipeManagement";

// Few names for everything, so that they meet: members that are called like types, symbols that several members have.
Names const type_names{"T", "U", "V", "F::T", "W"};
Names const recipe_names{"R", "S", "F::R", "Q", "1"};
Names const member_names{"a", "b", "c", "d", "n", "T"};
Names const symbol_names{"A", "B", "C", "D", "E", "A::x", "B[1]", "B[1]::y", "Unmapped"};
Names const domains{"Line", "Other", "RavikSrv"};

class Random
{
public:
    explicit Random(unsigned seed) : m_engine(seed) {}

    std::size_t below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_engine); }
    bool happens(int percent) { return below(100) < static_cast<std::size_t>(percent); }
    std::string const& of(Names const& names) { return names[below(names.size())]; }
    Value number()
    {
        return happens(70)   ? Value(static_cast<int>(below(3)))
               : happens(50) ? Value(0.5)
                             : Value(std::string_view("x"));
    }

private:
    std::mt19937 m_engine;
};

Value random_member(Random& random)
{
    Value member(ValueType::Map);
    // The keys come in any order and number, as a person writes them.
    for (int key = 0; key < 5; ++key)
    {
        switch (random.below(6))
        {
        case 0:
            member["enabled"] = random.happens(80);
            break;
        case 1:
            member["defaultValue"] = random.number();
            break;
        case 2:
            member["recipeType"] = Value(random.happens(30) ? random.of(type_names).c_str() : "");
            break;
        case 3:
            member["schema"] = Value(ValueType::Map);
            break;
        default:
            // The last one is not mapped, and seldom wanted.
            member["symbol"] =
                Value(symbol_names[random.below(symbol_names.size() - (random.happens(90) ? 1 : 0))].c_str());
        }
    }
    return member;
}

Value& entry_of(Value& list, std::string const& name)
{
    auto const end = name.find("::");
    return end == std::string::npos ? list[name.c_str()]
                                    : list[name.substr(0, end).c_str()][name.substr(end + 2).c_str()];
}

Value random_types(Random& random)
{
    Value types(ValueType::Map);
    for (auto const& name : type_names)
    {
        Value type(ValueType::Map);
        type["members"] = Value(ValueType::Map);
        for (auto count = random.below(6); count > 0; --count)
        {
            type["members"][random.of(member_names).c_str()] = random_member(random);
        }
        for (auto count = random.happens(30) ? random.below(3) : 0; count > 0; --count)
        {
            type["recipeTypeNames"] << Value(random.of(type_names).c_str());
        }
        if (random.happens(10))
        {
            type["options"]["enabled"] = Value("Disabled");
        }
        entry_of(types, name) = type;
    }
    return types;
}

Value random_recipes(Random& random)
{
    Value recipes(ValueType::Map);
    for (auto const& name : recipe_names)
    {
        Value recipe(ValueType::Map);
        recipe["recipeTypeName"] = Value(random.of(type_names).c_str());
        recipe["values"] = Value(ValueType::Map);
        for (auto count = random.below(7); count > 0; --count)
        {
            recipe["values"][random.of(member_names).c_str()] =
                random.happens(80) ? random.number() : Value(random.of(recipe_names).c_str());
        }
        entry_of(recipes, name) = recipe;
    }
    return recipes;
}

Value random_symbols(Random& random)
{
    Value table(ValueType::Map);
    for (std::size_t count = 0; count < 12; ++count)
    {
        auto& entry = table[std::string(1, static_cast<char>('A' + random.below(5))).c_str()];
        entry.set_type(ValueType::Map);
        if (random.happens(50))
        {
            entry["USEMAPPING"] = random.happens(70);
        }
        entry["DOMAIN"] = Value(random.of(domains).c_str());
        entry["SCHEMA"]["$ref"] =
            Value(random.happens(50) ? "ravik:general#/definitions/REAL" : "ravik:general#/definitions/INT");
    }
    return table;
}

/// Calls a function and prints all that came of it.
void print_call(LoadedExtension& extension, RecordingHost& host, char const* function, Value const& parameters)
{
    host.groups.clear();
    host.commands.clear();
    host.config_writes.clear();
    auto const command = extension.call(function, parameters);
    std::cout << function << ' ' << dump(parameters) << ": " << command.extension_result() << ' '
              << command.result_string() << " > " << dump(command.read_value()) << '\n'
              << host.executed() << '\n';
    for (auto const& sent : host.commands)
    {
        std::cout << sent.name() << " = " << dump(sent.write_value()) << '\n';
    }
    for (auto const& [path, value] : host.config_writes)
    {
        std::cout << path << " = " << dump(value) << '\n';
    }
}

void print_configuration(unsigned seed)
{
    Random random(seed);
    RecordingHost host;
    host.configuration[domain]["recipeTypeList"] = random_types(random);
    host.configuration[domain]["recipeList"] = random_recipes(random);
    host.configuration["RavikSrv"]["SYMBOLS"] = random_symbols(random);
    for (auto const& name : symbol_names)
    {
        host.symbols[name] = random.number();
        if (random.happens(3))
        {
            host.symbol_failures[name] = {.result = ErrorValue::EXTENSION, .extension_result = 5, .text = "refused"};
        }
    }
    LoadedExtension extension(RECIPE_MANAGEMENT_LIBRARY, host, domain);
    for (auto const& name : recipe_names)
    {
        static_cast<void>(
            extension.changes().on_change(extension.context(), ("recipeList::" + name).c_str(), "recipe"));
    }
    std::cout << "configuration " << seed << ": " << dump(host.configuration[domain]) << '\n'
              << "symbols: " << dump(host.configuration["RavikSrv"]["SYMBOLS"]) << '\n';
    for (auto const& name : recipe_names)
    {
        for (auto const* const function : {"ActivateRecipe", "ReadFromTarget"})
        {
            print_call(extension, host, function, parameters("path", name.c_str()));
        }
        print_call(extension, host, "GetActiveRecipes", Value() << Value(name.c_str()));
    }
    for (auto const& name : recipe_names)
    {
        print_call(extension, host, "UpdateRecipe", parameters("path", name.c_str()));
    }
    for (auto const& name : type_names)
    {
        print_call(extension, host, "GetRecipes", parameters("recipeTypePath", name.c_str()));
    }
    print_call(extension, host, "GetActiveRecipes", Value());
}

} // namespace

int main(int count, char** arguments)
try
{
    if (count < 2)
    {
        throw std::invalid_argument("usage: benchmark_transcript CONFIGURATIONS [SEED]");
    }
    auto const configurations = std::stoul(arguments[1]);
    auto const first = count > 2 ? std::stoul(arguments[2]) : 1;
    for (auto number = first; number < first + configurations; ++number)
    {
        print_configuration(static_cast<unsigned>(number));
    }
    return EXIT_SUCCESS;
}
catch (std::exception const& error)
{
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
}
