#include "commands.h"

#include "configuration_answer.h"
#include "recipe_names.h"

#include "Project/report_values.h"

#include "Client/RemoteProject.h"
#include "Project/project_store.h"

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

Value report_value(StoreReport const& report)
{
    Value faults(ValueType::Vector);
    for (auto const& fault : report.faults)
    {
        faults << Value(std::string_view(fault));
    }
    Value value;
    value.insert("rows", static_cast<long>(report.rows));
    value.insert("records", static_cast<long>(report.records));
    value.insert("faults", faults);
    if (!report.kept_as.empty())
    {
        value.insert("kept", Value(std::string_view(report.kept_as.string())));
    }
    if (!report.recovered.empty())
    {
        value.insert("recovered", text_values(report.recovered));
    }
    if (!report.copy.empty())
    {
        value.insert("copy", Value(std::string_view(report.copy)));
    }
    return value;
}

void tell_faults(StoreReport const& report, Output& output)
{
    for (auto const& fault : report.faults)
    {
        output.print("  " + fault);
    }
}

void tell_kept(StoreReport const& report, Output& output)
{
    if (!report.kept_as.empty())
    {
        output.print("What was there is kept as " + report.kept_as.string() + ".");
    }
}

/// A store that stays as it is because of what was asked is a refusal, not a project that can't be opened.
template <typename Work> StoreReport refusing(Work const& work)
{
    try
    {
        return work();
    }
    catch (StoreRefusal const& error)
    {
        throw Failure(ErrorValue::STORAGE, error.what());
    }
}

/// Reads the store through, or has its service do so.
StoreReport checked_store(Invocation& invocation)
{
    return wait_for_project(invocation.open_options(),
                            [&](OpenOptions const& options)
                            {
                                try
                                {
                                    return check_project_store(invocation.directory(), options);
                                }
                                catch (ProjectInUse const&)
                                {
                                    auto const service = RemoteProject::connect(invocation.directory(), options);
                                    if (service == nullptr)
                                    {
                                        throw;
                                    }
                                    invocation.warn_of(*service);
                                    return service->check_store();
                                }
                            });
}

} // namespace

Answer store_check(Invocation& invocation)
{
    auto const report = refusing([&] { return checked_store(invocation); });
    auto answer = answer_of(report.is_whole() ? ErrorValue::SUCCESS : ErrorValue::STORAGE);
    answer.value = report_value(report);
    if (report.is_whole())
    {
        invocation.output().print("The store is whole: " + counted(report.rows, "row") + ", " +
                                  counted(report.records, "record") + " of the history.");
        return answer;
    }
    answer.text = "the store is damaged; 'ravik store restore FILE' puts a backup in its place, 'ravik store repair' "
                  "keeps the rows that are whole and can be reached";
    tell_faults(report, invocation.output());
    return answer;
}

Answer store_backup(Invocation& invocation)
{
    std::filesystem::path const file = invocation.operands()[0];
    auto const outcome = invocation.project().backup(file, invocation.has(Option::force));
    auto answer = configuration_answer(outcome);
    if (outcome.succeeded())
    {
        answer.value = Value(std::string_view(file.string()));
        invocation.output().print("Wrote a copy of the store to " + file.string() + ".");
    }
    return answer;
}

Answer store_restore(Invocation& invocation)
{
    auto const& backup = invocation.operands()[0];
    auto const replaced = invocation.has(Option::force) ? Replaced::anything : Replaced::nothing_whole;
    auto const report = refusing(
        [&] { return restore_project_store(invocation.directory(), backup, replaced, invocation.open_options()); });
    Answer answer;
    answer.value = report_value(report);
    invocation.output().print("Restored the store from " + backup + ": " + counted(report.rows, "row") + ".");
    tell_kept(report, invocation.output());
    return answer;
}

Answer store_repair(Invocation& invocation)
{
    auto const report =
        refusing([&] { return repair_project_store(invocation.directory(), invocation.open_options()); });
    Answer answer;
    answer.value = report_value(report);
    if (report.is_whole())
    {
        invocation.output().print("The store is whole; there is nothing to repair.");
        return answer;
    }
    invocation.output().print("Made a store of the rows that are whole, " + std::to_string(report.rows) +
                              ". Lost is what was wrong:");
    tell_faults(report, invocation.output());
    if (!report.recovered.empty())
    {
        invocation.output().print("The history gave back:");
    }
    for (auto const& path : report.recovered)
    {
        invocation.output().print("  " + path);
    }
    if (!report.copy.empty())
    {
        invocation.output().print(report.copy);
    }
    tell_kept(report, invocation.output());
    return answer;
}

} // namespace Ravik::CommandLine
