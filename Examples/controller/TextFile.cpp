// A controller to start one's own from. Its device is a text file with a line NAME=VALUE for each variable, and the
// "MAPPING" of a symbol is such a NAME. FILL IN marks every place where another device needs something else.

#include "ControllerExtension.h"
#include "ControllerOutcome.h"
#include "RavikSrvExtApi.h"
#include "extension_frame.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace
{

using RavikSrv::Value;
using RavikSrv::ValueType;

// FILL IN: what may go wrong with the device, and the names under which it is reported.
enum class TextFileResult : std::uint32_t
{
    SUCCESS,
    FILE_ERROR,
    NO_SUCH_VARIABLE,
    WRONG_VALUE,
    INTERNAL_ERROR,
};
constexpr std::array result_names = {"SUCCESS", "FILE_ERROR", "NO_SUCH_VARIABLE", "WRONG_VALUE", "INTERNAL_ERROR"};

using Outcome = RavikSrv::ControllerOutcome<TextFileResult>;
using Variables = std::map<std::string, std::string, std::less<>>;

class TextFile : public RavikSrv::ControllerExtension
{
public:
    explicit TextFile(RavikSrv::IRavikSrvExtHost* host) noexcept
        : ControllerExtension(host, {result_names, static_cast<std::uint32_t>(TextFileResult::INTERNAL_ERROR)})
    {
    }

private:
    // FILL IN: the settings, which are the "configuration" of the extension in ravik.json.
    RavikSrv::ResultPair check(Value const& configuration) const override
    {
        auto const& file = configuration["file"];
        return file.type() == ValueType::String && !file.empty()
                   ? RavikSrv::ResultPair()
                   : RavikSrv::wrong_setting("file", "the name of a text file", get_type_string(file.type()));
    }

    RavikSrv::ResultPair load(Value const& configuration) override
    {
        m_file = configuration["file"].get_string();
        return check(configuration);
    }

    // FILL IN: how the commands of a request, which read or write a variable each, are carried out. A command that is
    // not finished here, since something threw, fails with INTERNAL_ERROR.
    void execute(RavikSrv::Context const& /*context*/, RavikSrv::CommandGroup& group) override
    {
        std::lock_guard const lock(m_mutex); // requests come from several threads
        Variables variables;
        auto const read = read_file(variables);
        bool writes = false;
        std::vector<Outcome> outcomes;
        for (auto& command : RavikSrv::Commands(group))
        {
            outcomes.push_back(read.succeeded() ? access(command, variables) : read);
            writes = writes || std::as_const(command).write_value().isset();
        }
        auto const written = writes && read.succeeded() ? write_file(variables) : Outcome();
        auto outcome = outcomes.begin();
        for (auto& command : RavikSrv::Commands(group))
        {
            bool const is_lost = !written.succeeded() && std::as_const(command).write_value().isset();
            finish(command, is_lost && outcome->succeeded() ? written : *outcome);
            ++outcome;
        }
    }

    // FILL IN: one access to the device.
    static Outcome access(RavikSrv::Command& command, Variables& variables)
    {
        std::string const name = command.mapping();
        auto const variable = variables.find(name);
        if (variable == variables.end())
        {
            return {TextFileResult::NO_SUCH_VARIABLE, "The file has no line " + name + "=…"};
        }
        auto value = std::as_const(command).write_value();
        if (!value.isset())
        {
            command.set_read_value(Value(variable->second.c_str()));
            return {};
        }
        value.convert(ValueType::String);
        if (!value.isset() || value.get_text().find('\n') != std::string_view::npos)
        {
            return {TextFileResult::WRONG_VALUE, "The variable " + name + " takes what fits into a line of text"};
        }
        variable->second = value.get_text();
        return {};
    }

    Outcome read_file(Variables& variables) const
    {
        std::ifstream file(m_file);
        std::size_t number = 0;
        for (std::string line; std::getline(file, line);)
        {
            ++number;
            auto const sign = line.find('=');
            if (sign == std::string::npos || !variables.emplace(line.substr(0, sign), line.substr(sign + 1)).second)
            {
                return {TextFileResult::FILE_ERROR,
                        m_file + ":" + std::to_string(number) + ": expected NAME=VALUE with a new name, found " + line};
            }
        }
        return file.eof() ? Outcome() : Outcome{TextFileResult::FILE_ERROR, m_file + ": can't be read"};
    }

    Outcome write_file(Variables const& variables) const
    {
        auto const draft = m_file + ".new";
        std::ofstream file(draft);
        for (auto const& [name, text] : variables)
        {
            file << name << '=' << text << '\n';
        }
        file.close();
        std::error_code error;
        if (file)
        {
            std::filesystem::rename(draft, m_file, error);
        }
        return file && !error ? Outcome() : Outcome{TextFileResult::FILE_ERROR, m_file + ": can't be written"};
    }

    std::string m_file;
    std::mutex m_mutex;
};

} // namespace

// FILL IN: the class.
extern "C" RAVIK_SRV_EXT_API int ext_interface(RavikSrv::IRavikSrvExtHost* host, RavikSrv::IRavikSrvExt** extension,
                                               double* version)
{
    return RavikSrv::enter_extension<TextFile>(host, extension, version);
}
