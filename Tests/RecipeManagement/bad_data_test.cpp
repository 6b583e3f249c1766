#include "Fixture.h"

#include <gtest/gtest.h>

#include <ctime>

using namespace Ravik::Test;

namespace
{

/// What an extension that has been told of every entry answers to a request.
struct Plant : RecipeManagementFixture
{
    std::string activated() { return outcome(); }

    std::string active()
    {
        auto const command = extension.call("GetActiveRecipes", Value());
        return told(command) + " | " + text_of(command.read_value());
    }

    std::string listed()
    {
        auto const command = extension.call("GetRecipes", parameters("recipeTypePath", "P0"));
        return told(command) + " | " + std::to_string(command.read_value().size());
    }

    std::string changed_recipe() { return changed("recipeList", "R", "recipe"); }
    std::string changed_type() { return changed("recipeTypeList", "U", "recipeType"); }

private:
    std::string changed(std::string const& list, char const* name, char const* type)
    {
        Value entry = host.configuration[domain][list.c_str()][name];
        return told(extension.changes().before_change(extension.context(), (list + "::" + name).c_str(), entry, type));
    }
};

/// Of processor time for one request, in seconds, where without their bounds these would take hours: about a second,
/// with room for slow machines.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr double limit = 20;
#else
constexpr double limit = 2;
#endif

} // namespace

TEST(BadData, neither_stalls_nor_exhausts_a_request)
{
    std::string const too_large = " | ACTIVATING_FAILED | Server: REQUEST_TOO_LARGE";
    auto const* const nests_thrice = "T# { a>T* b>T* c>T* } ";
    auto const thrice = repeated(19, nests_thrice);
    auto const twice = repeated(16, "T# { a>T* b>T* } ") + "T16 { a:A }";
    auto const nests = "T { " + repeated(40, "n#>U ") + " b:B=1 } U { a:A a7:A a39:B }";
    auto const inherit_all = repeated(30, "T#(" + repeated(30, "T#,") + ") { a:A } ");
    auto const names_all = repeated(40, "R#:T { " + repeated(40, "n#=R# ") + "a#=# } ");
    // A type that is walked anew for each of many others, and has much to look at and little to bring.
    auto const contexts = "T(" + repeated(3000, "N#,") + ") { } " + repeated(3000, "N# { s:A>X } ") + "X { a:A " +
                          repeated(3000, "n#>E ") + "} E { }";
    struct Case
    {
        char const* about;
        std::string types;
        std::string recipes;
        std::string (Plant::*request)();
        std::string outcome;
    };
    std::vector<Case> const cases = {
        {"names itself", nests, "R:T { n0=R n1=R n2=R n3=R n4=R a=1 }", &Plant::activated,
         "Line[A=1 B=1] RavikSrv[] | SUCCESS | "},
        {"name each other", nests, names_all + "R:T { n0=R0 }", &Plant::activated,
         "Line[A=7 B=39] RavikSrv[] | SUCCESS | "},
        {"a symbol for each way", thrice + "T19 { a:A }", "R:T0 { }", &Plant::activated, too_large},
        {"many ways and no symbol", thrice + "T19 { }", "R:T0 { }", &Plant::activated, "RavikSrv[] | SUCCESS | "},
        {"many contexts", contexts, "R:T { }", &Plant::activated, too_large},
        {"many ways to a disabled type", repeated(12, nests_thrice) + "T12! { z:A=1 }", "R:T0 { }", &Plant::activated,
         "Line[] RavikSrv[] | SUCCESS | "},
        {"inherit each other", inherit_all, "R:T0 { }", &Plant::activated, " | ACTIVATING_FAILED | Server: "},
        {"inherited in many ways", repeated(15, "T#(T*,T*) { } ") + "T15 { a:A=1 }", "R:T0 { }", &Plant::activated,
         "Line[A=1] RavikSrv[] | SUCCESS | "},
        {"active in many ways", twice, "R:T0 { a=1 }", &Plant::active, "SUCCESS |  | R"},
        {"names itself many times", "T { a:A }", "R:T { a=1 " + repeated(16, "n#=recipeList::R ") + "}", &Plant::active,
         "RECURSION |  | "},
        {"many heirs", "P0 { } " + repeated(16, "P*(P#,P#) { } "), "A:P16 { } B:P0 { }", &Plant::listed,
         "SUCCESS |  | 65537"},
        {"a change with a symbol for each way", thrice + "T19 { a:A }", "R:T0 { }", &Plant::changed_recipe,
         "REQUEST_TOO_LARGE | REQUEST_TOO_LARGE"},
        {"a change of what inherits itself", inherit_all, "R:T0 { }", &Plant::changed_recipe, "RECURSION | "},
        {"a type above those that inherit each other", inherit_all + "U(T0,T1,T2,T3,T4) { n>V }", "",
         &Plant::changed_type, "SUCCESS | "},
    };
    for (auto const& [about, types, recipes, request, outcome] : cases)
    {
        SCOPED_TRACE(about);
        Plant plant;
        plant.configure(types, recipes);
        plant.announce();
        plant.host.symbols["A"] = 1;
        auto const start = std::clock();
        EXPECT_EQ((plant.*request)(), outcome);
        auto const seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        EXPECT_LT(seconds, limit);
    }
}
