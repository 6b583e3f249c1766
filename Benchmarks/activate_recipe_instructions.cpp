#include "CountingHost.h"

#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>

// For instructions.py, which counts the instructions of one `measured_activation` or `measured_append`.

using namespace Ravik::Benchmarks;

extern "C"
{

    __attribute__((noinline)) void measured_activation(CountingHost& host, RavikSrv::CommandGroup& group)
    {
        host.requests().on_request(RavikSrv::Context(), &group);
    }

    __attribute__((noinline)) void measured_append(CountingHost& host)
    {
        auto const group = append_commands(host);
        host.commands = static_cast<std::size_t>(group.end_vector() - group.begin_vector());
    }
}

int main(int argc, char** argv)
try
{
    if (argc != 4)
    {
        throw std::invalid_argument("usage: activate_recipe_instructions activate|append SYMBOLS DOMAINS");
    }
    std::string const what = argv[1];
    auto const symbols = std::stoi(argv[2]);
    CountingHost host(symbols, std::stoi(argv[3]));
    auto const extension = load_recipe_management(host);
    auto group = activation();
    // Once before, so that what happens only once in a process is not counted.
    host.requests().on_request(RavikSrv::Context(), &group);
    host.commands = 0;
    if (what == "activate")
    {
        measured_activation(host, group);
    }
    else
    {
        measured_append(host);
    }
    return host.commands == static_cast<std::size_t>(symbols) ? EXIT_SUCCESS : EXIT_FAILURE;
}
catch (std::exception const& exception)
{
    std::cerr << exception.what() << '\n';
    return EXIT_FAILURE;
}
