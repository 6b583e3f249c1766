// Writes and reads registers of a device in the ways of `Contender`, as it is told line by line; for compare.py and
// steps.py. It takes the device's port; a line is one of
//
//     run WHO write|read COUNT STEP PASSES     the seconds of each pass
//     measure WHO write|read COUNT STEP        one pass as the one call of `measured_pass`, for callgrind
//     close WHO                                ends the connection
//     fill|clear|check COUNT STEP              gives the registers their values or 0, or tells whether they have them
//
// and is answered by one line; WHO is ravik, ravik-8 (with so many requests at
// once), bare or single. The first failure ends the program with exit status 1.

#include "Contender.h"

#include "process_heap.h"

#include <chrono>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

using namespace Ravik::Benchmarks;

extern "C" __attribute__((noinline)) void measured_pass(Contender& contender, Operation operation)
{
    contender.pass(operation);
}

namespace
{

void expect_values(Contender const& contender, Layout const& layout)
{
    auto const values = contender.values_read();
    for (std::size_t index = 0; index < layout.count; ++index)
    {
        if (values.at(index) != layout.value(index))
        {
            throw std::runtime_error("wrong value at the address " + std::to_string(layout.address(index)));
        }
    }
}

class Commands
{
public:
    explicit Commands(int port) : m_port(port) {}

    std::string answer(std::string const& line)
    {
        std::istringstream words(line);
        std::string command;
        words >> command;
        if (command == "run" || command == "measure")
        {
            return run(words, command == "measure");
        }
        if (command == "close")
        {
            std::string who;
            words >> who;
            m_contenders.erase(who);
            return "closed";
        }
        Layout layout;
        words >> layout.count >> layout.step;
        layout.is_blank = command == "clear";
        auto const device = make_bare(m_port, layout);
        device->pass(command == "check" ? Operation::READ : Operation::WRITE);
        if (command == "check")
        {
            expect_values(*device, layout);
        }
        return "done";
    }

private:
    std::string run(std::istringstream& words, bool is_measured)
    {
        std::string who;
        std::string what;
        Layout layout;
        int passes = 1;
        words >> who >> what >> layout.count >> layout.step;
        if (!is_measured)
        {
            words >> passes;
        }
        auto const operation = what == "write" ? Operation::WRITE : Operation::READ;
        auto& contender = m_contenders[who];
        if (contender == nullptr)
        {
            contender = makers.at(who)(m_port, layout);
        }
        std::ostringstream seconds;
        for (int pass = 0; pass < passes; ++pass)
        {
            auto const start = std::chrono::steady_clock::now();
            is_measured ? measured_pass(*contender, operation) : contender->pass(operation);
            seconds << std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() << ' ';
            if (operation == Operation::READ)
            {
                expect_values(*contender, layout);
            }
        }
        return seconds.str();
    }

    std::map<std::string, std::function<std::unique_ptr<Contender>(int, Layout const&)>> const makers = {
        {"ravik", [](int port, Layout const& layout) { return make_ravik(port, layout, 1); }},
        {"ravik-8", [](int port, Layout const& layout) { return make_ravik(port, layout, 8); }},
        {"bare", make_bare},
        {"single", make_single}};
    int m_port;
    std::map<std::string, std::unique_ptr<Contender>> m_contenders;
};

} // namespace

int main(int count, char** arguments)
try
{
    if (count != 2)
    {
        throw std::invalid_argument("usage: benchmark_modbus PORT");
    }
    RavikSrv::keep_heap();
    Commands commands(std::stoi(arguments[1]));
    for (std::string line; std::getline(std::cin, line);)
    {
        std::cout << commands.answer(line) << std::endl; // NOLINT(performance-avoid-endl): whoever sent it waits
    }
    return EXIT_SUCCESS;
}
catch (std::exception const& error)
{
    std::cerr << "benchmark_modbus: " << error.what() << '\n';
    return EXIT_FAILURE;
}
