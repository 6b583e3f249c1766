#pragma once

#include "Activation/Activation.h"
#include "Activation/ActivationRecords.h"
#include "Editing/Editor.h"
#include "Editing/EntrySchemas.h"
#include "Execution/Core.h"
#include "History/History.h"
#include "Library/LibraryLink.h"
#include "Project/Project.h"
#include "Project/ProjectFile.h"
#include "Project/RegularFile.h"
#include "Recipes/RecipeAccess.h"
#include "Schema/Validator.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ravik
{

/// The libraries of a project, in the order of its extensions: open files where the project names them by a path.
using Libraries = std::vector<std::optional<RegularFile>>;

/// The project as `Project::open` makes it.
class OpenProject final : public Project
{
public:
    OpenProject(ProjectFile const& file, Libraries const& libraries, std::unique_ptr<Store> store);

    std::vector<std::string> const& warnings() const noexcept override { return m_warnings; }

    RavikSrv::Session begin_request() override { return m_core.executor.recorder().new_session(); }
    using Project::call;
    FunctionOutcome call(RavikSrv::Session request, std::string const& domain, std::string const& function,
                         RavikSrv::Value const& parameters, Origin const& origin) override;
    std::vector<std::string> functions(std::string const& domain) const override;
    std::vector<std::string> domains() const override { return m_core.extensions.domains(); }

    ActivationReport activate(std::string const& recipe, ActivationOptions const& options) override;
    ActivationReport plan(std::string const& recipe) override { return m_activation.plan(recipe); }
    ActivationReport expected(std::string const& recipe) override { return m_activation.expected(recipe); }
    ActivationReport compare(std::string const& recipe, std::string const& other) override;
    ActivationReport revert_activation(RavikSrv::Value const& body, WriteBackOptions const& options) override;

    NamesOutcome recipe_names() const override;
    NamesOutcome recipes_of(std::string const& type) override;
    MembersOutcome members(std::string const& type) const override;
    ReadReport read(std::string const& recipe) override;
    SaveReport save(std::string const& recipe, SaveOptions const& options) override;
    UpdateReport update(std::vector<std::string> const& recipes, UpdateOptions const& options) override;
    ActiveReport active(std::vector<std::string> const& recipes, ActiveOptions const& options) override;

    Revisions revisions() const noexcept override;
    bool takes_edits() const noexcept override { return !m_core.configuration.is_refusing(); }

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

    ConfigurationOutcome backup(std::filesystem::path const& file, bool replace) override;

    std::vector<SymbolInfo> symbols() const override;
    ExecutedGroup read_symbols(std::vector<std::string> const& names) override;
    using Project::write_symbol;
    ExecutedGroup write_symbol(std::string const& name, RavikSrv::Value const& value, Origin const& origin) override;

    Configuration& configuration() noexcept { return m_core.configuration; }
    /// What the extensions see.
    Host& host() noexcept { return m_core.host; }
    Activation& activation() noexcept { return m_activation; }

private:
    void check_schemas(ProjectFile const& file) const;
    void add_extensions(ProjectFile const& file, Libraries const& libraries);
    void start_extensions(ProjectFile const& file);
    void reach_library();
    HistoryOutcome edit_in_library(std::string const& edit);
    std::string execute_function(RavikSrv::Context const& context, RavikSrv::CommandGroup& group, Origin const& origin,
                                 RavikSrv::ErrorValue& error);
    ConfigurationOutcome unknown_domain(std::string const& domain) const;
    Inspection inspection(std::string const& domain) const;
    ConfigurationOutcome check_type(std::string const& domain, std::string const& type) const;
    ExecutedGroup execute_symbols(RavikSrv::CommandGroup& group);
    FunctionOutcome call_function(RavikSrv::Session request, std::string const& domain, std::string const& function,
                                  RavikSrv::Value const& parameters, Origin const& origin);
    static EditReport report(EditOutcome outcome);
    EditReport committed(Configuration::Turn& turn, EditReport report) const;
    void remember_write(std::string const& name, RavikSrv::Value const& value, Origin const& origin,
                        ExecutedCommand& written);

    SymbolTable m_symbols;
    /// What it has compiled is no state that anybody sees.
    mutable Validator m_validator;
    std::map<std::string, EntrySchemas> m_schemas;
    Core m_core;
    History m_history;
    ActivationRecords m_records;
    Editor m_editor;
    Activation m_activation;
    RecipeAccess m_recipes;
    std::optional<LibrarySettings> m_library;
    std::atomic<std::int64_t> m_activity{Configuration::first_revision()};
    /// Since when nothing of the library is edited as ravik.json does not name it.
    std::string m_stopped_since;
    std::vector<std::string> m_warnings;
    /// Where ravik.json names the library that the store has joined. The last one: it works on the others.
    std::unique_ptr<LibraryLink> m_link;
};

} // namespace Ravik
