#include "password_input.h"

#include "Failure.h"
#include "text_file.h"
#include "text_width.h"

#include <cerrno>
#include <csignal>
#include <system_error>
#include <termios.h>
#include <unistd.h>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;

/// Longer than any password may be; what is longer is refused as one.
constexpr std::size_t longest_line = 4096;

/// The terminal of standard input without echo, as long as it lives. Ctrl+C ends a line meanwhile, so that the terminal
/// is not left without echo by a signal.
class HiddenInput
{
public:
    HiddenInput()
    {
        static_cast<void>(::tcgetattr(STDIN_FILENO, &m_before));
        auto hidden = m_before;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
        hidden.c_cc[VEOL] = interrupt();
        static_cast<void>(::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden));
    }
    HiddenInput(HiddenInput const&) = delete;
    HiddenInput& operator=(HiddenInput const&) = delete;
    ~HiddenInput() { static_cast<void>(::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before)); }

    /// What the terminal writes for Ctrl+C.
    cc_t interrupt() const noexcept { return m_before.c_cc[VINTR]; }

private:
    termios m_before = {};
};

/// A line of standard input without its end, read no further than that. Stops behind `last` as well, which is part of
/// the line then.
std::string read_line(char last)
{
    std::string line;
    char byte = 0;
    while (line.size() < longest_line)
    {
        auto const size = ::read(STDIN_FILENO, &byte, 1);
        if (size < 0 && errno == EINTR)
        {
            continue;
        }
        if (size < 0)
        {
            throw Failure(ErrorValue::FILESYSTEM,
                          "the password can't be read: " + std::generic_category().message(errno));
        }
        if (size == 0 || byte == '\n')
        {
            break;
        }
        line += byte;
        if (byte == last)
        {
            break;
        }
    }
    if (!line.empty() && line.back() == '\r')
    {
        line.pop_back();
    }
    return line;
}

std::string ask(std::string const& question)
{
    std::string line;
    char interrupt = 0;
    {
        HiddenInput const hidden;
        interrupt = static_cast<char>(hidden.interrupt());
        static_cast<void>(write_all(STDERR_FILENO, printable(question) + ": "));
        line = read_line(interrupt);
        static_cast<void>(write_all(STDERR_FILENO, "\n"));
    }
    if (!line.empty() && line.back() == interrupt)
    {
        static_cast<void>(::raise(SIGINT));
        throw Failure(ErrorValue::INTERRUPTED, "interrupted; nothing is changed");
    }
    return line;
}

} // namespace

std::string read_new_password(std::string const& whose)
{
    if (::isatty(STDIN_FILENO) == 0)
    {
        return read_line('\n');
    }
    auto password = ask("Password for " + whose);
    if (ask("The same once more") != password)
    {
        throw Failure(ErrorValue::INVALID_PARAMETER, "the two passwords differ; nothing is changed");
    }
    return password;
}

} // namespace Ravik::CommandLine
