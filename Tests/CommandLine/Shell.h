#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace Ravik::Test
{

/// How a line of shell ended.
struct Ended
{
    int status = -1;
    std::string out;
    std::string err;
};

/// A line of shell and what it is to end with.
struct Line
{
    std::string text;
    int status;
    /// Fragments of standard output and of standard error; an empty list stands for an empty stream.
    std::vector<std::string> out;
    std::vector<std::string> err;

    friend std::ostream& operator<<(std::ostream& stream, Line const& line) { return stream << line.text; }
};

/// A temporary folder in which lines of shell run; they find the program under test as `ravik`.
class Shell
{
public:
    Shell();
    ~Shell();
    Shell(Shell const&) = delete;
    Shell& operator=(Shell const&) = delete;

    Ended run(std::string const& line) const;
    /// Runs the line and expects what it says.
    void expect(Line const& line) const;
    /// Runs the line's `ravik` with --json and expects the same status, messages (by the line's fragments) and, on
    /// standard output, exactly one object whose result fits the status.
    void expect_json(Line const& line) const;

    void write(std::string const& file, std::string const& text) const;
    std::string read(std::string const& file) const;
    std::filesystem::path const& folder() const noexcept { return m_folder; }

private:
    std::filesystem::path m_folder;
    /// Where the streams go, outside the folder that the lines see.
    std::filesystem::path m_streams;
};

} // namespace Ravik::Test
