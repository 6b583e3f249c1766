#include "Project/ProjectFile.h"

#include "Schema/CompiledSchema.h"
#include "Support/TemporaryFolder.h"
#include "Support/api_types.h"
#include "Support/refusal.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Ravik::Test
{
namespace
{

ProjectFile read(std::string const& text)
{
    TemporaryFolder const folder;
    return read_project_file(RegularFile(folder.write("ravik.json", text), "the project file"));
}

/// Whether editors, by the schema that they are given, take the text for a project file.
bool fits_schema(std::string const& text)
{
    static auto const schema =
        CompiledSchema::compile(Json::parse(RegularFile(PROJECT_FILE_SCHEMA, "the schema").read()));
    EXPECT_STREQ(schema->error().text(), "");
    return schema->validate(Json::parse(text), "").result() == ErrorValue::SUCCESS;
}

TEST(ProjectFile, holds_extensions_and_symbols)
{
    auto const* const text = R"({
  "$schema": "https://localhost/ravik.schema.json",
  "extensions": [
    { "domain": "R", "library": "libR.so" }, { "domain": "Line", "library": "./lib/line.so", "configuration": { "variables": { "Speed": 0.0 } } }
  ],
  "symbols": {
    "Line.Speed": { "DOMAIN": "Line", "MAPPING": "Speed", "USEMAPPING": true,
                    "SCHEMA": { "$ref": "ravik:general#/definitions/REAL" } },
    "Own:1": { "DOMAIN": "RavikSrv", "USEMAPPING": false, "SCHEMA": false, "TOLERANCE": 0, "VERIFY": false }
  },
  "activation": { "verify": false },
  "history": { "keep": "2 weeks", "size": "1 GiB" },
  "service": { "listen": ["0.0.0.0:8420", "[::1]:0"], "tls": { "certificate": "c.pem", "key": "k.pem" },
               "names": ["line.example"], "proxy": ["10.0.0.1"], "group": "plant", "poll": "500 ms",
               "limits": { "body": "2 MiB", "userConnections": 7 } },
  "library": { "postgresql": "host=db1,db2 dbname=recipes passfile=p", "schema": "line_1" }
})";
    EXPECT_TRUE(fits_schema(text));
    auto const project = read(text);
    ASSERT_EQ(project.extensions.size(), 2U);
    EXPECT_EQ(project.extensions[0].domain, "R");
    EXPECT_EQ(project.extensions[1].shared_object, "./lib/line.so");
    EXPECT_EQ(project.extensions[1].configuration["variables"]["Speed"], Value(0.0));
    EXPECT_EQ(project.symbols.size(), 2U);
    EXPECT_EQ(project.symbols["Line.Speed"]["MAPPING"], Value("Speed"));
    EXPECT_EQ(project.history.keep, std::chrono::hours(14 * 24));
    EXPECT_EQ(project.history.size, 1U << 30U);
    EXPECT_TRUE(project.activation.capture);
    EXPECT_FALSE(project.activation.verify);
    ASSERT_EQ(project.service.listen.size(), 2U);
    EXPECT_EQ(project.service.listen[1].host, "::1");
    EXPECT_EQ(project.service.poll, std::chrono::milliseconds(500));
    EXPECT_EQ(project.service.limits.body, 2U << 20U);
    EXPECT_EQ(project.service.limits.user_connections, 7U);
    EXPECT_EQ(project.library,
              (LibrarySettings{.postgresql = "host=db1,db2 dbname=recipes passfile=p", .schema = "line_1"}));
    EXPECT_EQ(read(R"({"extensions": []})").symbols, Value(ValueType::Map));
    EXPECT_EQ(read(R"({"extensions": []})").library, std::nullopt);
    EXPECT_EQ(read(R"({"extensions": [], "library": {"postgresql": "dbname=r"}})").library->schema, "ravik");
    EXPECT_EQ(read(R"({"extensions": [], "history": {"size": "1 KiB"}})").history.keep, HistoryBounds().keep);
}

TEST(ProjectFile, tells_what_was_expected_where)
{
    auto const extension = [](std::string const& entry) { return "{\"extensions\": [\n {" + entry + "}]}"; };
    auto const domain = [&](std::string const& name)
    { return extension(R"("library": "x.so", "domain": ")" + name + "\""); };
    auto const symbols = [](std::string const& entries)
    {
        return R"({"extensions": [{"domain": "Line", "library": "x.so"}], "symbols": {)"
               "\n" +
               entries + "}}";
    };
    struct Case
    {
        std::string text;
        char const* place;
        char const* fragment;
        /// Whether a schema can tell too: the text is JSON, and the fault does not lie between several entries.
        bool by_schema = true;
    };
    std::vector<Case> const cases = {
        {"", "1:1", "empty", false},
        {"{\"extensions\": [\n]", "2:2", "ends before", false},
        {"{\"extensions\": [],\n\"extensions\": []}", "2:1", "twice", false},
        {R"({"$schema": 1, "extensions": []})", "1:2", R"("$schema" to be a text, found 1)"},
        {"[]", "1:1", "expected the project to be an object, found a list"},
        {"\n{}", "2:1", R"(the key "extensions" (a list), found none)"},
        {"{\"extensions\": [],\n \"symbol\\n\": {}}", "2:2",
         R"(keys "$schema", "extensions", "symbols", "activation", "history", "service", "library", found "symbol\n")"},
        {R"({"extensions": [], "history": "90 days"})", "1:20", R"("history" to be an object, found "90 days")"},
        {R"({"extensions": [], "history": {"kept": 1}})", "1:32", R"(keys "keep", "size", found "kept")"},
        {R"({"extensions": [], "service": {"listen": ["8420"]}})", "1:43", R"(such as "127.0.0.1:8420", found "8420")"},
        {R"({"extensions": [], "service": {"names": [""]}})", "1:42", R"(expected a text, found "")"},
        {R"({"extensions": [], "service": {"poll": "1 day"}})", "1:32", R"(such as "1 s" or "500 ms", found "1 day")"},
        {R"({"extensions": [], "service": {"tls": {"key": "k"}}})", "1:32", R"(the key "certificate" (a text))"},
        {R"({"extensions": [], "service": {"limits": {"connections": 0}}})", "1:43", "whole number above 0"},
        {R"({"extensions": [], "history": {"size": "256 MB"}})", "1:32", R"(such as "256 MiB", found "256 MB")"},
        {R"({"extensions": [], "activation": {"verify": 1}})", "1:35",
         R"(expected "verify" to be true or false, found 1)"},
        {R"({"extensions": [], "activation": {"Verify": true}})", "1:35",
         R"(keys "capture", "verify", found "Verify")"},
        {R"({"extensions": [], "library": {"schema": "ravik"}})", "1:20",
         R"(the key "postgresql" (a text), found none)"},
        {R"({"extensions": [], "library": {"postgresql": ""}})", "1:32", ""},
        {R"({"extensions": [], "library": {"postgresql": "dbname=r password=s"}})", "1:32", "password", false},
        {R"({"extensions": [], "library": {"postgresql": "dbname=r", "schema": ""}})", "1:58", "1 to 63 bytes"},
        {R"({"extensions": [], "library": {"postgresql": "dbname=r", "schema": "pg_1"}})", "1:58", "PostgreSQL's own",
         false},
        {R"({"extensions": [], "library": {"postgresql": "dbname=r", "table": "t"}})", "1:58",
         R"(keys "postgresql", "schema", found "table")"},
        {symbols(R"("S": {"DOMAIN": "Line", "VERIFY": 0})"), "2:25", R"("VERIFY" to be true or false)"},
        {symbols(R"("S": {"DOMAIN": "Line", "TOLERANCE": -0.5})"), "2:25",
         "0 or more, in the symbol's unit, found -0.5"},
        {R"({"extensions": ["a.so"]})", "1:17", R"(expected an extension to be an object, found "a.so")"},
        {extension(R"("domain": "A", "library": "")"), "2:18", "empty"},
        {extension(R"("domain": "A", "library": "x", "configuration": [1])"), "2:34", "an object, found a list"},
        {extension(R"("domain": "A", "Library": "x")"), "2:18",
         R"(one of the keys "domain", "library", "configuration", found "Library")"},
        {domain(""), "2:22", "empty"},
        {domain("A::B"), "2:22", R"(without "::", found "A::B")"},
        {domain("RavikSrv"), "2:22", "the server's"},
        {"{\"extensions\": [{\"domain\": \"A\", \"library\": \"x\"},\n{\"domain\": \"A\", \"library\": \"y\"}]}", "2:2",
         "each domain once", false},
        {symbols(R"("S": {})"), "2:1", R"(the key "DOMAIN" (a text))"},
        {symbols(R"("S": {"DOMAIN": "Lin"})"), "2:7", R"("RavikSrv" or an extension's domain ("Line"), found "Lin")",
         false},
        {symbols(R"("S": {"DOMAIN": "Line", "USEMAPPING": "true"})"), "2:25", R"("USEMAPPING" to be true or false)"},
        {symbols(R"("": {"DOMAIN": "Line"})"), "2:1", "have a name"},
        {symbols(R"("a::b": {"DOMAIN": "Line"})"), "2:1", R"(without "::", found "a::b")"},
    };
    for (auto const& [text, place, fragment, by_schema] : cases)
    {
        SCOPED_TRACE(text);
        auto const message = refusal([text = text] { read(text); });
        EXPECT_NE(message.find(std::string("ravik.json:") + place + ": "), std::string::npos) << message;
        EXPECT_NE(message.find(fragment), std::string::npos) << message;
        EXPECT_TRUE(!by_schema || !fits_schema(text));
        EXPECT_EQ(message.find('\n'), std::string::npos) << message;
    }
    EXPECT_NE(refusal([] { RegularFile("missing.json", "the project file"); }), "");
    EXPECT_NE(refusal([] { RegularFile(".", "the project file"); }).find("no regular file"), std::string::npos);
}

} // namespace
} // namespace Ravik::Test
