#include "commands.h"

#include "History/shell_word.h"

namespace Ravik::CommandLine
{

namespace
{

/// Writes the sample. That it can't be made is not the same as a project that can't be opened.
std::vector<std::filesystem::path> make_sample(std::string const& directory)
{
    try
    {
        return create_sample_project(directory);
    }
    catch (ProjectError const& error)
    {
        throw Failure(RavikSrv::ErrorValue::FILE_WRITE, error.what());
    }
}

void print_next_steps(std::string const& directory, Output& output)
{
    auto const ravik = "  ravik" + (directory == "." ? "" : " --project " + shell_word(directory)) + ' ';
    auto const recipes = (std::filesystem::path(directory) / "recipes.json").lexically_normal().string();
    output.print("");
    output.print("Next steps:");
    output.print(ravik + "import " + shell_word(recipes));
    output.print(ravik + "activate Bread");
    output.print(ravik + "symbols");
    output.print("They bring the recipes into the project, write one to the simulated controller, and show what stands "
                 "there then.");
}

} // namespace

Answer init(Invocation& invocation)
{
    auto const operands = invocation.operands();
    if (!operands.empty() && invocation.has(Option::project))
    {
        throw UsageError("init takes the folder once: as DIR or with --project");
    }
    auto const directory = operands.empty() ? invocation.directory() : operands[0];
    Answer answer;
    answer.value.set_type(RavikSrv::ValueType::Vector);
    auto const files = make_sample(directory);
    invocation.output().print("Wrote a sample project:");
    for (auto const& file : files)
    {
        auto const name = file.lexically_normal().string();
        invocation.output().print("  " + name);
        answer.value << RavikSrv::Value(std::string_view(name));
    }
    print_next_steps(directory, invocation.output());
    return answer;
}

} // namespace Ravik::CommandLine
