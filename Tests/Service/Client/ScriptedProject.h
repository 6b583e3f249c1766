#pragma once

#include "Project/Project.h"

#include <functional>
#include <string>
#include <vector>

namespace Ravik::Test
{

/// A project whose operations do what a test says, or nothing.
class ScriptedProject : public Project
{
public:
    std::vector<std::string> told_at_opening;
    std::function<ActivationReport(std::string const& recipe, ActivationOptions const& options)> on_activate;
    std::function<FunctionOutcome(RavikSrv::Session request, Origin const& origin)> on_call;
    std::function<EditReport(RavikSrv::Value const& value, SetOptions const& options)> on_set;
    std::function<UpdateReport(std::vector<std::string> const& recipes, UpdateOptions const& options)> on_update;
    std::function<ConfigurationOutcome(std::string const& path)> on_get;
    SaveReport saved;
    HistoryOutcome remembered;
    ActiveReport found_active;
    std::vector<Finding> findings;

    std::vector<std::string> const& warnings() const noexcept override { return told_at_opening; }
    RavikSrv::Session begin_request() override { return RavikSrv::Session(++m_requests); }
    using Project::call;
    FunctionOutcome call(RavikSrv::Session request, std::string const& /*domain*/, std::string const& /*function*/,
                         RavikSrv::Value const& /*parameters*/, Origin const& origin) override
    {
        return on_call(request, origin);
    }
    std::vector<std::string> functions(std::string const& /*domain*/) const override { return {}; }
    std::vector<std::string> domains() const override { return {"Line"}; }

    ActivationReport activate(std::string const& recipe, ActivationOptions const& options) override
    {
        return on_activate(recipe, options);
    }
    ActivationReport plan(std::string const& /*recipe*/) override { return {}; }
    ActivationReport compare(std::string const& /*recipe*/, std::string const& /*other*/) override { return {}; }
    ActivationReport expected(std::string const& /*recipe*/) override { return {}; }
    ActivationReport revert_activation(RavikSrv::Value const& /*body*/, WriteBackOptions const& /*options*/) override
    {
        return {};
    }

    NamesOutcome recipe_names() const override { return {}; }
    NamesOutcome recipes_of(std::string const& /*type*/) override { return {}; }
    MembersOutcome members(std::string const& /*type*/) const override { return {}; }
    ReadReport read(std::string const& /*recipe*/) override { return {}; }
    SaveReport save(std::string const& /*recipe*/, SaveOptions const& /*options*/) override { return saved; }
    UpdateReport update(std::vector<std::string> const& recipes, UpdateOptions const& options) override
    {
        return on_update(recipes, options);
    }
    ActiveReport active(std::vector<std::string> const& /*recipes*/, ActiveOptions const& /*options*/) override
    {
        return found_active;
    }
    Revisions revisions() const noexcept override { return {.configuration = 3, .history = -4, .activity = 5}; }

    ConfigurationOutcome get(std::string const& /*domain*/, std::string const& path) const override
    {
        return on_get(path);
    }
    using Project::set;
    EditReport set(std::string const& /*domain*/, std::string const& /*path*/, RavikSrv::Value const& value,
                   SetOptions const& options) override
    {
        return on_set(value, options);
    }
    EditReport copy(std::string const& /*domain*/, std::string const& /*path*/, std::string const& /*new_path*/,
                    SetOptions const& /*options*/) override
    {
        return {};
    }
    EditReport remove(std::string const& /*domain*/, std::string const& /*path*/,
                      MoveOptions const& /*options*/) override
    {
        return {};
    }
    EditReport rename(std::string const& /*domain*/, std::string const& /*path*/, std::string const& /*new_path*/,
                      MoveOptions const& /*options*/) override
    {
        return {};
    }
    EditReport import(std::string const& /*domain*/, RavikSrv::Value const& /*data*/,
                      ImportOptions const& /*options*/) override
    {
        return {};
    }
    ConfigurationOutcome export_table(std::string const& /*domain*/, std::string const& /*type*/,
                                      TableText::Form const& /*form*/) const override
    {
        return {};
    }
    EditReport import_table(std::string const& /*domain*/, std::string const& /*type*/, std::string_view /*text*/,
                            ImportOptions const& /*options*/) override
    {
        return {};
    }
    HistoryOutcome history(HistoryFilter const& /*filter*/) const override { return remembered; }
    HistoryOutcome history_record(std::int64_t /*id*/) const override { return remembered; }
    HistoryOutcome history_requests(std::string const& /*since*/) const override { return remembered; }
    EditReport revert(std::int64_t /*id*/, RevertOptions const& /*options*/) override { return {}; }
    std::vector<Finding> check(std::string const& /*domain*/) const override { return findings; }

    ConfigurationOutcome backup(std::filesystem::path const& /*file*/, bool /*replace*/) override { return {}; }
    std::vector<SymbolInfo> symbols() const override { return {}; }
    ExecutedGroup read_symbols(std::vector<std::string> const& /*names*/) override { return {}; }
    using Project::write_symbol;
    ExecutedGroup write_symbol(std::string const& /*name*/, RavikSrv::Value const& /*value*/,
                               Origin const& /*origin*/) override
    {
        return {};
    }

private:
    std::uint64_t m_requests = 0;
};

} // namespace Ravik::Test
