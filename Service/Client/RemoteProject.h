#pragma once

#include "Client/ServiceLink.h"

#include "Configuration/store_care.h"
#include "Project/Project.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace Ravik
{

/// A project that a service has open, through its socket: each operation is a call there, made on behalf of the
/// caller's account whatever the options say.
///
/// Where a call comes to no outcome, the operation fails with `NETWORK` and a text that tells whether anything can have
/// happened; one whose result has no place for an error throws `ProjectError`.
class RemoteProject final : public Project
{
public:
    /// Null where no service listens in the folder. Throws `ProjectError` as `Project::open` does where the folder or
    /// its ravik.json are nothing to be trusted, and where the service is of another version or serves nobody.
    static std::unique_ptr<RemoteProject> connect(std::filesystem::path const& directory, OpenOptions const& options);

    std::vector<std::string> const& warnings() const noexcept override { return m_link->warnings(); }

    RavikSrv::Session begin_request() override;
    using Project::call;
    FunctionOutcome call(RavikSrv::Session request, std::string const& domain, std::string const& function,
                         RavikSrv::Value const& parameters, Origin const& origin) override;
    std::vector<std::string> functions(std::string const& domain) const override;
    std::vector<std::string> domains() const override;

    ActivationReport activate(std::string const& recipe, ActivationOptions const& options) override;
    ActivationReport plan(std::string const& recipe) override;
    ActivationReport compare(std::string const& recipe, std::string const& other) override;
    ActivationReport expected(std::string const& recipe) override;
    ActivationReport revert_activation(RavikSrv::Value const& body, WriteBackOptions const& options) override;

    NamesOutcome recipe_names() const override;
    NamesOutcome recipes_of(std::string const& type) override;
    MembersOutcome members(std::string const& type) const override;
    ReadReport read(std::string const& recipe) override;
    SaveReport save(std::string const& recipe, SaveOptions const& options) override;
    UpdateReport update(std::vector<std::string> const& recipes, UpdateOptions const& options) override;
    ActiveReport active(std::vector<std::string> const& recipes, ActiveOptions const& options) override;
    /// Zeros where the service can't be asked.
    Revisions revisions() const noexcept override;
    /// False where the service can't be asked.
    bool takes_edits() const noexcept override;

    LibraryStatus library_status(std::chrono::milliseconds wait) override;

    ConfigurationOutcome get(std::string const& domain, std::string const& path) const override;
    using Project::set;
    EditReport set(std::string const& domain, std::string const& path, RavikSrv::Value const& value,
                   SetOptions const& options) override;
    EditReport copy(std::string const& domain, std::string const& path, std::string const& new_path,
                    SetOptions const& options) override;
    EditReport remove(std::string const& domain, std::string const& path, MoveOptions const& options) override;
    EditReport rename(std::string const& domain, std::string const& path, std::string const& new_path,
                      MoveOptions const& options) override;
    EditReport import(std::string const& domain, RavikSrv::Value const& data, ImportOptions const& options) override;
    ConfigurationOutcome export_table(std::string const& domain, std::string const& type,
                                      TableText::Form const& form) const override;
    EditReport import_table(std::string const& domain, std::string const& type, std::string_view text,
                            ImportOptions const& options) override;
    HistoryOutcome history(HistoryFilter const& filter) const override;
    HistoryOutcome history_record(std::int64_t id) const override;
    HistoryOutcome history_of_edit(std::string const& edit) override;
    HistoryOutcome history_requests(std::string const& since) const override;
    EditReport revert(std::int64_t id, RevertOptions const& options) override;
    std::vector<Finding> check(std::string const& domain) const override;

    /// The file is written here, with the caller's rights.
    ConfigurationOutcome backup(std::filesystem::path const& file, bool replace) override;

    std::vector<SymbolInfo> symbols() const override;
    ExecutedGroup read_symbols(std::vector<std::string> const& names) override;
    using Project::write_symbol;
    ExecutedGroup write_symbol(std::string const& name, RavikSrv::Value const& value, Origin const& origin) override;

    /// Reads a copy of the store through, see `check_store`. Throws `ProjectError` where it can't be had.
    StoreReport check_store() const;

private:
    RemoteProject(std::filesystem::path directory, std::unique_ptr<Wire::ServiceLink> link);

    template <typename Operation, typename... Arguments>
    typename Operation::Result outcome(Operation const& operation, Arguments const&... arguments) const;
    template <typename Operation, typename... Arguments>
    typename Operation::Result ask(Operation const& operation, Arguments const&... arguments) const;
    template <typename Operation, typename... Arguments>
    ExecutedGroup execute(std::vector<std::string> const& names, Operation const& operation,
                          Arguments const&... arguments) const;

    std::filesystem::path m_directory;
    std::unique_ptr<Wire::ServiceLink> m_link;
};

/// Attempts what needs the project to itself or its service, again and again where another process has it, as long as
/// the options say. `attempt` gets options without a waiting time and throws `ProjectInUse` where it is to be repeated.
template <typename Attempt> auto wait_for_project(OpenOptions const& options, Attempt const& attempt)
{
    auto const end = std::chrono::steady_clock::now() + options.wait;
    auto at_once = options;
    at_once.wait = std::chrono::seconds(0);
    for (;;)
    {
        try
        {
            return attempt(at_once);
        }
        catch (ProjectInUse const&)
        {
            if (std::chrono::steady_clock::now() >= end)
            {
                throw;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
}

/// The project in `directory`: through its service where one runs, else opened by this process. Waits for the one or
/// the other as long as the options say. Throws `ProjectError`.
std::unique_ptr<Project> reach_project(std::filesystem::path const& directory, OpenOptions const& options);

} // namespace Ravik
