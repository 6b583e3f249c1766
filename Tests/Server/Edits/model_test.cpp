// Makes random deletes and renames in random configurations and holds what comes out against a model of its own:
//
//     ServerModelTest [CONFIGURATIONS [SEED]]
//
// After each edit the configuration must be the model's, and `recipes` and `active` must answer as those of a server
// that was started afresh do. Exit status 0 where it was always so.

#include "Model.h"

#include "EditedProject.h"
#include "Project/OpenProject.h"
#include "Support/TemporaryFolder.h"
#include "Support/api_types.h"
#include "Json/Json.h"

#include <cstdlib>
#include <iostream>
#include <random>
#include <stdexcept>

namespace
{

using namespace Ravik;
using namespace Ravik::Test;

std::string const domain(recipe_domain);

class Random
{
public:
    explicit Random(unsigned seed) : m_engine(seed) {}

    int below(int limit) { return std::uniform_int_distribution(0, limit - 1)(m_engine); }
    bool happens(int percent) { return below(100) < percent; }
    template <typename Choices> auto const& of(Choices const& choices)
    {
        return *std::next(choices.begin(), below(static_cast<int>(choices.size())));
    }

private:
    std::mt19937 m_engine;
};

// Names that contain each other, in folders that do as well.
std::vector<std::string> const folders{"", "", "F::", "FA::", "F::G::"};
std::vector<std::string> const type_names{"A", "AB", "B", "T", "TA"};
std::vector<std::string> const recipe_names{"R", "R1", "R10", "1", "F"};
std::vector<std::string> const member_names{"m", "n", "mn", "k", "A"};
std::vector<std::string> const symbols{"k", "l", "m", "n", "o"};

// Random configurations -----------------------------------------------------------------------------------------------

template <typename Entries> bool has_room(Entries const& entries, std::string const& name)
{
    return std::none_of(entries.begin(), entries.end(),
                        [&](auto const& entry) {
                            return entry.first == name || entry.first.starts_with(name + "::") ||
                                   name.starts_with(entry.first + "::");
                        });
}

Model::Type random_type(Model const& model, Random& random)
{
    Model::Type type;
    for (auto const& [name, other] : model.types)
    {
        if (random.happens(25))
        {
            type.inherited.push_back(name);
        }
    }
    for (auto const& name : member_names)
    {
        if (random.happens(40))
        {
            auto const nests = !model.types.empty() && random.happens(30);
            type.members.emplace_back(name, nests ? Model::Member{"", random.of(model.types).first}
                                                  : Model::Member{random.of(symbols), ""});
        }
    }
    return type;
}

Model random_model(Random& random)
{
    Model model;
    for (int count = 1 + random.below(5); count > 0; --count)
    {
        auto const name = random.of(folders) + random.of(type_names);
        if (has_room(model.types, name))
        {
            auto type = random_type(model, random);
            model.types.emplace(name, std::move(type));
        }
    }
    for (int count = random.below(7); count > 0; --count)
    {
        auto const name = random.of(folders) + random.of(recipe_names);
        if (!has_room(model.recipes, name))
        {
            continue;
        }
        Model::Recipe recipe{.type = random.of(model.types).first, .values = {}};
        for (auto const& member : member_names)
        {
            if (random.happens(60))
            {
                auto const names = model.names_recipe(recipe, member);
                recipe.values[member] = !names                  ? std::to_string(random.below(8) == 0 ? 1 : 0)
                                        : model.recipes.empty() ? ""
                                                                : random.of(model.recipes).first;
            }
        }
        model.recipes.emplace(name, recipe);
    }
    return model;
}

// Between the model and the server ------------------------------------------------------------------------------------

Value map()
{
    return Value(ValueType::Map);
}

Value& entry_at(Value& list, std::string const& name)
{
    auto* place = &list;
    for (std::size_t start = 0; start != std::string::npos;)
    {
        auto const end = name.find("::", start);
        if (place->type() != ValueType::Map)
        {
            *place = map();
        }
        place = &(*place)[name.substr(start, end - start).c_str()];
        start = end == std::string::npos ? end : end + 2;
    }
    return *place;
}

Value configuration_of(Model const& model)
{
    auto types = map();
    auto recipes = map();
    for (auto const& [name, type] : model.types)
    {
        auto members = map();
        for (auto const& [member_name, member] : type.members)
        {
            auto described = map();
            described.insert("enabled", true);
            described.insert(member.nested.empty() ? "symbol" : "recipeType",
                             Value((member.nested.empty() ? member.symbol : member.nested).c_str()));
            members.insert(member_name.c_str(), described);
        }
        auto& entry = entry_at(types, name) = map();
        entry.insert("members", members);
        for (auto const& inherited : type.inherited)
        {
            entry["recipeTypeNames"] << Value(inherited.c_str());
        }
    }
    for (auto const& [name, recipe] : model.recipes)
    {
        auto values = map();
        for (auto const& [value_name, value] : recipe.values)
        {
            auto const is_number = value == "0" || value == "1";
            auto const names = model.names_recipe(recipe, value_name);
            values.insert(value_name.c_str(), is_number && !names ? Value(value == "1" ? 1 : 0) : Value(value.c_str()));
        }
        auto& entry = entry_at(recipes, name) = map();
        entry.insert("recipeTypeName", Value(recipe.type.c_str()));
        entry.insert("values", values);
    }
    auto both = map();
    both.insert("recipeTypeList", types);
    both.insert("recipeList", recipes);
    return both;
}

std::string text_of(Value const& value)
{
    return value.type() == ValueType::String ? value.get_string() : value.isset() ? Json::write(value) : "";
}

Model::Type type_of(Value const& entry)
{
    Model::Type type;
    auto const& inherited = entry["recipeTypeNames"];
    for (auto name = inherited.begin_vector(); name != inherited.end_vector(); ++name)
    {
        type.inherited.push_back(text_of(*name));
    }
    auto const& members = entry["members"];
    for (auto member = members.begin(); member != members.end(); ++member)
    {
        Value const& described = *member;
        type.members.emplace_back(member.name(),
                                  Model::Member{text_of(described["symbol"]), text_of(described["recipeType"])});
    }
    return type;
}

Model::Recipe recipe_of(Value const& entry)
{
    Model::Recipe recipe{.type = text_of(entry["recipeTypeName"]), .values = {}};
    auto const& values = entry["values"];
    for (auto value = values.begin(); value != values.end(); ++value)
    {
        recipe.values[value.name()] = text_of(*value);
    }
    return recipe;
}

/// Adds the entries of a list to the model; `mark` is what tells an entry from a folder.
void read_list(Value const& list, std::string const& prefix, char const* mark, Model& model)
{
    for (auto entry = list.begin(); entry != list.end(); ++entry)
    {
        auto const name = prefix + entry.name();
        if (entry->find(mark) == entry->end())
        {
            read_list(*entry, name + "::", mark, model);
        }
        else if (mark == std::string("members"))
        {
            model.types.emplace(name, type_of(*entry));
        }
        else
        {
            model.recipes.emplace(name, recipe_of(*entry));
        }
    }
}

Model model_of(Value const& configuration)
{
    Model model;
    read_list(configuration["recipeTypeList"], "", "members", model);
    read_list(configuration["recipeList"], "", "recipeTypeName", model);
    return model;
}

/// What the server says of the recipes, in its order.
std::string answers(Project& project, Model const& model)
{
    auto const told = [](FunctionOutcome const& outcome)
    { return outcome.name + outcome.text + (outcome.value.isset() ? Json::write(outcome.value) : "") + "\n"; };
    auto text = "active " + told(project.call(domain, "GetActiveRecipes", Value()));
    for (auto const& [name, type] : model.types)
    {
        text += name + " " + told(project.call(domain, "GetRecipes", parameters("recipeTypePath", name.c_str())));
    }
    return text;
}

// Edits ---------------------------------------------------------------------------------------------------------------

/// A random edit: the paths, and what the model makes of it.
struct Edit
{
    std::string from;
    std::string to;
    bool is_refused = false;
    Model after;
};

template <typename Entries>
std::string random_name(Entries const& entries, std::vector<std::string> const& names, Random& random)
{
    if (entries.empty() || random.happens(5))
    {
        return random.of(names);
    }
    auto name = random.of(entries).first;
    return random.happens(25) && name.find("::") != std::string::npos ? name.substr(0, name.rfind("::")) : name;
}

Edit random_edit(Model const& model, Random& random)
{
    Edit edit{.from = {}, .to = {}, .is_refused = false, .after = model};
    auto const is_delete = random.happens(30);
    auto const kind = random.below(3);
    if (kind == 0)
    {
        auto const from = random_name(model.types, type_names, random);
        auto const to = is_delete ? std::string() : random.of(folders) + random.of(type_names);
        edit = {"recipeTypeList::" + from, is_delete ? "" : "recipeTypeList::" + to, model.refuses_types(from, to),
                model};
        edit.is_refused ? void() : edit.after.move_types(from, to);
    }
    else if (kind == 1)
    {
        auto const from = random_name(model.recipes, recipe_names, random);
        auto const to = is_delete ? std::string() : random.of(folders) + random.of(recipe_names);
        edit = {"recipeList::" + from, is_delete ? "" : "recipeList::" + to, model.refuses_recipes(from, to), model};
        edit.is_refused ? void() : edit.after.move_recipes(from, to);
    }
    else if (!model.types.empty())
    {
        auto const type = random.of(model.types).first;
        auto const from = random.of(member_names);
        auto const to = is_delete ? std::string() : random.of(member_names);
        auto const path = "recipeTypeList::" + type + "::members::";
        edit = {path + from, is_delete ? "" : path + to, model.refuses_member(type, from, to), model};
        edit.is_refused ? void() : edit.after.move_member(type, from, to);
    }
    return edit;
}

bool has_entries(Value const& folder)
{
    auto is_any = folder.find("members") != folder.end() || folder.find("recipeTypeName") != folder.end();
    for (auto entry = folder.begin(); entry != folder.end() && !is_any; ++entry)
    {
        is_any = has_entries(*entry);
    }
    return is_any;
}

/// Whether there is a folder without entries, of which the model knows nothing.
bool is_empty_folder(Project const& project, std::string const& path)
{
    auto const found = project.get(domain, path);
    return !path.empty() && found.succeeded() && path.find("::members::") == std::string::npos &&
           !has_entries(found.value);
}

struct Counts
{
    int made = 0;
    int refused = 0;
    int vetoed = 0;
};

[[noreturn]] void fail(Edit const& edit, std::string const& what, Model const& before, std::string const& found,
                       std::string const& expected)
{
    throw std::runtime_error(edit.from + " > " + edit.to + ": " + what + "\nbefore:\n" + before.text() + "found:\n" +
                             found + "expected:\n" + expected);
}

/// Makes the edit, and returns the model afterwards.
Model make(OpenProject& project, std::filesystem::path const& file, Model const& model, Edit const& edit,
           Counts& counts)
{
    auto const report =
        edit.to.empty() ? project.remove(domain, edit.from, {}) : project.rename(domain, edit.from, edit.to, {});
    auto const tree = project.get(domain, "").value;
    auto const error = name(report.error);
    // What the extension itself does not want to see is no fault of the server's.
    auto const is_veto = error == "MULTIPLE_MATCHES" || error == "TYPE_MISSING" || error == "TYPE_MISMATCH";
    auto const& expected = report.succeeded() ? edit.after : model;
    if (report.succeeded() == edit.is_refused && !is_veto)
    {
        fail(edit, edit.is_refused ? "not refused" : "refused: " + error + " " + report.text, model, "", "");
    }
    if (model_of(tree).text() != expected.text())
    {
        fail(edit, "came out wrong", model, model_of(tree).text(), expected.text());
    }
    auto const started = opened(file, nullptr);
    auto& fresh = *started;
    if (auto const imported = fresh.import(domain, tree, {.dry_run = false, .replace = true, .progress = {}});
        !imported.succeeded())
    {
        // Where the extension would not take the configuration in as it is, there is nothing to compare with.
        ++counts.vetoed;
        return expected;
    }
    if (auto const told = answers(project, expected), wanted = answers(fresh, expected); told != wanted)
    {
        fail(edit, "the extension is out of step", model, told, wanted);
    }
    ++(report.succeeded() ? counts.made : is_veto ? counts.vetoed : counts.refused);
    return expected;
}

Counts run(int configurations, unsigned seed)
{
    TemporaryFolder const folder;
    auto const file = folder.write("ravik.json", project_file());
    auto const running = opened(file, nullptr);
    auto& project = *running;
    Random random(seed);
    Counts counts;
    for (int round = 0; round < configurations;)
    {
        auto model = random_model(random);
        if (!project.import(domain, configuration_of(model), {.dry_run = false, .replace = true, .progress = {}})
                 .succeeded())
        {
            continue;
        }
        ++round;
        for (int edits = 0; edits < 4; ++edits)
        {
            auto const edit = random_edit(model, random);
            if (edit.from.empty() || is_empty_folder(project, edit.from) || is_empty_folder(project, edit.to))
            {
                continue;
            }
            model = make(project, file, model, edit, counts);
        }
    }
    return counts;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        auto const number = [&](int position, int otherwise)
        { return argc > position ? std::atoi(argv[position]) : otherwise; };
        auto const counts = run(number(1, 200), static_cast<unsigned>(number(2, 1)));
        std::cout << counts.made << " edits made, " << counts.refused << " refused, " << counts.vetoed << " vetoed\n";
        return counts.made > counts.vetoed ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    catch (std::exception const& error)
    {
        std::cerr << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
