#include "Client/RemoteProject.h"

#include "Client/operations.h"
#include "Client/protocol.h"

#include "Project/project_store.h"
#include "api_helper.h"
#include "boundary_guard.h"

#include <fstream>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Ravik
{

namespace Operations = Wire::Operations;

namespace
{

/// Whether somebody was let in by the socket's group: the owner has made him as good as himself, and nothing of the
/// project runs in his name. Root is let in everywhere, which says nothing.
bool is_guest(std::filesystem::path const& directory)
{
    struct stat folder = {};
    return ::geteuid() != 0 && ::stat(directory.c_str(), &folder) == 0 && folder.st_uid != ::geteuid();
}

} // namespace

std::unique_ptr<RemoteProject> RemoteProject::connect(std::filesystem::path const& directory,
                                                      OpenOptions const& options)
{
    auto link = Wire::ServiceLink::open(directory);
    if (link == nullptr || !is_guest(directory))
    {
        // As whoever opens it does: what stands in a folder of somebody else's is not trusted, nor is who listens
        // there.
        static_cast<void>(open_project_file(directory, options.trust));
    }
    return link == nullptr ? nullptr : std::unique_ptr<RemoteProject>(new RemoteProject(directory, std::move(link)));
}

RemoteProject::RemoteProject(std::filesystem::path directory, std::unique_ptr<Wire::ServiceLink> link)
    : m_directory(std::move(directory)), m_link(std::move(link))
{
}

// Calls ---------------------------------------------------------------------------------------------------------------

/// Makes the call. Throws `Wire::CallFailed`.
template <typename Operation, typename... Arguments>
typename Operation::Result RemoteProject::outcome(Operation const& operation, Arguments const&... arguments) const
{
    Wire::ByteWriter message;
    Wire::CallerSide caller;
    try
    {
        message.text(operation.name);
        Operation::write_arguments(Wire::Encoder(message, &caller), arguments...);
    }
    catch (Wire::BrokenMessage const& error)
    {
        throw Wire::CallFailed(RavikSrv::ErrorValue::INVALID_PARAMETER, error.what());
    }
    auto const answer = m_link->call(message.bytes(), caller);
    try
    {
        Wire::ByteReader reader(answer);
        return Operation::read_result(reader);
    }
    catch (Wire::BrokenMessage const& error)
    {
        throw Wire::CallFailed(RavikSrv::ErrorValue::NETWORK,
                               std::string("the answer of the service can't be read: ") + error.what());
    }
}

/// Makes the call; a failure is told by the result, where that has a place for it.
template <typename Operation, typename... Arguments>
typename Operation::Result RemoteProject::ask(Operation const& operation, Arguments const&... arguments) const
{
    try
    {
        return outcome(operation, arguments...);
    }
    catch (Wire::CallFailed const& failed)
    {
        typename Operation::Result result{};
        if constexpr (requires {
                          result.error = failed.error();
                          result.text = std::string();
                      })
        {
            result.error = failed.error();
            result.text = failed.what();
            return result;
        }
        else
        {
            throw ProjectError(failed.what());
        }
    }
}

/// The same for symbols, each of which fails then.
template <typename Operation, typename... Arguments>
ExecutedGroup RemoteProject::execute(std::vector<std::string> const& names, Operation const& operation,
                                     Arguments const&... arguments) const
{
    try
    {
        return outcome(operation, arguments...);
    }
    catch (Wire::CallFailed const& failed)
    {
        ExecutedGroup group{.domain = std::string(server_domain), .result = failed.error(), .commands = {}};
        for (auto const& name : names)
        {
            auto& command = group.commands.emplace_back();
            command.name = RavikSrv::SharedText(name);
            command.result = failed.error();
            command.failure = RavikSrv::get_error_string(failed.error()).name();
            command.text = RavikSrv::SharedText(failed.what());
        }
        return group;
    }
}

RavikSrv::Session RemoteProject::begin_request()
{
    return ask(Operations::begin_request);
}

FunctionOutcome RemoteProject::call(RavikSrv::Session request, std::string const& domain, std::string const& function,
                                    RavikSrv::Value const& parameters, Origin const& origin)
{
    return ask(Operations::call, request, domain, function, parameters, origin);
}

std::vector<std::string> RemoteProject::functions(std::string const& domain) const
{
    return ask(Operations::functions, domain);
}

std::vector<std::string> RemoteProject::domains() const
{
    return ask(Operations::domains);
}

ActivationReport RemoteProject::activate(std::string const& recipe, ActivationOptions const& options)
{
    return ask(Operations::activate, recipe, options);
}

ActivationReport RemoteProject::plan(std::string const& recipe)
{
    return ask(Operations::plan, recipe);
}

ActivationReport RemoteProject::compare(std::string const& recipe, std::string const& other)
{
    return ask(Operations::compare, recipe, other);
}

ActivationReport RemoteProject::expected(std::string const& recipe)
{
    return ask(Operations::expected, recipe);
}

ActivationReport RemoteProject::revert_activation(RavikSrv::Value const& body, WriteBackOptions const& options)
{
    return ask(Operations::revert_activation, body, options);
}

NamesOutcome RemoteProject::recipe_names() const
{
    return ask(Operations::recipe_names);
}

NamesOutcome RemoteProject::recipes_of(std::string const& type)
{
    return ask(Operations::recipes_of, type);
}

MembersOutcome RemoteProject::members(std::string const& type) const
{
    return ask(Operations::members, type);
}

ReadReport RemoteProject::read(std::string const& recipe)
{
    return ask(Operations::read, recipe);
}

SaveReport RemoteProject::save(std::string const& recipe, SaveOptions const& options)
{
    return ask(Operations::save, recipe, options);
}

UpdateReport RemoteProject::update(std::vector<std::string> const& recipes, UpdateOptions const& options)
{
    return ask(Operations::update, recipes, options);
}

ActiveReport RemoteProject::active(std::vector<std::string> const& recipes, ActiveOptions const& options)
{
    return ask(Operations::active, recipes, options);
}

Revisions RemoteProject::revisions() const noexcept
{
    return RavikSrv::guarded_answer("revisions", Revisions(), [this] { return ask(Operations::revisions); });
}

bool RemoteProject::takes_edits() const noexcept
{
    return RavikSrv::guarded_answer("takes_edits", false, [this] { return ask(Operations::takes_edits); });
}

LibraryStatus RemoteProject::library_status(std::chrono::milliseconds wait)
{
    return ask(Operations::library_status, wait);
}

ConfigurationOutcome RemoteProject::get(std::string const& domain, std::string const& path) const
{
    return ask(Operations::get, domain, path);
}

EditReport RemoteProject::set(std::string const& domain, std::string const& path, RavikSrv::Value const& value,
                              SetOptions const& options)
{
    return ask(Operations::set, domain, path, value, options);
}

EditReport RemoteProject::copy(std::string const& domain, std::string const& path, std::string const& new_path,
                               SetOptions const& options)
{
    return ask(Operations::copy, domain, path, new_path, options);
}

EditReport RemoteProject::remove(std::string const& domain, std::string const& path, MoveOptions const& options)
{
    return ask(Operations::remove, domain, path, options);
}

EditReport RemoteProject::rename(std::string const& domain, std::string const& path, std::string const& new_path,
                                 MoveOptions const& options)
{
    return ask(Operations::rename, domain, path, new_path, options);
}

EditReport RemoteProject::import(std::string const& domain, RavikSrv::Value const& data, ImportOptions const& options)
{
    return ask(Operations::import, domain, data, options);
}

ConfigurationOutcome RemoteProject::export_table(std::string const& domain, std::string const& type,
                                                 TableText::Form const& form) const
{
    return ask(Operations::export_table, domain, type, form);
}

EditReport RemoteProject::import_table(std::string const& domain, std::string const& type, std::string_view text,
                                       ImportOptions const& options)
{
    return ask(Operations::import_table, domain, type, text, options);
}

HistoryOutcome RemoteProject::history(HistoryFilter const& filter) const
{
    return ask(Operations::history, filter);
}

HistoryOutcome RemoteProject::history_record(std::int64_t id) const
{
    return ask(Operations::history_record, id);
}

HistoryOutcome RemoteProject::history_of_edit(std::string const& edit)
{
    return ask(Operations::history_of_edit, edit);
}

HistoryOutcome RemoteProject::history_requests(std::string const& since) const
{
    return ask(Operations::history_requests, since);
}

EditReport RemoteProject::revert(std::int64_t id, RevertOptions const& options)
{
    return ask(Operations::revert, id, options);
}

std::vector<Finding> RemoteProject::check(std::string const& domain) const
{
    return ask(Operations::check, domain);
}

std::vector<SymbolInfo> RemoteProject::symbols() const
{
    return ask(Operations::symbols);
}

ExecutedGroup RemoteProject::read_symbols(std::vector<std::string> const& names)
{
    return execute(names, Operations::read_symbols, names);
}

ExecutedGroup RemoteProject::write_symbol(std::string const& name, RavikSrv::Value const& value, Origin const& origin)
{
    return execute({name}, Operations::write_symbol, name, value, origin);
}

// The store -----------------------------------------------------------------------------------------------------------

ConfigurationOutcome RemoteProject::backup(std::filesystem::path const& file, bool replace)
{
    return write_backup(store_of(m_directory), file, replace,
                        [this](std::filesystem::path const& copy)
                        {
                            std::ofstream stream(copy, std::ios::binary | std::ios::trunc);
                            stream.exceptions(std::ios::failbit | std::ios::badbit);
                            Wire::ByteWriter message;
                            message.text(Wire::Special::backup);
                            auto const answer =
                                m_link->call(message.bytes(), {},
                                             [&](std::string_view piece) {
                                                 stream.write(piece.data(), static_cast<std::streamsize>(piece.size()));
                                             });
                            Wire::ByteReader reader(answer);
                            auto outcome = Wire::Decoder(reader).read<ConfigurationOutcome>();
                            stream.close();
                            return outcome;
                        });
}

StoreReport RemoteProject::check_store() const
{
    try
    {
        Wire::ByteWriter message;
        message.text(Wire::Special::check);
        auto const answer = m_link->call(message.bytes(), {});
        Wire::ByteReader reader(answer);
        auto check = Wire::Decoder(reader).read<Wire::StoreCheck>();
        if (check.error != RavikSrv::ErrorValue::SUCCESS)
        {
            throw StoreRefusal(check.text);
        }
        return {.rows = check.rows,
                .records = check.records,
                .faults = std::move(check.faults),
                .recovered = {},
                .kept_as = {}};
    }
    catch (Wire::CallFailed const& failed)
    {
        throw ProjectError(failed.what());
    }
    catch (Wire::BrokenMessage const& broken)
    {
        throw ProjectError(broken.what());
    }
}

// Reaching ------------------------------------------------------------------------------------------------------------

std::unique_ptr<Project> reach_project(std::filesystem::path const& directory, OpenOptions const& options)
{
    return wait_for_project(options,
                            [&](OpenOptions const& at_once)
                            {
                                std::unique_ptr<Project> reached = RemoteProject::connect(directory, at_once);
                                if (reached == nullptr)
                                {
                                    reached = Project::open(directory, at_once);
                                }
                                return reached;
                            });
}

} // namespace Ravik
