#include "Program.h"

#include <array>
#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ravik::Test
{

Program::Program(std::string const& command)
{
    std::vector<std::string> words;
    std::istringstream stream(command);
    for (std::string word; stream >> word;)
    {
        words.push_back(word);
    }
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (auto& word : words)
    {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);

    std::array<int, 2> input{};
    std::array<int, 2> output{};
    if (pipe2(input.data(), O_CLOEXEC) != 0 || pipe2(output.data(), O_CLOEXEC) != 0)
    {
        throw std::runtime_error("no pipe");
    }
    m_process = fork();
    if (m_process == 0)
    {
        dup2(input[0], STDIN_FILENO);
        dup2(output[1], STDOUT_FILENO);
        execv(arguments.front(), arguments.data());
        _exit(127);
    }
    close(input[0]);
    close(output[1]);
    m_input = input[1];
    m_output = output[0];
}

Program::~Program()
{
    close(m_input);
    close(m_output);
    waitpid(m_process, nullptr, 0);
}

std::string Program::read_line() const
{
    std::string line;
    for (char character = 0; read(m_output, &character, 1) == 1 && character != '\n';)
    {
        line.push_back(character);
    }
    return line;
}

std::string output_of(std::string const& line)
{
    auto* const stream = popen((line + " 2>&1").c_str(), "r");
    std::string output;
    std::array<char, 4096> buffer{};
    while (stream != nullptr && fgets(buffer.data(), static_cast<int>(buffer.size()), stream) != nullptr)
    {
        output += buffer.data();
    }
    auto const status = stream == nullptr ? -1 : pclose(stream);
    return status == 0 ? output : output + "exit status " + std::to_string(WEXITSTATUS(status));
}

} // namespace Ravik::Test
