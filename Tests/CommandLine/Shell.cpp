#include "CommandLine/Shell.h"

#include "Json/Json.h"

#include "Support/api_types.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sys/wait.h>

namespace Ravik::Test
{

namespace
{

void expect_fragments(char const* name, std::string const& text, std::vector<std::string> const& fragments)
{
    EXPECT_EQ(text.empty(), fragments.empty()) << name << ": " << text;
    for (auto const& fragment : fragments)
    {
        EXPECT_NE(text.find(fragment), std::string::npos) << name << " lacks: " << fragment << "\nit is: " << text;
    }
}

} // namespace

Ended Shell::run(std::string const& line) const
{
    auto const streams = m_streams.path().string();
    // The line stands in a file of its own, so that it needs no quoting here.
    m_streams.write("line", "PATH=" RAVIK_PROGRAM_FOLDER ":$PATH\ncd " + folder().string() + "\n" + line + "\n");
    auto const command = "sh " + streams + "/line >" + streams + "/out 2>" + streams + "/err </dev/null";
    auto const ended = std::system(command.c_str());
    return {WIFEXITED(ended) ? WEXITSTATUS(ended) : -1, content_of(streams + "/out"), content_of(streams + "/err")};
}

void Shell::expect(Line const& line) const
{
    SCOPED_TRACE(line.text);
    auto const ended = run(line.text);
    EXPECT_EQ(ended.status, line.status) << ended.err;
    expect_fragments("standard output", ended.out, line.out);
    expect_fragments("standard error", ended.err, line.err);
}

void Shell::expect_json(Line const& line) const
{
    auto text = line.text;
    text.insert(text.find("ravik") + 5, " --json");
    SCOPED_TRACE(text);
    auto const ended = run(text);
    EXPECT_EQ(ended.status, line.status) << ended.err;
    expect_fragments("standard error", ended.err, line.err);
    try
    {
        auto const object = Json::parse(ended.out);
        std::vector<std::string> keys;
        for (auto entry = object.begin(); entry != object.end(); ++entry)
        {
            keys.emplace_back(entry.name());
        }
        EXPECT_EQ(keys, (std::vector<std::string>{"result", "name", "text", "value"})) << ended.out;
        Value const& root = object;
        EXPECT_EQ(root["result"].get_int64() == 0, line.status == 0) << ended.out;
        EXPECT_FALSE(root["name"].empty()) << ended.out;
    }
    catch (Json::ParseError const& error)
    {
        ADD_FAILURE() << error.what() << ": " << ended.out;
    }
}

void Shell::expect_all(std::vector<Line> const& lines) const
{
    for (auto const& line : lines)
    {
        expect(line);
    }
}

void Shell::expect_both(std::vector<Line> const& lines) const
{
    for (auto const& line : lines)
    {
        expect(line);
        expect_json(line);
    }
}

} // namespace Ravik::Test
