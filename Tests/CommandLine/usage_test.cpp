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
        {"ravik help", 0, {"Usage: ravik", "symbol get NAME…", "--project DIR", "Exit status"}},
        {"ravik -h", 0, {"Usage: ravik [--project DIR]"}},
        {"ravik help symbol", 0, {"ravik symbol get NAME…", "ravik symbol set NAME JSON"}},
        {"ravik export --help", 0, {"ravik export [FILE]", "Examples:", "--force"}},
        {"ravik symbol set --help", 0, {"ravik symbol set Mixer.Speed 120"}},
        {"ravik --version", 0, {"ravik 1"}},
        {"ravik", 2, {}, {"no command", "ravik help"}},
        {"ravik actvate X", 2, {}, {"unknown command 'actvate'", "'activate'"}},
        {"ravik mv a b", 2, {}, {"unknown command 'mv'; 'rename'"}},
        {"ravik rm a", 2, {}, {"unknown command 'rm'; 'delete'"}},
        {"ravik ls", 2, {}, {"unknown command 'ls'; 'get'", "'recipes'"}},
        {"ravik update", 2, {}, {"either recipes, --type TYPE or --all"}},
        {"ravik update --all R", 2, {}, {"either recipes, --type TYPE or --all"}},
        {"ravik help imprt", 2, {}, {"unknown command 'imprt'", "'import'"}},
        {"ravik symbol gte X", 2, {}, {"unknown command 'symbol gte'", "'symbol get'"}},
        {"ravik symbol", 2, {}, {"symbol get, symbol set"}},
        {"ravik --jsno get", 2, {}, {"unknown option --jsno", "--json"}},
        {"ravik get --force", 2, {}, {"'get' takes no option --force"}},
        {"ravik activate --domain X Y", 2, {}, {"'activate' takes no option --domain"}},
        {"ravik get --domain A --domain=B", 2, {}, {"--domain is given twice"}},
        {"ravik get --project", 2, {}, {"--project DIR"}},
        {"ravik get --project --force", 2, {}, {"--project needs a value"}},
        {"ravik get --project=", 2, {}, {"not empty"}},
        {"ravik get --help=yes", 2, {}, {"--help takes no value"}},
        {"ravik --wait soon get", 2, {}, {"seconds", "'soon'"}},
        {"ravik --wait -5 get", 2, {}, {"seconds", "'-5'"}},
        {"ravik --wait 1s get", 2, {}, {"seconds", "'1s'"}},
        {"ravik activate", 2, {}, {"ravik activate RECIPE"}},
        {"ravik symbol get", 2, {}, {"ravik symbol get NAME…"}},
        {"ravik symbol set A", 2, {}, {"ravik symbol set NAME JSON"}},
        {"ravik symbol set A -5 6", 2, {}, {"'6' is one too many"}},
        {"ravik get a -- --json", 2, {}, {"'--json' is one too many"}},
        {"ravik symbol set A Rye", 2, {}, {"'Rye' is not JSON", R"('"Rye"')"}},
        {R"(ravik symbol set A "it's")", 2, {}, {R"('"it'\''s"')"}},
        {"ravik symbol set A null", 2, {}, {"null is no value"}},
        {R"(ravik call F '{"a": }')", 2, {}, {"not JSON (1:7: "}},
        {R"~(ravik get "$(printf '\377')")~", 2, {}, {"'\\xff' is not valid UTF-8"}},
        {R"~(ravik --project "$(printf '\377')" get)~", 2, {}, {"the value of --project, '\\xff', is not valid UTF-8"}},
        {R"(printf '"\377"' | ravik import -)", 1, {}, {"standard input:1:2: the text is not valid UTF-8"}},
        {R"~(ravik get "$(printf 'a\033[31m')" b)~", 2, {}, {"one too many"}},
        {R"~(ravik "$(printf 'a\033[31m')")~", 2, {}, {"'a\\x1b[31m'"}},
        {"ravik --project=nowhere get", 3, {}, {"nowhere"}},
        {"ravik symbols", 3, {}, {"ravik.json"}},
        {"ravik import nothing.json", 1, {}, {"nothing.json: can't be read: No such file"}},
        {"ravik import .", 1, {}, {"can't be read"}},
        {"ravik export .", 1, {}, {"is a folder"}},
        {R"(printf '{\n "a": 1,\n x}' | ravik import -)", 1, {}, {"standard input:3:2: "}},
        {"printf '[1' >broken.json; ravik import broken.json", 1, {}, {"broken.json:1:3: "}},
    });
    // A failure before the project is opened leaves nothing behind.
    EXPECT_FALSE(std::filesystem::exists(shell.folder() / "ravik.db"));
}

TEST(Usage, output_that_cannot_be_written_fails_and_a_reader_that_goes_away_does_not)
{
    Shell const shell;
    shell.expect({"ravik help >/dev/full", 1, {}, {"standard output: No space left"}});
    shell.expect({"ravik help >&-", 1, {}, {"standard output"}});
    shell.expect({"ravik nonsense >/dev/full 2>&-", 2, {}, {}});
    shell.expect({"(ravik help; echo $? >&2) | true", 0, {}, {"0"}});
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
    shell.write("ravik.json", R"({"extensions": [
        {"domain": "RavikRecipeManagement", "library": "libRavikRecipeManagement.so"},
        {"domain": "D)" + text.substr(4) +
                                  R"(", "library": "libRavikSimulation.so",
         "configuration": {"variables": {"v": ""}}}],
        "symbols": {"v": {"DOMAIN": "D)" +
                                  text.substr(4) + R"("}}})");
    shell.write("recipes.json", R"({"recipeTypeList": {"T": {"members": {"m": {"symbol": "v", "enabled": true}}}},
        "recipeList": {"R)" + text + R"(": {"recipeTypeName": "T", "values": {"m": ")" +
                                    text + "\", \"" + text + "\": 1}}}}");
    shell.write("text", text.substr(4));
    std::string const argument = "\"x\ny$(cat text)\"";
    std::istringstream commands(
        "import recipes.json|get|export|activate R@|read R@|active|recipes T|recipes @|update --all|update @|symbols|"
        "symbol get v @|symbol set v '\"'@'\"'|set recipeList::@ 1|set recipeList::R@::values::@ 2|get @|check|call @|"
        "delete --dry-run recipeList::R@|rename recipeList::R@ recipeList::@|--domain @ get|--domain D$(cat text) get|"
        "@|symbol @|--@ get|--project @ get|--wait @ get|get a @|import @|export @|init @|help @");
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
    shell.expect({"ravik init 'my plant'", 0, {"my plant/ravik.json", "ravik --project 'my plant' import"}});
    shell.expect({"cd 'my plant' && cat .gitignore && ls -A", 0, {"ravik.db", "ravik.json", "recipes.json"}});
    shell.expect_both({
        {"ravik init 'my plant'", 1, {}, {"my plant/ravik.json", "exists already"}},
        {"ravik init a --project b", 2, {}, {"once"}},
        {"mkdir -p c && echo mine >c/recipes.json; ravik init c", 1, {}, {"c/recipes.json"}},
        {"echo x >file; ravik init file", 1, {}, {"file"}},
    });
    shell.expect({"ls -A c; cat c/recipes.json", 0, {"recipes.json\nmine\n"}});
    shell.expect_json({"ravik init new", 0, {}});
}

} // namespace

} // namespace Ravik::Test
