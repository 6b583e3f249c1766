#include "Schema/input_form.h"

#include "Json/Json.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Ravik::Test
{
namespace
{

/// Single quotes stand for double ones.
std::string quoted(std::string text, char from, char to)
{
    std::replace(text.begin(), text.end(), from, to);
    return text;
}

TEST(InputForm, tells_what_all_schemas_together_let_through)
{
    struct Case
    {
        char const* name;
        std::vector<std::string> schemas;
        std::string form;
    };
    for (auto const& each : std::vector<Case>{
             {"nothing", {}, "{'type':'other'}"},
             {"null, true and a broken one", {"null", "true", "{'type':'numbr'}"}, "{'type':'other'}"},
             {"the tightest bounds",
              {"{'type':'number','minimum':0,'maximum':300.0}", "{'minimum':-5,'maximum':12.5,'unit':'°C'}"},
              "{'type':'number','minimum':0,'maximum':12.5,'unit':'°C'}"},
             {"a definition and what stands beside it",
              {"{'$ref':'ravik:general#/definitions/INT','minimum':1}"},
              "{'type':'integer','minimum':1,'maximum':32767}"},
             {"an integer among numbers",
              {"{'type':'number','exclusiveMinimum':3,'exclusiveMaximum':8.5}", "{'type':['integer','null']}"},
              "{'type':'integer','minimum':4,'maximum':8.5}"},
             {"bounds of which one is exclusive",
              {"{'type':'number','minimum':3,'exclusiveMinimum':3}"},
              "{'type':'number','minimum':3}"},
             {"the end of all integers",
              {"{'type':'integer','exclusiveMinimum':9223372036854775807}"},
              "{'type':'integer','minimum':9223372036854775807}"},
             {"local references, in a circle of steps, and what is told twice",
              {"{'allOf':[{'$ref':'#/definitions/a'},{'$ref':'#/definitions/a'},{'minimum':2}],"
               "'definitions':{'a':{'type':'number','maximum':9,'unit':'bar','items':{'$ref':'#'}}}}"},
              "{'type':'number','minimum':2,'maximum':9,'unit':'bar'}"},
             {"the first unit", {"{'unit':'m/s'}", "{'unit':'km/h'}", "{'unit':3}"}, "{'type':'other','unit':'m/s'}"},
             {"texts",
              {"{'type':'string','maxLength':40}", "{'type':['string','number'],'maxLength':8,'minimum':3}"},
              "{'type':'string','maxLength':8}"},
             {"choices that fit both",
              {"{'enum':[1,2,3,null,'x']}", "{'type':'integer','enum':[3.0,2,7]}"},
              "{'type':'integer','choices':[2,3]}"},
             {"choices of several types", {"{'enum':[1,'x']}"}, "{'type':'other','choices':[1,'x']}"},
             {"no choice that fits", {"{'type':'string','enum':[1]}"}, "{'type':'string','choices':[]}"},
             {"a constant", {"{'const':true}"}, "{'type':'boolean','choices':[true]}"},
             {"no one type", {"{'type':['boolean','string'],'maxLength':3}"}, "{'type':'other'}"},
         })
    {
        std::vector<RavikSrv::Value> schemas;
        for (auto const& schema : each.schemas)
        {
            schemas.push_back(Json::parse(quoted(schema, '\'', '"')));
        }
        EXPECT_EQ(quoted(Json::write(Schema::input_form(schemas)), '"', '\''), each.form) << each.name;
    }
}

} // namespace
} // namespace Ravik::Test
