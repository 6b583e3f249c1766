#pragma once

#include "Project/Project.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

namespace Ravik::Test
{

/// A project whose operations do what a test says, or nothing. Names and paths are texts.
class ScriptedProject : public Project
{
public:
    using Text = std::string const&;

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
    LibraryStatus library;
    bool is_writable = true;

    std::vector<std::string> const& warnings() const noexcept override { return told_at_opening; }
    RavikSrv::Session begin_request() override { return RavikSrv::Session(++m_requests); }
    using Project::call;
    FunctionOutcome call(RavikSrv::Session request, std::string const& /*domain*/, std::string const& /*function*/,
                         RavikSrv::Value const& /*parameters*/, Origin const& origin) override
    {
        return on_call(request, origin);
    }
    MOCK_METHOD(std::vector<std::string>, functions, (Text), (const, override));
    std::vector<std::string> domains() const override { return {"Line"}; }

    ActivationReport activate(std::string const& recipe, ActivationOptions const& options) override
    {
        return on_activate(recipe, options);
    }
    MOCK_METHOD(ActivationReport, plan, (Text), (override));
    MOCK_METHOD(ActivationReport, compare, (Text, Text), (override));
    MOCK_METHOD(ActivationReport, expected, (Text), (override));
    MOCK_METHOD(ActivationReport, revert_activation, (RavikSrv::Value const&, WriteBackOptions const&), (override));
    MOCK_METHOD(NamesOutcome, recipe_names, (), (const, override));
    MOCK_METHOD(NamesOutcome, recipes_of, (Text), (override));
    MOCK_METHOD(MembersOutcome, members, (Text), (const, override));
    MOCK_METHOD(ReadReport, read, (Text), (override));
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
    bool takes_edits() const noexcept override { return is_writable; }
    LibraryStatus library_status(std::chrono::milliseconds wait) override
    {
        library.newest += wait.count();
        return library;
    }

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
    MOCK_METHOD(EditReport, copy, (Text, Text, Text, SetOptions const&), (override));
    MOCK_METHOD(EditReport, remove, (Text, Text, MoveOptions const&), (override));
    MOCK_METHOD(EditReport, rename, (Text, Text, Text, MoveOptions const&), (override));
    MOCK_METHOD(EditReport, import, (Text, RavikSrv::Value const&, ImportOptions const&), (override));
    MOCK_METHOD(ConfigurationOutcome, export_table, (Text, Text, TableText::Form const&), (const, override));
    MOCK_METHOD(EditReport, import_table, (Text, Text, std::string_view, ImportOptions const&), (override));
    HistoryOutcome history(HistoryFilter const& /*filter*/) const override { return remembered; }
    HistoryOutcome history_record(std::int64_t /*id*/) const override { return remembered; }
    HistoryOutcome history_of_edit(std::string const& /*edit*/) override { return remembered; }
    HistoryOutcome history_requests(std::string const& /*since*/) const override { return remembered; }
    MOCK_METHOD(EditReport, revert, (std::int64_t, RevertOptions const&), (override));
    std::vector<Finding> check(std::string const& /*domain*/) const override { return findings; }

    MOCK_METHOD(ConfigurationOutcome, backup, (std::filesystem::path const&, bool), (override));
    MOCK_METHOD(std::vector<SymbolInfo>, symbols, (), (const, override));
    MOCK_METHOD(ExecutedGroup, read_symbols, (std::vector<std::string> const&), (override));
    using Project::write_symbol;
    MOCK_METHOD(ExecutedGroup, write_symbol, (Text, RavikSrv::Value const&, Origin const&), (override));

private:
    std::uint64_t m_requests = 0;
};

} // namespace Ravik::Test
