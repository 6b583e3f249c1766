#include "Project/OpenProject.h"

#include "Configuration/Entry.h"
#include "Configuration/tree.h"
#include "Editing/table.h"

#include "api_helper.h"

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

namespace
{

Value counts_of(ReadTable const& table)
{
    Value counts;
    counts.insert("new", static_cast<long>(table.created));
    counts.insert("changed", static_cast<long>(table.changed));
    counts.insert("same", static_cast<long>(table.same));
    return counts;
}

EditReport refused(std::vector<Refusal> mistakes, bool all)
{
    EditReport report;
    report.error = mistakes.front().error;
    report.text = mistakes.front().text;
    report.path = mistakes.front().path;
    report.place = mistakes.front().place;
    report.refused = all ? std::move(mistakes) : std::vector<Refusal>();
    return report;
}

} // namespace

Inspection OpenProject::inspection(std::string const& domain) const
{
    return {m_core.configuration.tree(domain), m_symbols, m_validator};
}

/// Whether the domain has such a recipe type.
ConfigurationOutcome OpenProject::check_type(std::string const& domain, std::string const& type) const
{
    if (!m_core.configuration.has_domain(domain))
    {
        return unknown_domain(domain);
    }
    auto const tree = m_core.configuration.tree(domain);
    auto path = Tree::join(Key::recipe_type_list, type);
    auto const* const node = RavikSrv::node_path(path, tree).node;
    if (node != nullptr && kind_of(path, *node) == EntryKind::RecipeType)
    {
        return {};
    }
    return {.error = ErrorValue::ENTRY_NOT_FOUND,
            .text = node == nullptr ? "there is no such recipe type" : "this is no recipe type",
            .path = std::move(path),
            .value = {}};
}

ConfigurationOutcome OpenProject::export_table(std::string const& domain, std::string const& type,
                                               TableText::Form const& form) const
{
    auto outcome = check_type(domain, type);
    if (!outcome.succeeded())
    {
        return outcome;
    }
    auto const table = write_table(inspection(domain), type, form);
    outcome.error = table.refusal.error;
    outcome.text = table.refusal.text;
    outcome.path = table.refusal.path;
    outcome.value = Value(std::string_view(table.text));
    return outcome;
}

EditReport OpenProject::import_table(std::string const& domain, std::string const& type, std::string_view text,
                                     ImportOptions const& options)
{
    // The recipes stay as they are between the reading of the table and its import.
    Configuration::Turn turn(m_core.configuration, options.dry_run ? "" : domain);
    EditReport report;
    static_cast<ConfigurationOutcome&>(report) = check_type(domain, type);
    if (!report.succeeded())
    {
        return report;
    }
    auto table = read_table(inspection(domain), type, text);
    if (!table.mistakes.empty())
    {
        return refused(std::move(table.mistakes), options.dry_run);
    }
    if (table.data.isset())
    {
        Value data;
        data.swap(table.data);
        report = import(domain, data, options);
        report.place = table.placed({report.error, "", report.path, {}}).place;
        for (auto& refusal : report.refused)
        {
            refusal = table.placed(std::move(refusal));
        }
    }
    report.value = report.condition_failed ? report.value : counts_of(table);
    return committed(turn, std::move(report));
}

} // namespace Ravik
