#include "CommandLine/Shell.h"

#include "Json/Json.h"

#include "Support/api_types.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sys/wait.h>

namespace Ravik::Test
{

namespace
{

namespace fs = std::filesystem;

fs::path temporary_folder()
{
    auto pattern = (fs::temp_directory_path() / "ravik-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
    {
        throw std::runtime_error("no temporary folder");
    }
    return pattern;
}

std::string content(fs::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void expect_fragments(char const* name, std::string const& text, std::vector<std::string> const& fragments)
{
    EXPECT_EQ(text.empty(), fragments.empty()) << name << ": " << text;
    for (auto const& fragment : fragments)
    {
        EXPECT_NE(text.find(fragment), std::string::npos) << name << " lacks: " << fragment << "\nit is: " << text;
    }
}

} // namespace

Shell::Shell() : m_folder(temporary_folder()), m_streams(temporary_folder())
{
}

Shell::~Shell()
{
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
    fs::remove_all(m_streams, ignored);
}

Ended Shell::run(std::string const& line) const
{
    auto const streams = m_streams.string();
    // The line stands in a file of its own, so that it needs no quoting here.
    std::ofstream(m_streams / "line") << "PATH=" RAVIK_PROGRAM_FOLDER ":$PATH\ncd " << m_folder.string() << '\n'
                                      << line << '\n';
    auto const command = "sh " + streams + "/line >" + streams + "/out 2>" + streams + "/err </dev/null";
    auto const ended = std::system(command.c_str());
    return {WIFEXITED(ended) ? WEXITSTATUS(ended) : -1, content(m_streams / "out"), content(m_streams / "err")};
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

void Shell::write(std::string const& file, std::string const& text) const
{
    std::ofstream(m_folder / file, std::ios::binary) << text;
}

std::string Shell::read(std::string const& file) const
{
    return content(m_folder / file);
}

} // namespace Ravik::Test
