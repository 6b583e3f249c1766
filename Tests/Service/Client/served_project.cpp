/// Opens the project in a folder and serves it until standard input ends: served_project DIR [GROUP]. Says "ready" once
/// the socket is there.

#include "Client/SocketServer.h"

#include <iostream>
#include <span>
#include <string>

namespace
{

int serve(std::filesystem::path const& directory, std::string const& group)
{
    Ravik::ProjectFileMark const mark(directory);
    auto const project = Ravik::Project::open(directory);
    Ravik::SocketServer server(
        *project, {.directory = directory, .file = mark, .group = group, .warn = [](std::string const& text) {
                       std::cerr << text + "\n";
                   }});
    std::cout << "ready" << std::endl;
    std::cin.ignore(std::numeric_limits<std::streamsize>::max());
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    std::span<char*> const words(argv, static_cast<std::size_t>(argc));
    try
    {
        return serve(words.size() > 1 ? words[1] : ".", words.size() > 2 ? words[2] : "");
    }
    catch (std::exception const& error)
    {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
