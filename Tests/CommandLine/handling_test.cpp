#include "CommandLine/Shell.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{

namespace
{

/// The sample project with its recipes, a folder with a recipe type and one with a recipe.
void make_sample(Shell const& shell)
{
    shell.expect_all({
        {"ravik init && ravik import recipes.json", {"Imported"}},
        {"ravik copy recipeTypeList::Dough recipeTypeList::Doughs::Rye", {"Copied"}},
        {R"(ravik set recipeTypeList::Sour '{"members":{},"recipeTypeNames":["Dough"]}')", {"Set"}},
        {"ravik copy recipeList::Bread 'recipeList::Shift 1::Bread'", {"Copied recipeList::Bread to recipeList::Sh"}},
        {"ravik export >before", {}},
    });
}

TEST(Handling, of_recipes_used_wrongly_says_what_is_wrong_and_changes_nothing)
{
    Shell const shell;
    make_sample(shell);
    shell.write("mixed", "recipe,Speed\nBread,1\nPizza;2\n");
    auto const table = [](std::string const& text) { return "printf '" + text + "' | ravik import --csv Dough -"; };
    shell.expect_both({
        // list
        {"ravik list nothing", {}, {"ENTRY_NOT_FOUND", "there is nothing at this path"}},
        {"ravik list recipeList::Bred", {}, {"ENTRY_NOT_FOUND", "did you mean 'recipeList::Bread'"}},
        {"ravik list recipeList::", {}, {"INVALID_PATH", "empty component"}},
        {"ravik list recipeList::Bread::values", {}, {"holds no folders and entries; 'get' shows"}},
        {"ravik list --type Nothing", {}, {"there is no recipe type 'Nothing'"}},
        {"ravik list --all", {}, {"'list' takes no option --all"}, 2},
        // copy
        {"ravik copy recipeList::Bread", {}, {"an argument is missing"}, 2},
        {"ravik copy recipeList::Bred recipeList::X", {}, {"ENTRY_NOT_FOUND", "did you mean 'recipeList::Bread'"}},
        {"ravik copy recipeList::Bread Rye", {}, {"Rye: a copy", "full path in the same list: recipeList::NAME"}},
        {"ravik copy recipeList::Bread recipeTypeList::X", {}, {"in the same list"}},
        {"ravik copy recipeList::Bread recipeList::Pizza", {}, {"recipeList::Pizza is taken; delete it first"}},
        {"ravik copy recipeList::Bread 'recipeList::Shift 1'", {}, {"is taken"}},
        {"ravik copy recipeList::Bread recipeList::values", {}, {"reserved words"}},
        {"ravik copy 'recipeList::Shift 1' recipeList::X", {}, {"is a folder; its entries are copied one by one"}},
        {"ravik copy --domain Mixer variables::Speed variables::X", {}, {"neither a recipe nor a recipe type"}},
        // save
        {"ravik save", {}, {"ravik save RECIPE"}, 2},
        {"ravik save Bred", {}, {"nothing was saved", "there is no recipe 'Bred'; did you mean 'Bread'"}},
        {"ravik save Bread --as Pizza", {}, {"Pizza exists already; --force replaces it"}},
        {"ravik save Bread --as values", {}, {"reserved words"}},
        // tables
        {"ravik export --csv Nothing", {}, {"recipeTypeList::Nothing: there is no such recipe type"}},
        {"ravik export --csv Doughs", {}, {"recipeTypeList::Doughs: this is no recipe type"}},
        {"ravik export --csv Dough ravik.json", {}, {"ravik.json: the file exists already; --force"}},
        {"ravik export --excel", {}, {"--excel is a form of tables: export --csv TYPE --excel"}, 2},
        {"ravik import --csv Dough nothing.csv", {}, {"nothing.csv: can't be read: No such file"}},
        {"ravik import --csv Dough --replace mixed", {}, {"it can't be the whole configuration (--replace)"}, 2},
        {"ravik import --csv Dough mixed",
         {},
         {"ARRAY_RANGE_MISMATCH: mixed:3:1: recipeList::Pizza;2: the row ends with cell 1; the first row has 2"}},
        {"ravik import --csv Dough --dry-run mixed", {}, {"mixed:3:1: recipeList::Pizza;2: the row"}},
        {"ravik import --csv Sour mixed", {}, {"mixed:2:1: recipeList::Bread: this is a recipe of the type \"Dough\""}},
        {"ravik import --csv Dough recipes.json", {}, {"recipes.json:1:1: the first row names the columns"}},
        {table("recipe,Speed\\nBread,x\\n"), {}, {"standard input:2:7: recipeList::Bread::values::Speed: \"x\" is"}},
        {table("recipe,Sped\\n"), {}, {R"(standard input:1:8: the recipe type "Dough" has no member "Sped")"}},
        // completion
        {"ravik completion fish", {}, {"for bash and for zsh, not for 'fish'"}, 2},
    });
    shell.expect({"ravik export | cmp - before && ls", {"before\nmixed\nravik.db\nravik.json\nrecipes.json\n"}});
}

TEST(Handling, lists_saves_and_moves_tables)
{
    Shell const shell;
    make_sample(shell);
    shell.expect_all({
        {"ravik list",
         {"\nrecipeTypeList  folder       3 recipe types\n  Dough         recipe type  3 recipes\n",
          "\n    Bread       recipe       Dough\n", "3 recipe types and 3 recipes."}},
        {"ravik list 'recipeList::Shift 1'", {"\nShift 1  folder  1 recipe\n  Bread  recipe  Dough\n"}},
        {"ravik list recipeList::Bread --json", {R"("rows":[{"path":"recipeList::Bread","kind":"recipe")"}},
        {"ravik list --match SHIFT", {"0 recipe types and 1 recipe of this kind"}},
        {"ravik list --type Dough", {"2 recipe types and 3 recipes of this kind"}},
        {"ravik list --type Sour", {"\n  Sour          recipe type  0 recipes\n1 recipe type and 0 recipes of"}},
        // What agrees stays as it is.
        {"ravik activate Bread && ravik save Bread", {"Saved Bread: 0 values changed, 3 as stored."}},
        {"ravik symbol set Mixer.Speed 99 && ravik save Bread --as N::New", {"Speed", "120.0", "1 value changed"}},
        {"ravik get recipeList::N::New::values::Speed; ravik get recipeList::Bread::values::Speed", {"99.0\n120.0"}},
        {"ravik save Bread --note trial --json && ravik history --limit 1",
         {R"({"counts":{"saved":1,"same":2},"rows":[{"symbol":"Mixer.Product")", "trial"}},
        {"ravik save Pizza --as Bread --force && ravik get recipeList::Bread::values", {"\"Temperature\": 24.0"}},
        {R"(sed -i.old 's/"MAPPING": "Speed"/"MAPPING": "Nix"/' ravik.json; ravik save Bread)",
         {},
         {"nothing was saved\nerror: Mixer.Speed: "}},
        {"mv ravik.json.old ravik.json; ravik export --csv Dough --excel t.csv", {"Exported the recipes of Dough to"}},
        {"ravik import --csv Dough t.csv", {"Imported 0 new recipes, 0 changed, 4 as before."}},
        {"sed 's/^Bread;/Rye;/' t.csv | ravik import --csv Dough -", {"Imported 1 new recipe, 0 changed, 3 as"}},
        {"sed 's/;99.0/;98/' t.csv | ravik import --dry-run --csv Dough -", {"Nothing speaks against"}},
        {"ravik --json import --csv Dough t.csv", {R"("value":{"new":0,"changed":0,"same":4})"}},
        {"ravik get recipeList::Rye && ravik export --csv Dough | grep ^Rye", {"480", "Rye,"}},
    });
}

TEST(Completion, knows_the_line_and_the_project)
{
    Shell const shell;
    make_sample(shell);
    struct Case
    {
        char const* line;
        char const* continuations;
    };
    for (auto const& each : {
             Case{"ravik sav", "save\n"},
             Case{"ravik store ", "check\nbackup\nrestore\nrepair\n"},
             Case{"ravik export --",
                  "--project\n--domain\n--wait\n--trust\n--force\n--csv\n--excel\n--json\n--help\n--version\n"},
             Case{"ravik activate ", "Bread\nPizza\nShift\\ 1::Bread\n"},
             Case{"ravik activate Shift\\ 1::", "Bread\n"},
             Case{"ravik activate 'Sh", "Shift 1::Bread\n"},
             Case{"ravik --json export --csv S", "Sour\n"},
             Case{"ravik copy recipeList::Pizza recipeT", "recipeTypeList\nrecipeTypeList::Dough\n"
                                                          "recipeTypeList::Doughs\nrecipeTypeList::Doughs::Rye\n"
                                                          "recipeTypeList::Sour\n"},
             Case{"ravik symbol get Mixer.Speed Mixer.T", "Mixer.Temperature\n"},
             Case{"ravik --domain M", "Mixer\n"},
             Case{"ravik call Get", "GetRecipes\nGetActiveRecipes\n"},
             Case{"ravik history show ", "4\n3\n2\n1\n"},
             Case{"ravik import ", ""},
             Case{"ravik nonsense ", ""},
             Case{"ravik --project nowhere activate ", ""},
         })
    {
        SCOPED_TRACE(each.line);
        shell.write("line", each.line);
        EXPECT_EQ(shell.run("ravik completion bash \"$(cat line; printf x)\" >/dev/null").status, 0);
        EXPECT_EQ(shell.run(R"(line=$(cat line; printf x); ravik completion bash "${line%x}")").out,
                  each.continuations);
    }
    shell.expect({R"(bash -c 'source <(ravik completion bash); COMP_LINE="ravik activate Piz" COMP_POINT=18
                  _ravik ravik; echo "${COMPREPLY[@]}"')",
                  {"Pizza\n"}});
    shell.expect({"ravik completion zsh 'ravik activate Sh'", {"Shift 1::Bread\n"}});
    // The page tells of every command.
    auto const page = shell.run("ravik help --man").out;
    EXPECT_NE(page.find("\n.SS import FILE\n"), std::string::npos);
    EXPECT_NE(page.find("\n.SS store backup FILE\n"), std::string::npos);
    shell.expect(
        {"ravik help --man >page; ! command -v groff >/dev/null || groff -k -man -ww -Tutf8 page 2>&1 >/dev/null"});
}

} // namespace

} // namespace Ravik::Test
