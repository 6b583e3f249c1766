#include "CommandLine/Shell.h"

#include <boost/algorithm/string/replace.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <sstream>
#include <string_view>

namespace Ravik::Test
{

namespace
{

TEST(Usage, needs_no_project_and_has_the_same_status_with_json)
{
    Shell const shell;
    shell.expect_both({
        {"ravik help", {"Usage: ravik", "symbol get NAME…", "--project DIR", "Exit status"}},
        {"ravik --version", {"ravik 1"}},
        {"ravik", {}, {"no command", "ravik help"}, 2},
        {"ravik actvate X", {}, {"unknown command 'actvate'", "'activate'"}, 2},
        {"ravik ls", {}, {"unknown command 'ls'; 'list'", "'recipes'"}, 2},
        {"ravik update", {}, {"either recipes, --type TYPE or --all"}, 2},
        {"ravik --jsno get", {}, {"unknown option --jsno", "--json"}, 2},
        {"ravik get --domain A --domain=B", {}, {"--domain is given twice"}, 2},
        {"ravik --wait soon get", {}, {"seconds", "'soon'"}, 2},
        {"ravik symbol set A -5 6", {}, {"'6' is one too many"}, 2},
        {"ravik get a -- --json", {}, {"'--json' is one too many"}, 2},
        {"ravik symbol set A Rye", {}, {"'Rye' is not JSON", R"('"Rye"')"}, 2},
        {"ravik symbol set A null", {}, {"null is no value"}, 2},
        {R"(ravik call F '{"a": }')", {}, {"not JSON (1:7: "}, 2},
        {R"~(ravik get "$(printf '\377')")~", {}, {"'\\xff' is not valid UTF-8"}, 2},
        {R"~(ravik --project "$(printf '\377')" get)~", {}, {"the value of --project, '\\xff', is not valid UTF-8"}, 2},
        {R"(printf '"\377"' | ravik import -)", {}, {"standard input:1:2: the text is not valid UTF-8"}},
        {R"~(ravik "$(printf 'a\033[31m')")~", {}, {"'a\\x1b[31m'"}, 2},
        {"ravik --project=nowhere get", {}, {"nowhere"}, 3},
        {"ravik export .", {}, {"is a folder"}},
        {R"(printf '{\n "a": 1,\n x}' | ravik import -)", {}, {"standard input:3:2: "}},
        {"printf '[1' >broken.json; ravik import broken.json", {}, {"broken.json:1:3: "}},
    });
    // A failure before the project is opened leaves nothing behind.
    EXPECT_FALSE(std::filesystem::exists(shell.folder() / "ravik.db"));
}

TEST(Usage, output_that_cannot_be_written_fails_and_a_reader_that_goes_away_does_not)
{
    Shell const shell;
    shell.expect({"ravik help >/dev/full", {}, {"standard output: No space left"}});
    shell.expect({"ravik help >&-", {}, {"standard output"}});
    shell.expect({"ravik nonsense >/dev/full 2>&-", {}, {}, 2});
    shell.expect({"(ravik help; echo $? >&2) | true", {}, {"0"}, 0});
}

/// What no terminal may get: an escape, a C1 control, direction and other invisible marks, line ends of every kind.
// NOLINTBEGIN(misc-misleading-bidirectional): what is tried
constexpr std::array<std::string_view, 9> hidden{"\x1b",         "\x7f",         "\xc2\x9b",
                                                 "\xd8\x9c",     "\xe2\x80\x8f", "\xe2\x80\xa8",
                                                 "\xe2\x80\xae", "\xe2\x81\xa6", "\xef\xbb\xbf"};
// NOLINTEND(misc-misleading-bidirectional)

TEST(Terminal, gets_no_control_character_of_any_input)
{
    Shell const shell;
    std::string text = "x\\ny";
    for (auto const mark : hidden)
    {
        text += mark;
    }
    // JSON has no escape as it is.
    auto const written = boost::replace_all_copy(text, "\x1b", "\\u001b");
    shell.write("ravik.json", R"({"extensions": [
        {"domain": "RavikRecipeManagement", "library": "libRavikRecipeManagement.so"},
        {"domain": "D)" + written.substr(4) +
                                  R"(", "library": "libRavikSimulation.so",
         "configuration": {"variables": {"v": ""}}}],
        "symbols": {"v": {"DOMAIN": "D)" +
                                  written.substr(4) + R"(", "SCHEMA": {"type": "string"}}}})");
    shell.write("recipes.json", R"({"recipeTypeList": {"T": {"members": {"m": {"symbol": "v", "enabled": true}}}},
        "recipeList": {"R)" + written +
                                    R"(": {"recipeTypeName": "T", "values": {"m": ")" + written + "\", \"" + written +
                                    "\": 1}}}}");
    shell.expect({"ravik import recipes.json", {"Imported 1 recipe type and 1 recipe"}});
    shell.write("text", text.substr(4));
    std::string const argument = "\"x\ny$(cat text)\"";
    std::istringstream commands(
        "import recipes.json|get|export|activate R@|read R@|active|recipes T|recipes @|update --all|update @|symbols|"
        "symbol get v @|symbol set v '\"'@'\"'|set recipeList::@ 1|set recipeList::R@::values::@ 2|get @|check|call @|"
        "delete --dry-run recipeList::R@|rename recipeList::R@ recipeList::@|--domain @ get|--domain D$(cat text) get|"
        "set recipeList::R@::note 1 --note @|history|history show 2|revert 2 --note @|history --recipe @|history "
        "--since @|revert @|list|list --match @|list @|copy recipeList::R@ recipeList::C@|save R@|save R@ --as "
        "S@|export "
        "--csv @|import --csv T text|import --csv T @|completion bash 'ravik activate '|completion @|@|symbol @|--@ "
        "get|--project @ get|--wait @ get|get a @|import @|export @|init @|help @");
    for (std::string line; std::getline(commands, line, '|');)
    {
        auto const command = boost::replace_all_copy(line, "@", argument);
        for (auto const* const form : {"", "--json "})
        {
            SCOPED_TRACE(form + line);
            auto const ended = shell.run("ravik " + (form + command));
            auto const shown = ended.out + ended.err;
            EXPECT_FALSE(shown.empty());
            EXPECT_EQ(shown.find("x\ny"), std::string::npos) << shown;
            EXPECT_TRUE(std::none_of(hidden.begin(), hidden.end(),
                                     [&](std::string_view mark) { return shown.find(mark) != std::string::npos; }))
                << shown;
        }
    }
}

TEST(Init, writes_the_sample_once_and_never_overwrites)
{
    Shell const shell;
    shell.expect({"ravik init 'my plant'", {"my plant/ravik.json", "ravik --project 'my plant' import"}});
    shell.expect({"cd 'my plant' && cat .gitignore && ls -A", {"ravik.db", "ravik.json", "recipes.json"}});
    shell.expect_both({
        {"ravik init 'my plant'", {}, {"my plant/ravik.json", "exists already"}},
        {"ravik init a --project b", {}, {"once"}, 2},
        {"mkdir -p c && echo mine >c/recipes.json; ravik init c", {}, {"c/recipes.json"}},
        {"echo x >file; ravik init file", {}, {"file"}},
    });
    shell.expect({"ls -A c; cat c/recipes.json", {"recipes.json\nmine\n"}});
    shell.expect_json({"ravik init new"});
}

} // namespace

} // namespace Ravik::Test
