#pragma once

#include "Support/TemporaryFolder.h"

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
    /// Fragments of standard output and of standard error; an empty list stands for an empty stream.
    std::vector<std::string> out = {};
    std::vector<std::string> err = {};
    /// Where nothing else is said, 1 for a line that says something on standard error and 0 for any other.
    int status = err.empty() ? 0 : 1;
};

/// A temporary folder in which lines of shell run; they find the program under test as `ravik`.
class Shell
{
public:
    Ended run(std::string const& line) const;
    /// Runs the line and expects what it says.
    void expect(Line const& line) const;
    /// Runs the line's `ravik` with --json and expects the same status, messages (by the line's fragments) and, on
    /// standard output, exactly one object whose result fits the status.
    void expect_json(Line const& line) const;

    /// Each line in turn, in the second also with --json.
    void expect_all(std::vector<Line> const& lines) const;
    void expect_both(std::vector<Line> const& lines) const;

    void write(std::string const& file, std::string const& text) const { m_folder.write(file, text); }
    std::filesystem::path const& folder() const noexcept { return m_folder.path(); }

private:
    TemporaryFolder m_folder;
    /// Where the streams go, outside the folder that the lines see.
    TemporaryFolder m_streams;
};

} // namespace Ravik::Test
