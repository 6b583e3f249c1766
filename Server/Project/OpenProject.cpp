#include "Project/OpenProject.h"

#include "Project/unmapped_symbols.h"

#include "Configuration/configuration_keys.h"
#include "Configuration/tree.h"
#include "Editing/turns.h"
#include "Project/Ownership.h"
#include "Project/project_store.h"
#include "Recipes/recipe_functions.h"

#include "PathIterator.h"
#include "algorithm_helper.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace Ravik
{

using RavikSrv::Command;
using RavikSrv::CommandGroup;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

std::string joined(std::vector<std::string> const& names)
{
    std::string text;
    for (auto const& name : names)
    {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

/// The place of an extension's key in the project file.
std::vector<std::string> place_in(std::size_t extension, char const* key)
{
    return {"extensions", std::to_string(extension), key};
}

RegularFile open_library(std::filesystem::path const& path, std::optional<Ownership> const& ownership)
{
    RegularFile library(std::filesystem::absolute(path), "the library");
    auto const objection = ownership ? ownership->objection(library) : std::nullopt;
    if (objection)
    {
        throw ProjectError(*objection);
    }
    return library;
}

/// Opens the libraries that the project names by a path; the others are the system's to find.
Libraries open_libraries(ProjectFile const& file, std::filesystem::path const& directory,
                         std::optional<Ownership> const& ownership)
{
    Libraries libraries;
    for (auto const& entry : file.extensions)
    {
        auto& library = libraries.emplace_back();
        if (entry.shared_object.find('/') != std::string::npos)
        {
            try
            {
                library.emplace(open_library(directory / entry.shared_object, ownership));
            }
            catch (ProjectError const& error)
            {
                throw file.error(place_in(libraries.size() - 1, "library"), error.what());
            }
        }
    }
    return libraries;
}

/// Loads a library by its path and not by the open file, by which the loader could not find what stands beside it.
ExtensionLibrary load_library(std::string const& name, std::optional<RegularFile> const& opened)
{
    if (opened && !opened->is_at_its_path())
    {
        throw ProjectError(opened->path().string() + ": the library was replaced while the project was being opened");
    }
    return ExtensionLibrary(opened ? opened->path().string() : name);
}

std::unique_ptr<Extension> load_extension(ProjectFile const& file, std::size_t index,
                                          std::optional<RegularFile> const& opened)
{
    auto const& entry = file.extensions[index];
    try
    {
        return std::make_unique<Extension>(entry.domain, load_library(entry.shared_object, opened));
    }
    catch (ProjectError const& error)
    {
        throw file.error(place_in(index, "library"), error.what());
    }
}

/// Starts the extension; where it refuses a setting, the error is that of the setting's place in the project file.
void start(Extension& extension, Host& host, ProjectFile const& file, std::size_t index)
{
    try
    {
        extension.start(host);
    }
    catch (RefusedSettings const& error)
    {
        auto place = place_in(index, "configuration");
        RavikSrv::PathIterator setting(error.setting());
        while (setting.next())
        {
            place.push_back(setting.component());
        }
        throw file.error(place, error.what());
    }
    catch (ProjectError const& error)
    {
        throw file.error(place_in(index, "library"), error.what());
    }
}

/// What the call of a function that writes configuration came to.
Deed deed_of(Command const& call, ErrorValue error, Origin const& origin)
{
    auto const& parameters = call.write_value();
    auto const succeeded = error == ErrorValue::SUCCESS && call.extension_result() == 0;
    return {.action = Action::update,
            .asked = std::string("call ") + call.name() +
                     (parameters.isset() ? ' ' + Json::write(parameters) : std::string()),
            .origin = origin,
            .outcome = succeeded ? Outcome::done : Outcome::failed,
            .text = succeeded ? std::string() : std::string(call.result_string())};
}

/// The path of the recipe that the call is given, of the list where it is given none.
std::string called_recipe(Command const& call)
{
    return Tree::join(Key::recipe_list, RavikSrv::Algorithm::to_string(call.write_value()[Parameter::path]));
}

/// The parameters of a function that takes a recipe.
Value recipe_parameters(std::string const& recipe)
{
    Value parameters(ValueType::Struct);
    parameters.insert(Parameter::path, Value(std::string_view(recipe)));
    return parameters;
}

/// The options of an activation with whoever asked for it, by default the account.
template <typename Options> Options on_behalf(Options options, std::string const& account)
{
    if (options.who.empty())
    {
        options.who = account;
    }
    return options;
}

} // namespace

std::unique_ptr<Project> Project::open(std::filesystem::path const& directory, OpenOptions const& options)
{
    auto const opened = open_project_file(directory, options.trust);
    std::optional<Ownership> const ownership = options.trust ? std::nullopt : std::optional<Ownership>(directory);
    auto file = read_project_file(opened);
    file.history.size = options.history ? file.history.size : 0;
    auto const libraries = open_libraries(file, directory, ownership);
    try
    {
        return std::make_unique<OpenProject>(file, libraries, Store::open(store_of(directory), options.wait));
    }
    catch (StoreError const& error)
    {
        throw ProjectError(store_of(directory).string() + ": " + error.what());
    }
}

// Opening -------------------------------------------------------------------------------------------------------------

OpenProject::OpenProject(ProjectFile const& file, Libraries const& libraries, std::unique_ptr<Store> store)
    : m_symbols(file.symbols), m_core(m_symbols, m_validator, std::move(store)),
      m_history(m_core.configuration, file.history), m_records(m_history),
      m_editor(m_core, m_history, m_symbols, m_validator, m_schemas),
      m_activation(
          m_core, m_symbols,
          [this](RavikSrv::Session session, std::string const& recipe)
          {
              return call_function(session, std::string(recipe_domain), Function::activate_recipe,
                                   recipe_parameters(recipe), {});
          },
          file.activation),
      m_recipes(m_core, [this](RavikSrv::Session request, std::string const& function, Value const& parameters,
                               Origin const& origin)
                { return call_function(request, std::string(recipe_domain), function, parameters, origin); }),
      m_library(file.library)
{
    m_activation.set_log(&m_records);
    check_schemas(file);
    Value own(ValueType::Map);
    own.insert(Key::symbols, file.symbols);
    m_core.configuration.add_domain(std::string(server_domain), own);
    add_extensions(file, libraries);
    start_extensions(file);
    reach_library();
}

void OpenProject::check_schemas(ProjectFile const& file) const
{
    for (auto const& symbol : m_symbols.all())
    {
        auto const& error = symbol.compiled->error();
        if (error.result() != ErrorValue::SUCCESS)
        {
            throw file.error({"symbols", symbol.name, Key::schema},
                             "the schema of the symbol \"" + symbol.name + "\" can't be used: " + error.text());
        }
    }
}

void OpenProject::add_extensions(ProjectFile const& file, Libraries const& libraries)
{
    for (std::size_t index = 0; index < file.extensions.size(); ++index)
    {
        auto const& entry = file.extensions[index];
        auto extension = load_extension(file, index, libraries[index]);
        m_schemas.emplace(entry.domain, EntrySchemas(extension->schema()));
        m_core.configuration.add_domain(entry.domain, entry.configuration);
        m_core.extensions.add(std::move(extension));
    }
}

/// Starts all extensions and then tells each of the entries that the store holds, so that what they keep of them is
/// complete after a restart.
void OpenProject::start_extensions(ProjectFile const& file)
{
    for (std::size_t index = 0; index < file.extensions.size(); ++index)
    {
        start(*m_core.extensions.find(file.extensions[index].domain), m_core.host, file, index);
    }
    for (auto const& domain : m_core.extensions.domains())
    {
        auto const answer = m_core.writer.tell_entries(Context(), domain, "");
        if (answer.result() != ErrorValue::SUCCESS)
        {
            m_warnings.push_back("the extension of domain \"" + domain +
                                 "\" may not know all its entries; told of them at its start it failed: " +
                                 RavikSrv::get_error_string(answer.result()).name() + ", " + answer.text());
        }
    }
}

// Functions -----------------------------------------------------------------------------------------------------------

FunctionOutcome OpenProject::call(RavikSrv::Session request, std::string const& domain, std::string const& function,
                                  Value const& parameters, Origin const& origin)
{
    auto outcome = call_function(request, domain, function, parameters, origin);
    auto const wrote = [](ExecutedGroup const& group)
    {
        return std::any_of(group.commands.begin(), group.commands.end(),
                           [](ExecutedCommand const& command) { return command.wrote; });
    };
    m_activity += std::any_of(outcome.record.begin(), outcome.record.end(), wrote) ? 1 : 0;
    return outcome;
}

FunctionOutcome OpenProject::call_function(RavikSrv::Session request, std::string const& domain,
                                           std::string const& function, Value const& parameters, Origin const& origin)
{
    Recorder::Recording recording(m_core.executor.recorder(), request);
    ReadMemory::Scope const remembering(m_core.executor.read_memory(), request);
    Context context;
    context.set_domain(domain.c_str());
    context.set_session(request);
    CommandGroup group;
    group.set_domain(domain.c_str());
    Command command(function.c_str());
    command.set_write_value(parameters);
    group.insert(group.end_vector(), command);

    FunctionOutcome outcome;
    auto const failure = execute_function(context, group, origin, outcome.error);
    auto const& executed = *group.begin_vector();
    outcome.result = executed.extension_result();
    outcome.name = m_core.extensions.error_string(domain, outcome.result);
    outcome.text = executed.result_string();
    outcome.value = executed.read_value();
    outcome.record = recording.take();
    if (!outcome.record.empty())
    {
        outcome.record.pop_back(); // the call itself
    }
    if (outcome.error == ErrorValue::INVALID_DOMAIN)
    {
        outcome.text = unknown_domain(domain).text;
    }
    else if (outcome.error == ErrorValue::INVALID_METHOD)
    {
        outcome.text += "; it has " + joined(functions(domain));
    }
    else if (!failure.empty())
    {
        outcome.text = failure;
    }
    else if (outcome.text.empty() && domain == recipe_domain &&
             outcome.name == RavikSrv::get_error_string(ErrorValue::SYMBOL_NOT_MAPPED).name())
    {
        outcome.text = unmapped_symbols_text(parameters, m_core.configuration.tree(domain), m_symbols);
    }
    return outcome;
}

/// Executes the function of a group. One that writes configuration has a turn: all that it writes lasts together or not
/// at all, also where it fails half-way. Returns why it can't be stored, which is the `error` then; where that is clear
/// before, the function is not called.
std::string OpenProject::execute_function(Context const& context, CommandGroup& group, Origin const& origin,
                                          ErrorValue& error)
{
    auto const* const extension = m_core.extensions.find(group.domain());
    std::optional<Configuration::Turn> turn;
    if (extension != nullptr && extension->is_writing_function(group.begin_vector()->name()))
    {
        turn.emplace(m_core.configuration, group.domain());
        auto refusal = obstacle(*turn, group.domain(), "");
        refusal = refusal ? refusal : m_editor.check_line(called_recipe(*group.begin_vector()));
        if (refusal)
        {
            error = refusal.error;
            return refusal.text;
        }
    }
    error = m_core.executor.execute(context, group);
    if (auto const refusal = turn ? m_editor.keep_to_line(*turn) : Refusal())
    {
        error = refusal.error;
        return refusal.text;
    }
    if (turn)
    {
        m_history.remember(*turn, deed_of(*group.begin_vector(), error, origin));
    }
    auto const failure = turn ? commit(*turn) : Refusal();
    error = failure ? failure.error : error;
    return failure.error == ErrorValue::STORAGE_STORE ? "what it wrote could not be stored: " + turn->failure()
                                                      : failure.text;
}

std::vector<std::string> OpenProject::functions(std::string const& domain) const
{
    auto* const extension = m_core.extensions.find(domain);
    return extension == nullptr ? std::vector<std::string>() : extension->functions();
}

// Activation ----------------------------------------------------------------------------------------------------------

ActivationReport OpenProject::activate(std::string const& recipe, ActivationOptions const& options)
{
    auto report = m_activation.activate(recipe, on_behalf(options, m_history.account()));
    ++m_activity;
    return report;
}

ActivationReport OpenProject::revert_activation(Value const& body, WriteBackOptions const& options)
{
    auto report = m_activation.revert(body, on_behalf(options, m_history.account()));
    m_activity += options.dry_run ? 0 : 1;
    return report;
}

Revisions OpenProject::revisions() const noexcept
{
    return {.configuration = m_core.configuration.revision(),
            .history = m_core.configuration.record_revision(),
            .activity = m_activity};
}

// Configuration -------------------------------------------------------------------------------------------------------

ConfigurationOutcome OpenProject::unknown_domain(std::string const& domain) const
{
    return {.error = ErrorValue::INVALID_DOMAIN,
            .text = "no extension serves the domain \"" + domain + "\"; the project has " +
                    joined(m_core.extensions.domains()),
            .path = {},
            .value = {}};
}

ConfigurationOutcome OpenProject::get(std::string const& domain, std::string const& path) const
{
    if (!m_core.configuration.has_domain(domain))
    {
        return unknown_domain(domain);
    }
    auto const tree = m_core.configuration.tree(domain);
    auto const reached = RavikSrv::node_path(path, tree);
    if (reached.node == nullptr && reached.name.empty())
    {
        return {
            .error = ErrorValue::INVALID_PATH, .text = "the path has an empty component", .path = path, .value = {}};
    }
    if (reached.node == nullptr)
    {
        return {.error = ErrorValue::ENTRY_NOT_FOUND,
                .text = "there is nothing at this path; it ends at \"" + reached.name + "\"",
                .path = path,
                .value = {}};
    }
    return {.error = ErrorValue::SUCCESS, .text = {}, .path = {}, .value = *reached.node};
}

EditReport OpenProject::report(EditOutcome outcome)
{
    EditReport report;
    report.error = outcome.refusal.error;
    report.text = outcome.refusal.text;
    report.path = outcome.refusal.path;
    report.value = std::move(outcome.value);
    report.made = outcome.made;
    report.condition_failed = outcome.condition_failed;
    report.cascade = std::move(outcome.cascade);
    report.refused = std::move(outcome.refusals);
    report.warnings = std::move(outcome.warnings);
    report.unknown_edit = std::move(outcome.unknown_edit);
    return report;
}

EditReport OpenProject::set(std::string const& domain, std::string const& path, Value const& value,
                            SetOptions const& options)
{
    return report(m_editor.set(domain, path, value, options));
}

EditReport OpenProject::copy(std::string const& domain, std::string const& path, std::string const& new_path,
                             SetOptions const& options)
{
    // What stands there stays so until the copy is made.
    Configuration::Turn turn(m_core.configuration, domain);
    EditReport missing;
    static_cast<ConfigurationOutcome&>(missing) = get(domain, path);
    if (!missing.succeeded())
    {
        return missing;
    }
    return committed(turn, report(m_editor.copy(domain, path, new_path, options)));
}

/// Ends the turn of an edit that consists of more than one operation.
EditReport OpenProject::committed(Configuration::Turn& turn, EditReport report) const
{
    if (auto const failure = commit(turn))
    {
        report = {};
        report.error = failure.error;
        report.text = failure.text;
        report.unknown_edit = turn.unknown_edit();
    }
    return report;
}

EditReport OpenProject::remove(std::string const& domain, std::string const& path, MoveOptions const& options)
{
    return report(m_editor.remove(domain, path, options));
}

EditReport OpenProject::rename(std::string const& domain, std::string const& path, std::string const& new_path,
                               MoveOptions const& options)
{
    return report(m_editor.rename(domain, path, new_path, options));
}

EditReport OpenProject::import(std::string const& domain, Value const& data, ImportOptions const& options)
{
    return report(m_editor.import(domain, data, options));
}

// History -------------------------------------------------------------------------------------------------------------

namespace
{

/// The records that `read` gives; what the store can't give is an error.
template <typename Read> HistoryOutcome history_outcome(Read const& read)
{
    HistoryOutcome outcome;
    try
    {
        outcome.records = read();
    }
    catch (StoreError const& error)
    {
        outcome.error = ErrorValue::STORAGE_LOAD;
        outcome.text = std::string("the history can't be read: ") + error.what() + "; 'ravik store check' tells more";
    }
    return outcome;
}

} // namespace

HistoryOutcome OpenProject::history(HistoryFilter const& filter) const
{
    return history_outcome([&] { return m_history.list(filter); });
}

HistoryOutcome OpenProject::history_requests(std::string const& since) const
{
    return history_outcome([&] { return m_history.requests(since); });
}

HistoryOutcome OpenProject::history_record(std::int64_t id) const
{
    auto outcome = history_outcome(
        [&]
        {
            auto record = m_history.find(id);
            return record ? std::vector<HistoryRecord>{std::move(*record)} : std::vector<HistoryRecord>();
        });
    if (outcome.succeeded() && outcome.records.empty())
    {
        outcome.error = ErrorValue::ENTRY_NOT_FOUND;
        outcome.text = "the history has no record " + std::to_string(id) + "; 'ravik history' lists those it has";
    }
    return outcome;
}

HistoryOutcome OpenProject::history_of_edit(std::string const& edit)
{
    auto outcome = history_outcome(
        [&]
        {
            auto record = m_history.find_edit(edit);
            return record ? std::vector<HistoryRecord>{std::move(*record)} : std::vector<HistoryRecord>();
        });
    return outcome.succeeded() && outcome.records.empty() ? edit_in_library(edit) : outcome;
}

EditReport OpenProject::revert(std::int64_t id, RevertOptions const& options)
{
    EditReport failed;
    auto const outcome = history_record(id);
    if (!outcome.succeeded())
    {
        static_cast<ConfigurationOutcome&>(failed) = outcome;
        return failed;
    }
    auto const& record = outcome.records.front();
    if (!record.has_places())
    {
        failed.error = ErrorValue::INVALID_PARAMETER;
        failed.text = "the record " + std::to_string(id) + " changed nothing in the configuration";
        return failed;
    }
    return report(m_editor.revert(places_of(record), "revert " + std::to_string(id), options));
}

std::vector<Finding> OpenProject::check(std::string const& domain) const
{
    auto findings = m_editor.check(domain);
    if (domain == recipe_domain || domain == server_domain)
    {
        auto variables = find_unfit_variables(m_symbols, m_core.configuration.tree(std::string(server_domain)));
        std::move(variables.begin(), variables.end(), std::back_inserter(findings));
    }
    return findings;
}

ConfigurationOutcome OpenProject::backup(std::filesystem::path const& file, bool replace)
{
    return writing_backup(file, replace,
                          [&]
                          {
                              m_core.configuration.backup(file);
                              return ConfigurationOutcome();
                          });
}

// Symbols -------------------------------------------------------------------------------------------------------------

std::vector<SymbolInfo> OpenProject::symbols() const
{
    std::vector<SymbolInfo> infos;
    for (auto const& symbol : m_symbols.all())
    {
        infos.push_back(
            {.name = symbol.name, .domain = symbol.domain, .mapping = symbol.mapping.str(), .schema = symbol.schema});
    }
    return infos;
}

ExecutedGroup OpenProject::read_symbols(std::vector<std::string> const& names)
{
    CommandGroup group;
    for (auto const& name : names)
    {
        group.insert(group.end_vector(), Command(name.c_str()));
    }
    return execute_symbols(group);
}

ExecutedGroup OpenProject::write_symbol(std::string const& name, Value const& value, Origin const& origin)
{
    CommandGroup group;
    Command command(name.c_str());
    command.set_write_value(value);
    WriteHolds::Hold const hold(m_activation.holds(), m_activation.places_of({name}),
                                "the write of " + name + " by " +
                                    (origin.who.empty() ? m_history.account() : origin.who));
    if (!hold.refusal().empty())
    {
        command.set_result(ErrorValue::SYMBOL_IN_USE);
        command.set_result_string(hold.refusal().c_str());
        group.insert(group.end_vector(), command);
        return m_core.executor.recorder().describe(group, ErrorValue::SYMBOL_IN_USE);
    }
    group.insert(group.end_vector(), command);
    auto written = execute_symbols(group);
    ++m_activity;
    remember_write(name, value, origin, written.commands.front());
    return written;
}

void OpenProject::remember_write(std::string const& name, Value const& value, Origin const& origin,
                                 ExecutedCommand& written)
{
    auto const succeeded = written.result == ErrorValue::SUCCESS;
    ActivationRow const row{.symbol = name,
                            .domain = m_symbols.find(name).symbol == nullptr ? "" : m_symbols.find(name).symbol->domain,
                            .member = {},
                            .before = {},
                            .value = value,
                            .after = {},
                            .state = succeeded ? RowState::Written : RowState::Failed,
                            .text = written.text.str()};
    auto body = value_of({row}, activation_states());
    if (!origin.address.empty())
    {
        body.insert(address_key, Value(std::string_view(origin.address)));
    }
    try
    {
        m_history.begin({.who = origin.who,
                         .action = Action::symbol,
                         .asked = origin.asked.empty() ? "symbol set " + name + ' ' + Json::write(value) : origin.asked,
                         .outcome = succeeded ? Outcome::done : Outcome::failed,
                         .text = written.text.str(),
                         .note = origin.note,
                         .body = std::move(body)});
    }
    catch (StoreError const& error)
    {
        auto const trouble = std::string("it is not remembered: ") + error.what();
        written.text = RavikSrv::SharedText(written.text.empty() ? trouble : written.text.str() + "; " + trouble);
    }
}

ExecutedGroup OpenProject::execute_symbols(CommandGroup& group)
{
    group.set_domain(std::string(server_domain).c_str());
    Context context;
    context.set_session(begin_request());
    auto const result = m_core.executor.execute(context, group);
    return m_core.executor.recorder().describe(group, result);
}

} // namespace Ravik
