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
#include "algorithm_helper.h"
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
    explicit Random(unsigned long seed) : m_engine(seed) {}

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

/// What stands in a part of the configuration, by paths: the types in short, and the values of the recipes as texts.
using Contents = std::map<std::string, std::string>;

Contents contents_of(Value const& part, std::string const& prefix = "")
{
    Contents all;
    for (auto entry = part.begin(); entry != part.end(); ++entry)
    {
        auto const path = prefix + "::" + entry.name();
        if (entry->type() == ValueType::Map && entry->find("members") == entry->end())
        {
            all.merge(contents_of(*entry, path));
        }
        else
        {
            all[path] = entry->type() == ValueType::Map ? dump(*entry) : Algorithm::to_string(*entry);
        }
    }
    return all;
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
    auto const move_entries =
        [&](std::string const& list, auto const& entries, auto const& names, auto refuses, auto move)
    {
        auto const from = random_name(entries, names, random);
        auto const to = is_delete ? std::string() : random.of(folders) + random.of(names);
        edit = {list + from, is_delete ? "" : list + to, (model.*refuses)(from, to), model};
        edit.is_refused ? void() : (edit.after.*move)(from, to);
    };
    auto const kind = random.below(3);
    if (kind == 0)
    {
        move_entries("recipeTypeList::", model.types, type_names, &Model::refuses_types, &Model::move_types);
    }
    else if (kind == 1)
    {
        move_entries("recipeList::", model.recipes, recipe_names, &Model::refuses_recipes, &Model::move_recipes);
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

/// Whether there is a folder without entries, of which the model knows nothing.
bool is_empty_folder(Project const& project, std::string const& path)
{
    auto const found = project.get(domain, path);
    return !path.empty() && found.succeeded() && found.value.find("members") == found.value.end() &&
           contents_of(found.value).empty();
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
    throw std::runtime_error(edit.from + " > " + edit.to + ": " + what + "\nbefore:\n" + before.text() + "\nfound:\n" +
                             found + "\nexpected:\n" + expected);
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
    if (contents_of(tree) != contents_of(configuration_of(expected.text())))
    {
        fail(edit, "came out wrong", model, dump(tree), expected.text());
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

Counts run(int configurations, unsigned long seed)
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
        if (!project.import(domain, configuration_of(model.text()), {.dry_run = false, .replace = true, .progress = {}})
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
        auto const counts = run(argc > 1 ? std::stoi(argv[1]) : 200, argc > 2 ? std::stoul(argv[2]) : 1);
        std::cout << counts.made << " edits made, " << counts.refused << " refused, " << counts.vetoed << " vetoed\n";
        return counts.made > counts.vetoed ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    catch (std::exception const& error)
    {
        std::cerr << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
