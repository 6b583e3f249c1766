#pragma once

#include "Activation/Activation.h"
#include "Configuration/Changes.h"
#include "Configuration/LibraryStatus.h"
#include "Configuration/Revisions.h"
#include "Configuration/configuration_keys.h"
#include "Editing/EditOptions.h"
#include "Editing/Refusal.h"
#include "Editing/findings.h"
#include "Editing/table_text.h"
#include "Execution/ExecutionRecord.h"
#include "Execution/FunctionOutcome.h"
#include "History/HistoryRecord.h"
#include "History/Origin.h"
#include "Project/ProjectFile.h"
#include "Recipes/ActiveReport.h"
#include "Recipes/ReadReport.h"
#include "Recipes/SaveOptions.h"
#include "Recipes/UpdateReport.h"

#include "RavikSrvExtApi.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik
{

/// What became of an operation on the configuration.
struct [[nodiscard]] ConfigurationOutcome
{
    RavikSrv::ErrorValue error = RavikSrv::ErrorValue::SUCCESS;
    /// For a failure: what is wrong and what to do, for a person.
    std::string text;
    /// For a failure: the path that caused it.
    std::string path;
    /// The value read, where the operation reads one.
    RavikSrv::Value value;

    bool succeeded() const noexcept { return error == RavikSrv::ErrorValue::SUCCESS; }
};

/// What became of an edit. A failure with `made` set was made all the same: the extension could not carry it through.
struct [[nodiscard]] EditReport : ConfigurationOutcome
{
    bool made = false;
    /// Refused, since its condition does not hold; then `value` is what stands there, null for nothing, and of an
    /// import the configuration's revision.
    bool condition_failed = false;
    /// What else changed or, for a dry run, would.
    std::vector<Touched> cascade;
    /// Stored values that an edit of recipe types has made wrong.
    std::vector<Finding> warnings;
    /// Every refused entry of an import that only checks, every place at fault of a revert.
    std::vector<Refusal> refused;
    /// Of the import of a table that failed: where in its text, where that is known.
    Json::Location place;
    /// Of an edit of a library that failed with `STORAGE`: its id there where it is not known whether it was made,
    /// which `Project::history_of_edit` tells once there is a link again. Else empty.
    std::string unknown_edit;
};

/// What became of storing into a recipe what the controllers hold. Where they could not be read, the error or the
/// extension's result tells, and the rows are the symbols at fault; else the rows are the values that stand for
/// symbols.
struct SaveReport : EditReport
{
    /// The extension's result, 0 for success, and the name that the extension gives to it.
    unsigned result = 0;
    std::string name;
    /// Whether it is the reading that failed.
    bool read_failed = false;
    ValueRows rows;

    bool succeeded() const noexcept { return EditReport::succeeded() && result == 0; }
};

/// The names of entries, folders included, or why they can't be had.
struct NamesOutcome : ConfigurationOutcome
{
    std::vector<std::string> names;
};

/// A member that the recipes of a type have.
struct MemberInfo
{
    std::string name;
    /// The type that it stands in: the one asked for, or one that this inherits from.
    std::string type;
    /// Empty for one that nests a type.
    std::string symbol;
    /// The symbol's, empty where the project maps no such symbol.
    std::string domain;
    /// By how much a number in the controller may be off, in the symbol's unit.
    double tolerance = 0;
    /// Null where the project maps no such symbol.
    RavikSrv::Value symbol_schema;
    /// The member's own, null for none.
    RavikSrv::Value schema;
    RavikSrv::Value default_value;
    /// The type that it nests, empty for none. Without a symbol its values name recipes of that type.
    std::string nested_type;
    /// Whether an activation writes it.
    bool enabled = false;
};

struct MembersOutcome : ConfigurationOutcome
{
    std::vector<MemberInfo> members;
};

/// Records of the history, or why they can't be had.
struct [[nodiscard]] HistoryOutcome : ConfigurationOutcome
{
    std::vector<HistoryRecord> records;
};

/// A symbol as the project file maps it.
struct SymbolInfo
{
    std::string name;
    std::string domain;
    /// The address inside the domain.
    std::string mapping;
    RavikSrv::Value schema;
};

/// The name of the file that makes a folder a project.
constexpr char const* project_file_name = "ravik.json";

/// How to open a project.
struct OpenOptions
{
    /// How long to wait for another process that has the project open.
    std::chrono::seconds wait{0};
    /// Open it also where somebody else could change it; see `Ownership`.
    bool trust = false;
    /// Keep records of what is done. Without it the history has a gap, which only measuring its cost is worth.
    bool history = true;
};

/// An opened project: its configuration, its extensions and the way to the controllers. All operations are thread-safe
/// and report failure by value; only opening throws.
class Project
{
public:
    /// Opens the project in `directory`: reads ravik.json, opens or makes the store, loads and initialises the
    /// extensions. Throws `ProjectError` with a message for a person. Nothing of the project has run, and there is no
    /// store that was not there before, where somebody else could change the project (without `trust`).
    static std::unique_ptr<Project> open(std::filesystem::path const& directory, OpenOptions const& options = {});

    Project(Project const&) = delete;
    Project& operator=(Project const&) = delete;
    virtual ~Project() = default;

    /// What went wrong at opening and did not stop it, a text for a person each.
    virtual std::vector<std::string> const& warnings() const noexcept = 0;

    /// Begins a request of a client and returns the session that everything executed on its behalf carries. Within a
    /// request a controller that could not be reached is not tried again. There is nothing to end.
    virtual RavikSrv::Session begin_request() = 0;

    /// Calls a function of a domain with its parameters (null for none) as a request of its own.
    FunctionOutcome call(std::string const& domain, std::string const& function, RavikSrv::Value const& parameters)
    {
        return call(begin_request(), domain, function, parameters);
    }
    /// The same as one of the calls of a request, which are made one after another.
    FunctionOutcome call(RavikSrv::Session request, std::string const& domain, std::string const& function,
                         RavikSrv::Value const& parameters)
    {
        return call(request, domain, function, parameters, {});
    }
    /// The same; where the function writes configuration, the history tells who asked.
    virtual FunctionOutcome call(RavikSrv::Session request, std::string const& domain, std::string const& function,
                                 RavikSrv::Value const& parameters, Origin const& origin) = 0;
    /// The functions that the domain's extension names, empty for an unknown domain.
    virtual std::vector<std::string> functions(std::string const& domain) const = 0;
    /// The domains of all extensions, in the order of the project file.
    virtual std::vector<std::string> domains() const = 0;

    // Activations; see `Activation`. On nobody's behalf means on that of the caller's account.
    virtual ActivationReport activate(std::string const& recipe, ActivationOptions const& options) = 0;
    /// What an activation would write beside what stands in the controllers, or without reading these.
    virtual ActivationReport plan(std::string const& recipe) = 0;
    /// What activations of the two would write: a row for each symbol, `value` being what the first writes and `before`
    /// what the other does, `Same` or `Differs`, with "only in NAME" as text where one alone writes it. Fails as the
    /// one of them does whose plan can't be made.
    virtual ActivationReport compare(std::string const& recipe, std::string const& other) = 0;
    virtual ActivationReport expected(std::string const& recipe) = 0;
    virtual ActivationReport revert_activation(RavikSrv::Value const& body, WriteBackOptions const& options) = 0;

    // Recipes of the recipe management, by their names with folders.

    /// All recipes, in the order of the configuration.
    virtual NamesOutcome recipe_names() const = 0;
    /// Those of the type and of the types that inherit from it; `ENTRY_NOT_FOUND`, with a path, where there is no such
    /// type.
    virtual NamesOutcome recipes_of(std::string const& type) = 0;
    /// The members of the type and those that it inherits, in their order; `ENTRY_NOT_FOUND` where there is no such
    /// type.
    virtual MembersOutcome members(std::string const& type) const = 0;
    /// What the recipe stores beside what the controllers hold.
    virtual ReadReport read(std::string const& recipe) = 0;
    /// Stores into the recipe, or into another, what the controllers hold. They are read before the edit's turn, and
    /// the edit is refused where the recipe has been edited since then; so it is where no value stands for a symbol. A
    /// value that stands in the controller as far as that can hold it keeps its digits.
    virtual SaveReport save(std::string const& recipe, SaveOptions const& options) = 0;
    /// Brings recipes into line with their types, each in a turn and with a record of its own.
    virtual UpdateReport update(std::vector<std::string> const& recipes, UpdateOptions const& options) = 0;
    /// Which of the recipes are active, of all where none is named.
    virtual ActiveReport active(std::vector<std::string> const& recipes, ActiveOptions const& options) = 0;

    /// What tells whether anything has changed. Cheap enough to be asked often.
    virtual Revisions revisions() const noexcept = 0;
    /// Whether edits are taken: not any more, until the next opening, where one could not be stored. As cheap.
    virtual bool takes_edits() const noexcept = 0;

    /// How the project stands to its library. Where that is still being found out, waits for it so long at most.
    virtual LibraryStatus library_status(std::chrono::milliseconds wait) = 0;

    /// Reads the entry at `path` of the domain's configuration; the empty path gives the whole.
    virtual ConfigurationOutcome get(std::string const& domain, std::string const& path) const = 0;
    // Edits; see `Editor`.
    EditReport set(std::string const& domain, std::string const& path, RavikSrv::Value const& value)
    {
        return set(domain, path, value, {});
    }
    virtual EditReport set(std::string const& domain, std::string const& path, RavikSrv::Value const& value,
                           SetOptions const& options) = 0;
    /// Puts a recipe or recipe type also at a path that must be free.
    virtual EditReport copy(std::string const& domain, std::string const& path, std::string const& new_path,
                            SetOptions const& options) = 0;
    virtual EditReport remove(std::string const& domain, std::string const& path, MoveOptions const& options) = 0;
    virtual EditReport rename(std::string const& domain, std::string const& path, std::string const& new_path,
                              MoveOptions const& options) = 0;
    virtual EditReport import(std::string const& domain, RavikSrv::Value const& data, ImportOptions const& options) = 0;

    /// Writes the recipes of a type as a table, see `write_table`. The value is its text.
    virtual ConfigurationOutcome export_table(std::string const& domain, std::string const& type,
                                              TableText::Form const& form) const = 0;
    /// Imports the recipes of a table, see `read_table`. The value tells how many are new, changed and the same.
    virtual EditReport import_table(std::string const& domain, std::string const& type, std::string_view text,
                                    ImportOptions const& options) = 0;
    /// The records of what clients did, the newest first, without their bodies.
    virtual HistoryOutcome history(HistoryFilter const& filter) const = 0;
    /// The record of that number with its body; `ENTRY_NOT_FOUND` where there is none.
    virtual HistoryOutcome history_record(std::int64_t id) const = 0;
    /// The record, with its body, of the edit of that id in a library. Where this server has none yet the library is
    /// asked: `ENTRY_NOT_FOUND` where the edit was not made, `STORAGE` as long as that can't be known.
    virtual HistoryOutcome history_of_edit(std::string const& edit) = 0;
    /// The records of that time or later that keep a "request", the newest first, with their bodies.
    virtual HistoryOutcome history_requests(std::string const& since) const = 0;
    /// Takes back what the record tells, see `Editor::revert`; `ENTRY_NOT_FOUND` where there is none.
    virtual EditReport revert(std::int64_t id, RevertOptions const& options) = 0;

    /// What is wrong in the domain's configuration as it stands, see `Finding`.
    virtual std::vector<Finding> check(std::string const& domain) const = 0;

    /// Writes a copy of the store to `file`, a whole store of its own, at any time. Refuses a file that stands there
    /// already, unless `replace` is set.
    virtual ConfigurationOutcome backup(std::filesystem::path const& file, bool replace) = 0;

    /// All symbols in the order of the project file.
    virtual std::vector<SymbolInfo> symbols() const = 0;
    /// Reads the symbols, whatever their domains, as a request of its own; the record's commands stand in the order of
    /// `names`.
    virtual ExecutedGroup read_symbols(std::vector<std::string> const& names) = 0;
    /// Writes the symbol as a request of its own; `SYMBOL_IN_USE` where somebody else is writing there.
    ExecutedGroup write_symbol(std::string const& name, RavikSrv::Value const& value)
    {
        return write_symbol(name, value, {});
    }
    virtual ExecutedGroup write_symbol(std::string const& name, RavikSrv::Value const& value, Origin const& origin) = 0;

protected:
    Project() = default;
};

/// Writes a sample project into `directory`, which is made where it is missing: ravik.json, recipes.json to import and
/// a .gitignore for the store. Throws `ProjectError`, and writes nothing, where one of the files exists already.
/// Returns the files written.
std::vector<std::filesystem::path> create_sample_project(std::filesystem::path const& directory);

} // namespace Ravik
