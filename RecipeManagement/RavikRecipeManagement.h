#pragma once

#include "Call.h"
#include "api_types.h"
#include "recipe_config_handler/StoredPaths.h"

#include <string>
#include <vector>

namespace RecipeManagement
{

/// The recipe management: recipes and recipe types in the server's configuration, and requests that bring them to the
/// controllers and back. What follows is its table of contents; each operation is written in the source of its name, as
/// a class made for the one call.
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
    explicit RavikRecipeManagement(IRavikSrvExtHost* given_host);
    RavikRecipeManagement(RavikRecipeManagement const&) = delete;
    RavikRecipeManagement& operator=(RavikRecipeManagement const&) = delete;

    /// Registers the three listeners.
    ResultPair init(Context context) override;
    String error_string(unsigned code) override;
    ~RavikRecipeManagement() override;

    /// Answers each command whose mapping names a function; the others stay as they are. The group's result becomes
    /// that of the last command that failed.
    void on_request(Context context, CommandGroup* group) override;
    ResultPair before_change(Context context, char const* path, Value& value, char const* schema_type) override;
    ResultPair before_import(Context context, char const* path, Value& value, Value const& import_data,
                             char const* schema_type) override;
    ResultPair before_export(Context context, char const* path, Value& value, Value const& data,
                             char const* schema_type) override;
    /// Stores the path of a recipe or recipe type.
    ResultPair on_change(Context context, char const* path, char const* schema_type) override;
    ResultPair on_delete(Context context, char const* path, Value const& value, char const* schema_type) override;
    ResultPair on_rename(Context context, char const* path, char const* new_path, char const* schema_type) override;

private:
    // Requests: their outcome stands on the command -------------------------------------------------------------------

    struct Function;
    static std::vector<Function> const& functions();
    /// Runs the function that the command is mapped to; what it throws becomes the command's error.
    void answer(Context const& context, Command& command) noexcept;

    /// Writes the values of the recipe that the command names, a group for each domain.
    void activate_recipe(Context const& context, Command& command);
    /// Reads the values that the symbols of the recipe hold now, in the format of a recipe.
    void read_from_target(Context const& context, Command& command);
    /// Brings a stored recipe into line with its type.
    void update_recipe(Context const& context, Command& command);
    /// Lists the recipes of a type and of the types that inherit it, the last stored first.
    void get_recipes(Context const& context, Command& command);
    /// Lists those of the named recipes, or of all, whose values stand in the controllers.
    void get_active_recipes(Context const& context, Command& command);

    // Configuration ---------------------------------------------------------------------------------------------------

    /// Whether `value` may come to stand at `path`. Import data are the configuration as it will stand after the
    /// import, empty for a change.
    ResultPair import_change(Context const& context, std::string const& path, Value const& value,
                             Value const& import_data, std::string const& schema_type);
    /// Adds the path to the list that it belongs to, unless it is there; a path of neither list is ignored.
    void store_path(std::string const& path);
    /// Carries a delete (the new path is empty) or rename through whatever refers to the entry.
    ResultPair delete_rename(Context const& context, std::string const& old_path, std::string const& new_path);

    Call call_in(Context const& context) const { return {*host, internal_host, context}; }
    StoredPaths stored_recipes() { return {recipe_paths, recipe_paths_mutex}; }
    StoredPaths stored_recipe_types() { return {recipe_type_paths, recipe_type_paths_mutex}; }

    IRavikSrvExtHost* host;
    /// The host once more, null until `init` and where it offers no such interface.
    IInternalHost* internal_host = nullptr;
    boost::mutex recipe_paths_mutex;
    boost::mutex recipe_type_paths_mutex;
    /// Full paths of the recipes and of the recipe types that the server has reported.
    PathList recipe_paths;
    PathList recipe_type_paths;
};

} // namespace RecipeManagement
