#include "library_commands.h"

#include "Table.h"
#include "commands.h"
#include "recipe_names.h"

#include "Client/RemoteProject.h"
#include "Project/library_membership.h"
#include "Project/report_values.h"

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using State = LibraryStatus::State;

/// What the library refuses, or can't be had for, is no project that can't be opened.
template <typename Work> auto refusing(Work const& work)
{
    try
    {
        return work();
    }
    catch (LibraryError const& error)
    {
        throw Failure(ErrorValue::STORAGE, error.what());
    }
}

std::string revisions_text(LibraryStatus const& status)
{
    auto const own = std::to_string(status.position.revision);
    auto const behind = status.newest - status.position.revision;
    return behind > 0 ? own + ", " + std::to_string(behind) + " behind the library" : own;
}

void print_status(LibraryStatus const& status, Output& output)
{
    auto const line = [&output](std::string const& title, std::string const& text)
    {
        if (!text.empty())
        {
            output.print(title + text);
        }
    };
    line("State:    ", name_of(status.state) + (status.since.empty() ? "" : " since " + status.since));
    line("Library:  ", status.address.empty() ? "" : status.address + ", schema " + status.schema);
    line("Server:   ", status.server);
    line("Revision: ", status.has_joined() ? revisions_text(status) : "");
    line("Why:      ", status.why);
    line("Store:    ", status.copy_failure.empty() ? "" : "could not be brought forward: " + status.copy_failure);
    for (auto const& edit : status.unknown_edits)
    {
        line("Unknown:  ", "'ravik history show " + edit + "' tells whether that edit was made");
    }
    Table table({"CONNECTED", "FROM", "SINCE"});
    for (auto const& peer : status.peers)
    {
        table.add({{peer.name}, {peer.address.empty() ? "-" : peer.address}, {peer.since}});
    }
    table.print(output);
}

std::string status_text(LibraryStatus const& status)
{
    return status.takes_edits()
               ? std::string()
               : std::string("types and recipes can't be edited here: the server is ") + name_of(status.state);
}

Side side_of(Invocation const& invocation)
{
    auto const ours = invocation.has(Option::ours);
    auto const theirs = invocation.has(Option::theirs);
    if (ours && theirs)
    {
        throw UsageError("--ours and --theirs together decide nothing");
    }
    return ours ? Side::Ours : theirs ? Side::Theirs : Side::None;
}

Answer clashing(JoinReport const& report, Output& output)
{
    for (auto const& path : report.clashes)
    {
        output.print("  " + path);
    }
    auto answer = answer_of(ErrorValue::STORAGE_CONSTRAINT, "nothing was changed: project and library differ in " +
                                                                counted(report.clashes.size(), "place") +
                                                                "; --ours or --theirs decides");
    answer.value.insert("clashes", text_values(report.clashes));
    return answer;
}

void print_join(JoinReport const& report, Output& output)
{
    auto const server = "as '" + report.server + "', at revision " + std::to_string(report.revision);
    if (report.was_joined)
    {
        output.print("The project has joined the library " + server + ", and has its recipes already.");
        return;
    }
    output.print("Joined the library " + server + ". Entries that went to it: " + std::to_string(report.sent) +
                 "; entries that came from it: " + std::to_string(report.come) + ".");
    if (!report.backup.empty())
    {
        output.print("The store as it was is kept as " + report.backup.string() + ".");
    }
}

} // namespace

std::string library_note(LibraryStatus const& status)
{
    std::string text;
    switch (status.state)
    {
    case State::None:
    case State::NotJoined:
    case State::Following:
        return {};
    case State::Connecting:
        text = "no answer yet from " + status.address;
        break;
    case State::Alone:
        text = "no link to " + status.address + " since " + status.since + " (" + status.why + ")";
        break;
    case State::Stopped:
        text = status.why;
        break;
    }
    return "library: " + text + "; this is the copy of revision " + std::to_string(status.position.revision);
}

Answer library_init(Invocation& invocation)
{
    auto const done = refusing(
        [&]
        { return init_library(invocation.directory(), invocation.has(Option::upgrade), invocation.open_options()); });
    Answer answer;
    answer.value = text_value(done);
    invocation.output().print(done);
    return answer;
}

Answer library_status(Invocation& invocation)
{
    // A host that is silent, or a store that is at work elsewhere, too, is told after two.
    constexpr std::chrono::seconds longest_wait{5};
    auto const project = reach_project(invocation.directory(), invocation.open_options());
    invocation.warn_of(*project);
    auto const status = project->library_status(longest_wait);
    auto answer = answer_of(status.takes_edits() ? ErrorValue::SUCCESS : ErrorValue::STORAGE, status_text(status));
    answer.value = value_of(status);
    print_status(status, invocation.output());
    return answer;
}

Answer library_join(Invocation& invocation)
{
    JoinOptions const options{.name = invocation.operands().empty() ? "" : invocation.operands()[0],
                              .side = side_of(invocation)};
    auto const report =
        refusing([&] { return join_library(invocation.directory(), options, invocation.open_options()); });
    if (!report.clashes.empty())
    {
        return clashing(report, invocation.output());
    }
    Answer answer;
    answer.value.insert("server", text_value(report.server));
    answer.value.insert("revision", Value(report.revision));
    answer.value.insert("sent", static_cast<long>(report.sent));
    answer.value.insert("come", static_cast<long>(report.come));
    answer.value.insert("joinedBefore", Value(report.was_joined));
    if (!report.backup.empty())
    {
        answer.value.insert("backup", text_value(report.backup.string()));
    }
    print_join(report, invocation.output());
    return answer;
}

Answer library_leave(Invocation& invocation)
{
    auto const report = refusing([&] { return leave_library(invocation.directory(), invocation.open_options()); });
    Answer answer;
    answer.value.insert("revision", Value(report.revision));
    answer.value.insert("stillKnown", Value(!report.still_known.empty()));
    invocation.output().print("Left the library. Its types and recipes, as of revision " +
                              std::to_string(report.revision) + ", are the project's own now.");
    if (!report.still_known.empty())
    {
        answer.text = "the library still knows the server '" + report.server + "': " + report.still_known;
    }
    return answer;
}

} // namespace Ravik::CommandLine
