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

class WriteGroups;

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
                       SymbolList const& symbols, std::string const& recipe_path,
                       std::vector<std::string> const& domains);
    /// Writes the symbols that `domain` serves. Answers true where that failed and the caller must stop; the command
    /// then says why.
    bool create_cmd_group_and_activate(RavikSrv::Context const& context, RavikSrv::Command& command,
                                       WriteGroups& groups, std::string const& domain);

    // Shared operations -----------------------------------------------------------------------------------------------

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
