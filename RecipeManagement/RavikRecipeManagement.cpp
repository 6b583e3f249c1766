#include "RavikRecipeManagement.h"

#include "configuration_keys.h"
#include "recipe_result.h"

#include "algorithm_helper.h"
#include "boundary_guard.h"
#include "extension_frame.h"

namespace RecipeManagement
{

namespace
{

/// All eight kinds of change.
constexpr int every_change = 255;

/// Every change at every path.
Value listener_settings()
{
    Value paths;
    paths.set_type(ValueType::Vector);
    paths << Value("*");
    Value settings;
    settings.set_type(ValueType::Struct);
    settings.insert(Key::flags, every_change);
    settings.insert(Key::paths, paths);
    Value all;
    all.set_type(ValueType::Vector);
    all << settings;
    return all;
}

} // namespace

// Lifecycle -----------------------------------------------------------------------------------------------------------

RavikRecipeManagement::RavikRecipeManagement(IRavikSrvExtHost* given_host) : host(given_host)
{
}

RavikRecipeManagement::~RavikRecipeManagement() = default;

ResultPair RavikRecipeManagement::init(Context context)
{
    return RavikSrv::guarded_result(
        "init",
        [&]
        {
            host->register_listener(context, static_cast<RavikSrv::IRavikSrvRequestListener*>(this));
            host->register_listener(context, static_cast<RavikSrv::IRavikSrvExportListener*>(this));
            internal_host = dynamic_cast<IInternalHost*>(host);
            host->register_listener(context, static_cast<RavikSrv::RavikSrvConfigListener*>(this), listener_settings());
            return ResultPair(ErrorValue::SUCCESS);
        });
}

String RavikRecipeManagement::error_string(unsigned code)
{
    return RavikSrv::guarded_answer("error_string", String(), [&] { return String(result_name(code)); });
}

// Dispatch ------------------------------------------------------------------------------------------------------------

struct RavikRecipeManagement::Function
{
    char const* name;
    void (RavikRecipeManagement::*handler)(Context const& context, Command& command);
};

std::vector<RavikRecipeManagement::Function> const& RavikRecipeManagement::functions()
{
    static std::vector<Function> const all{
        {"ActivateRecipe", &RavikRecipeManagement::activate_recipe},
        {"ReadFromTarget", &RavikRecipeManagement::read_from_target},
        {"UpdateRecipe", &RavikRecipeManagement::update_recipe},
        {"GetRecipes", &RavikRecipeManagement::get_recipes},
        {"GetActiveRecipes", &RavikRecipeManagement::get_active_recipes},
    };
    return all;
}

void RavikRecipeManagement::on_request(Context context, CommandGroup* group)
{
    for (auto& command : RavikSrv::Commands(*group))
    {
        answer(context, command);
        if (auto const result = command.extension_result(); result != 0)
        {
            group->set_result(result);
        }
    }
}

void RavikRecipeManagement::answer(Context const& context, Command& command) noexcept
{
    for (auto const& function : functions())
    {
        if (Algorithm::equals(command.mapping(), function.name))
        {
            RavikSrv::guarded(
                function.name, [&] { (this->*function.handler)(context, command); },
                [&](char const* text)
                {
                    // The code first: it needs no memory.
                    set_command_result(command, RecipeResult::SERVER_ERROR);
                    set_command_error(command, text, RecipeResult::SERVER_ERROR);
                });
            return;
        }
    }
}

// Callbacks that accept whatever comes --------------------------------------------------------------------------------

ResultPair RavikRecipeManagement::before_export(Context /*context*/, char const* /*path*/, Value& /*value*/,
                                                Value const& /*data*/, char const* /*schema_type*/)
{
    return ErrorValue::SUCCESS;
}

} // namespace RecipeManagement

// Entry ---------------------------------------------------------------------------------------------------------------

extern "C"
{

    __attribute__((visibility("default"))) int ext_interface(RavikSrv::IRavikSrvExtHost* host,
                                                             RavikSrv::IRavikSrvExt** extension, double* version)
    {
        return RavikSrv::enter_extension<RecipeManagement::RavikRecipeManagement>(host, extension, version);
    }
}
