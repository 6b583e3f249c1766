#pragma once

#include "SymbolList.h"
#include "recipe_config_handler/PathList.h"
#include "recipe_result.h"

#include "RavikSrvExtApi.h"

#include <boost/thread/mutex.hpp>

#include <string>
#include <vector>

namespace RecipeManagement
{

struct Move;
class WriteGroups;
struct ReadGroup;

/// The recipe management: recipes and recipe types in the server's configuration, and requests that bring them to the
/// controllers and back.
///
/// Nothing of the configuration is kept between calls; every operation reads it afresh. The server may call the
/// operations from several threads at once. The one shared state is the two lists of paths, each under its own mutex,
/// which is held only while its list is read or changed, never across a call to the host; the two are never held
/// together. No exception leaves a callback.
class RavikRecipeManagement : public RavikSrv::IRavikSrvExt,
                              private RavikSrv::IRavikSrvRequestListener,
                              private RavikSrv::RavikSrvConfigListener,
                              private RavikSrv::IRavikSrvExportListener
{
public:
    /// `given_host` outlives the extension and is not called here.
    explicit RavikRecipeManagement(RavikSrv::IRavikSrvExtHost* given_host);
    RavikRecipeManagement(RavikRecipeManagement const&) = delete;
    RavikRecipeManagement& operator=(RavikRecipeManagement const&) = delete;

    /// Registers the three listeners.
    RavikSrv::ResultPair init(RavikSrv::Context context) override;
    RavikSrv::String error_string(unsigned code) override;
    ~RavikRecipeManagement() override;

    /// Answers each command whose mapping names a function; the others stay as they are. The group's result becomes
    /// that of the last command that failed.
    void on_request(RavikSrv::Context context, RavikSrv::CommandGroup* group) override;
    RavikSrv::ResultPair before_change(RavikSrv::Context context, char const* path, RavikSrv::Value& value,
                                       char const* schema_type) override;
    RavikSrv::ResultPair before_import(RavikSrv::Context context, char const* path, RavikSrv::Value& value,
                                       RavikSrv::Value const& import_data, char const* schema_type) override;
    RavikSrv::ResultPair before_export(RavikSrv::Context context, char const* path, RavikSrv::Value& value,
                                       RavikSrv::Value const& data, char const* schema_type) override;
    /// Stores the path of a recipe or recipe type.
    RavikSrv::ResultPair on_change(RavikSrv::Context context, char const* path, char const* schema_type) override;
    RavikSrv::ResultPair on_delete(RavikSrv::Context context, char const* path, RavikSrv::Value const& value,
                                   char const* schema_type) override;
    RavikSrv::ResultPair on_rename(RavikSrv::Context context, char const* path, char const* new_path,
                                   char const* schema_type) override;

private:
    // Dispatch --------------------------------------------------------------------------------------------------------

    struct Function;
    static std::vector<Function> const& functions();

    /// Runs the function that the command is mapped to; what it throws becomes the command's error.
    void answer(RavikSrv::Context const& context, RavikSrv::Command& command) noexcept;

    // ActivateRecipe --------------------------------------------------------------------------------------------------

    /// Writes the values of the recipe that the command names, a group for each domain.
    void activate_recipe(RavikSrv::Context const& context, RavikSrv::Command& command);
    void write_symbols(RavikSrv::Context const& context, RavikSrv::Command& command, RavikSrv::Value const& config,
                       SymbolList& symbols, std::string const& recipe_path, std::vector<std::string> const& domains);
    /// Writes the symbols that `domain` serves. Answers true where that failed and the caller must stop; the command
    /// then says why.
    bool create_cmd_group_and_activate(RavikSrv::Context const& context, RavikSrv::Command& command,
                                       WriteGroups& groups, std::string const& domain);

    // ReadFromTarget --------------------------------------------------------------------------------------------------

    /// Answers the values that the symbols of the recipe hold now, in the format of a recipe; reads what it needs.
    void read_from_target_afresh(RavikSrv::Context const& context, RavikSrv::Command& command);
    /// The same with the configuration and the symbol table at hand; leaves the recipe's records in `symbols`.
    void read_from_target(RavikSrv::Context const& context, RavikSrv::Command& command, RavikSrv::Value const& config,
                          RavikSrv::Value const& symbol_mapping, SymbolList& symbols);
    /// Reads the symbols of a domain and adds to `values` those that the stored recipe names. Answers true where that
    /// failed and the caller must stop; the command then says why.
    bool create_cmd_group_and_read_from_target(RavikSrv::Context const& context, RavikSrv::Command& command,
                                               ReadGroup& reads, RavikSrv::Value const& stored,
                                               RavikSrv::Value& values);

    // GetRecipes and GetActiveRecipes ---------------------------------------------------------------------------------

    struct ActiveSearch;

    /// Lists the recipes of a type and of the types that inherit it, the last stored first.
    void get_recipes(RavikSrv::Context const& context, RavikSrv::Command& command);
    /// Lists those of the named recipes, or of all, whose values stand in the controllers.
    void get_active_recipes(RavikSrv::Context const& context, RavikSrv::Command& command);
    /// Whether the recipe at the full path is active. Answers false after a failure; the command then says which.
    bool recipe_is_active(ActiveSearch& search, std::string const& path, unsigned long depth);
    bool values_are_active(ActiveSearch& search, RavikSrv::Value const& stored, RavikSrv::Value const& current,
                           SymbolList& symbols, unsigned long depth, unsigned long& levels);
    /// The full path of the stored recipe that a text names, empty where it names none. A relative name counts where
    /// `stands_for_recipe` says that the text can't be anything else.
    std::string find_nested_recipe(char const* text, bool stands_for_recipe);
    std::vector<std::string> copy_recipe_paths();

    // UpdateRecipe ----------------------------------------------------------------------------------------------------

    /// Brings a stored recipe into line with its type: drops what the type no longer has, fills in what the recipe
    /// lacks, and checks the values.
    void update_recipe(RavikSrv::Context const& context, RavikSrv::Command& command);
    void update_values(RavikSrv::Context const& context, RavikSrv::Command& command, RavikSrv::Value const& config,
                       std::string const& recipe_path, SymbolList& symbols);
    /// Empties the values of a recipe whose type has no members.
    void clear_values(RavikSrv::Context const& context, RavikSrv::Command& command, std::string const& values_path);
    /// Removes the values that no record stands for; the command's read value then tells which.
    void drop_stale_values(RavikSrv::Context const& context, RavikSrv::Command& command, RavikSrv::Value const& values,
                           std::string const& values_path, SymbolList& symbols);
    /// Fills in the members of the recipe's own type that have no value. Answers the `RecipeResult` of a failure as a
    /// number, with its text.
    RavikSrv::ResultPair validate_members(RavikSrv::Context const& context, std::string const& values_path,
                                          RavikSrv::Value const& members, RavikSrv::Value const& values,
                                          SymbolList& symbols);
    /// Checks the values of the symbols that no other type brought along, and resets those of a wrong type.
    void validate_recipe_schema(RavikSrv::Context const& context, RavikSrv::Command& command,
                                std::string const& values_path, SymbolList const& symbols);
    /// Answers false where the checks must end; the command then says why.
    bool validate_record(RavikSrv::Context const& context, RavikSrv::Command& command, std::string const& values_path,
                         SymbolData const& record);
    /// Writes one value of a recipe.
    RavikSrv::ErrorValue write_value(RavikSrv::Context const& context, std::string const& values_path,
                                     std::string const& name, RavikSrv::Value const& value);

    // Shared operations -----------------------------------------------------------------------------------------------

    /// The full path of the recipe that the parameters name. Answers false where they are no struct; the command then
    /// says so.
    static bool requested_recipe(RavikSrv::Command& command, std::string& recipe_path);
    /// `get_symbol_data` of a stored recipe. Answers false where that failed; the command says why, with `failure`.
    static bool resolve_recipe(RavikSrv::Command& command, RavikSrv::Value& config, std::string& recipe_path,
                               SymbolList& symbols, RecipeResult failure);

    /// Reads the server's table of mapped symbols.
    RavikSrv::Value read_symbol_table();
    /// Judges an executed group; `group_error` is what its execution answered. Answers true where the group counts as
    /// failed; the command then says why, with `partly_failed` where the server did its part.
    bool handle_read_errors(RavikSrv::Command& command, RavikSrv::ErrorValue group_error,
                            RavikSrv::CommandGroup const& group, RecipeResult partly_failed);
    /// The text that the extension of `domain` gives to its result `code`.
    std::string extension_error(std::string const& domain, unsigned code);

    // Symbol resolution -----------------------------------------------------------------------------------------------

    /// Appends the records of a recipe's type, with all types that it inherits and nests, to `symbols` and lays the
    /// recipe's values over them. `recipe_path` becomes the full path. A `recipe` that is not null takes the place of
    /// the recipe stored at `recipe_name`. A `config` that is only part of the configuration is replaced by the type
    /// found in it. After a failure the records mean nothing.
    static RavikSrv::ResultPair get_symbol_data(RavikSrv::Value& config, std::string& recipe_path, SymbolList& symbols,
                                                RavikSrv::Value const& recipe, std::string const& recipe_name);
    /// Tells for each symbol who serves it, and appends the distinct domains in the order in which they are met.
    /// Answers `SYMBOL_NOT_MAPPED` at the first symbol that is not in the table.
    static RecipeResult symboldata_from_srv_config(SymbolList& symbols, std::vector<std::string>& domains,
                                                   RavikSrv::Value const& symbol_mapping);
    /// Appends to `result` the names of all types that inherit the type, directly or through others, one for each way
    /// in which they do. Sets the command's result to `RECURSION` where a walk goes too deep or the names too many.
    void influenced_by_inherited_recipetype(std::string const& recipetype_name, std::vector<std::string>& result,
                                            RavikSrv::Value const& config, RavikSrv::Command& command,
                                            unsigned long depth);
    /// Writes to the recipe whose values stand at `values_path` the members that its type inherits and that it lacks,
    /// each with its default value. Reports a failure on the command.
    void recipe_add_inherited_symbols(RavikSrv::Context const& context, RavikSrv::Command& command,
                                      std::string const& recipetype_name, RavikSrv::Value const& config,
                                      std::string const& values_path, unsigned long depth);

    // Stored paths ----------------------------------------------------------------------------------------------------

    /// Adds the path to the list that it belongs to, unless it is there; a path of neither list is ignored.
    void store_path(std::string const& path);

    // Change and import checks ----------------------------------------------------------------------------------------
    // Where import data are given they stand for the stored configuration. Without the internal interface of the host
    // nothing tells whether a value fits its schema; the other checks are made all the same.

    /// Whether `value` may come to stand at `path`. Import data are the configuration as it will stand after the
    /// import, empty for a change.
    RavikSrv::ResultPair import_change(RavikSrv::Context const& context, std::string const& path,
                                       RavikSrv::Value const& value, RavikSrv::Value const& import_data,
                                       std::string const& schema_type);
    /// A recipe without a type is held against nothing.
    RavikSrv::ResultPair check_recipe(RavikSrv::Context const& context, std::string const& path,
                                      RavikSrv::Value const& recipe, RavikSrv::Value const& import_data);
    /// Whether the values fit the symbols and members of the recipe's type, which `config` holds.
    RavikSrv::ResultPair validate_recipe_values(RavikSrv::Value const& config, std::string const& path,
                                                RavikSrv::Value const& recipe);
    RavikSrv::ResultPair validate_recipe_value(SymbolData const& record, RavikSrv::Value const& values,
                                               RavikSrv::Value const& symbol_table);
    /// Whether the symbol is mapped.
    RavikSrv::ResultPair check_symbol(char const* symbol);
    /// Whether nested types are no inherited ones and default values fit.
    RavikSrv::ResultPair validate_recipe_type(RavikSrv::Context const& context, RavikSrv::Value const& recipe_type,
                                              RavikSrv::Value const& import_data);
    RavikSrv::ResultPair validate_default_value(RavikSrv::Value const& member);

    // Delete and rename cascade ---------------------------------------------------------------------------------------
    // A failing write stops no pass; the answer of a pass is the outcome of its last write. The first pass that fails
    // ends the cascade. `snapshot` is the configuration as it stood when the cascade began.

    /// Carries a delete (the new path is empty) or rename through whatever refers to the entry.
    RavikSrv::ResultPair delete_rename(RavikSrv::Context const& context, std::string const& old_path,
                                       std::string const& new_path);
    /// Keeps the stored paths in step.
    void delete_rename_path(std::string const& old_path, std::string const& new_path);
    /// Moves the recipes' values of a renamed member. Ends with success at a recipe of the type that has none.
    RavikSrv::ResultPair delete_rename_recipe_values(RavikSrv::Value const& snapshot, RavikSrv::Context const& context,
                                                     Move const& move);
    /// Corrects recipe types, then recipes. Ends with success at a stored type that is missing.
    RavikSrv::ResultPair delete_rename_recipetype(RavikSrv::Value const& snapshot, RavikSrv::Context const& context,
                                                  Move const& move);
    /// Corrects the inherited types of one type.
    RavikSrv::ResultPair delete_rename_recipetypenames(RavikSrv::Context const& context, Move const& move,
                                                       RavikSrv::Value const& type, std::string const& type_path);
    /// Corrects the nested types of one type; a member whose type is deleted goes with it.
    RavikSrv::ResultPair delete_rename_recipetype_in_member(RavikSrv::Value const& snapshot,
                                                            RavikSrv::Context const& context, Move const& move,
                                                            std::string const& type_path);
    /// Corrects the recipes of a type; they go with a type that is deleted.
    RavikSrv::ResultPair recipetypename_in_recipes(RavikSrv::Value const& snapshot, RavikSrv::Context const& context,
                                                   Move const& move);
    /// Corrects values that name a recipe, in members that the recipe's own type declares as nested. A failure's text
    /// is the path of the recipe. Ends with success at a stored recipe that is missing.
    RavikSrv::ResultPair delete_rename_recipe_references(RavikSrv::Value const& snapshot,
                                                         RavikSrv::Context const& context, Move const& move);

    RavikSrv::IRavikSrvExtHost* host;
    /// The host once more, null until `init` and where it offers no such interface.
    RavikSrv::IInternalHost* internal_host = nullptr;
    boost::mutex recipe_paths_mutex;
    boost::mutex recipe_type_paths_mutex;
    /// Full paths of the recipes and of the recipe types that the server has reported.
    PathList recipe_paths;
    PathList recipe_type_paths;
};

} // namespace RecipeManagement
