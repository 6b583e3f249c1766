#include "Json/Document.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Ravik::Json
{

namespace
{

TEST(JsonDocument, LocatesKeysAndElements)
{
    Document const document(R"(
{
  "ä": "}]\"\\", "list": [ 10, [], {"x": -1.5e3, "s\u0061me": {"deep": null}}, "last" ],
  "end": true
}
)");
    EXPECT_EQ(document.value()["list"][2]["same"].size(), 1U);
    struct Case
    {
        std::vector<std::string> path;
        Location location;
    };
    std::vector<Case> const cases = {
        {{}, {2, 1}},
        {{"ä"}, {3, 3}},
        {{"list"}, {3, 18}},
        {{"list", "0"}, {3, 28}},
        {{"list", "1"}, {3, 32}},
        {{"list", "2"}, {3, 36}},
        {{"list", "2", "same", "deep"}, {3, 64}},
        {{"list", "3"}, {3, 80}},
        {{"end"}, {4, 3}},
        // where the path leads nowhere, the deepest place on it
        {{"none"}, {2, 1}},
        {{"list", "4"}, {3, 18}},
        {{"list", "x"}, {3, 18}},
        {{"list", "1", "0"}, {3, 32}},
        {{"end", "below"}, {4, 3}},
        {{"list", "2", "none", "x"}, {3, 36}},
    };
    for (auto const& [path, location] : cases)
    {
        auto const found = document.locate(path);
        EXPECT_EQ(found, location) << testing::PrintToString(path) << " at " << found.line << ":" << found.column;
    }
    EXPECT_EQ(Document(" 1").locate({"a"}), (Location{1, 2}));
    EXPECT_THROW(Document("[1"), ParseError);
}

} // namespace

} // namespace Ravik::Json
