#include "run.h"

#include "process_heap.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace
{

/// A standard stream that the caller closed would be the next file that is opened, such as the store, and messages
/// would be written into it. What is put there instead fails for what the stream is for.
void occupy_standard_streams()
{
    constexpr std::array<std::pair<int, int>, 3> streams{
        {{STDIN_FILENO, O_WRONLY}, {STDOUT_FILENO, O_RDONLY}, {STDERR_FILENO, O_RDONLY}}};
    for (auto const& [descriptor, mode] : streams)
    {
        if (::fcntl(descriptor, F_GETFD) == -1)
        {
            // The lowest free number is the closed one: the streams before it are open by now.
            static_cast<void>(::open("/dev/null", mode));
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    RavikSrv::keep_heap();
    occupy_standard_streams();
    // A reader that goes away shows as a failed write.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    std::size_t const skipped = argc > 0 ? 1 : 0;
    return Ravik::CommandLine::run({argv + skipped, static_cast<std::size_t>(argc) - skipped});
}
