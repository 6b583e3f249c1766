#pragma once

#include <string>

#include <sys/types.h>

namespace Ravik::Test
{

/// Another program that runs as long as this object lives: it has to end when its standard input does.
class Program
{
public:
    /// `command` is a program's path and its arguments with blanks between them.
    explicit Program(std::string const& command);
    ~Program();
    Program(Program const&) = delete;
    Program& operator=(Program const&) = delete;

    /// The next line of its standard output without the line break; empty once it has ended.
    std::string read_line() const;

private:
    pid_t m_process = -1;
    int m_input = -1;
    int m_output = -1;
};

/// What a line of shell prints on both streams, and behind it "exit status N" where that is not 0.
std::string output_of(std::string const& line);

} // namespace Ravik::Test
