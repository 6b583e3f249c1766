#pragma once

#include "Client/Operation.h"

#include "Project/Project.h"

#include <string_view>

namespace Ravik::Wire
{

/// The operations of `Project` that go over the socket, with the names that they have there.
namespace Operations
{

inline constexpr auto begin_request = operation("begin_request", &Project::begin_request);
inline constexpr auto call = operation(
    "call", static_cast<FunctionOutcome (Project::*)(RavikSrv::Session, std::string const&, std::string const&,
                                                     RavikSrv::Value const&, Origin const&)>(&Project::call));
inline constexpr auto functions = operation("functions", &Project::functions);
inline constexpr auto domains = operation("domains", &Project::domains);

inline constexpr auto activate = operation("activate", &Project::activate);
inline constexpr auto plan = operation("plan", &Project::plan);
inline constexpr auto compare = operation("compare", &Project::compare);
inline constexpr auto expected = operation("expected", &Project::expected);
inline constexpr auto revert_activation = operation("revert_activation", &Project::revert_activation);

inline constexpr auto recipe_names = operation("recipe_names", &Project::recipe_names);
inline constexpr auto recipes_of = operation("recipes_of", &Project::recipes_of);
inline constexpr auto members = operation("members", &Project::members);
inline constexpr auto read = operation("read", &Project::read);
inline constexpr auto save = operation("save", &Project::save);
inline constexpr auto update = operation("update", &Project::update);
inline constexpr auto active = operation("active", &Project::active);
inline constexpr auto revisions = operation("revisions", &Project::revisions);
inline constexpr auto takes_edits = operation("takes_edits", &Project::takes_edits);
inline constexpr auto library_status = operation("library_status", &Project::library_status);

inline constexpr auto get = operation("get", &Project::get);
inline constexpr auto set =
    operation("set", static_cast<EditReport (Project::*)(std::string const&, std::string const&, RavikSrv::Value const&,
                                                         SetOptions const&)>(&Project::set));
inline constexpr auto copy = operation("copy", &Project::copy);
inline constexpr auto remove = operation("remove", &Project::remove);
inline constexpr auto rename = operation("rename", &Project::rename);
inline constexpr auto import = operation("import", &Project::import);
inline constexpr auto export_table = operation("export_table", &Project::export_table);
inline constexpr auto import_table = operation("import_table", &Project::import_table);
inline constexpr auto history = operation("history", &Project::history);
inline constexpr auto history_record = operation("history_record", &Project::history_record);
inline constexpr auto history_of_edit = operation("history_of_edit", &Project::history_of_edit);
inline constexpr auto history_requests = operation("history_requests", &Project::history_requests);
inline constexpr auto revert = operation("revert", &Project::revert);
inline constexpr auto check = operation("check", &Project::check);

inline constexpr auto symbols = operation("symbols", &Project::symbols);
inline constexpr auto read_symbols = operation("read_symbols", &Project::read_symbols);
inline constexpr auto write_symbol = operation(
    "write_symbol", static_cast<ExecutedGroup (Project::*)(std::string const&, RavikSrv::Value const&, Origin const&)>(
                        &Project::write_symbol));

inline constexpr std::tuple all{begin_request,
                                call,
                                functions,
                                domains,
                                activate,
                                plan,
                                compare,
                                expected,
                                revert_activation,
                                recipe_names,
                                recipes_of,
                                members,
                                read,
                                save,
                                update,
                                active,
                                revisions,
                                takes_edits,
                                library_status,
                                get,
                                set,
                                copy,
                                remove,
                                rename,
                                import,
                                export_table,
                                import_table,
                                history,
                                history_record,
                                history_of_edit,
                                history_requests,
                                revert,
                                check,
                                symbols,
                                read_symbols,
                                write_symbol};

} // namespace Operations

/// Makes the call of the operation of that name, whose arguments the bytes hold, and writes its result. Throws
/// `BrokenMessage` where there is no such operation, the bytes hold no arguments of it, or the result can't be written.
void carry_out(std::string_view name, Project& project, ByteReader& bytes, ServiceSide& service, ByteWriter& result);

} // namespace Ravik::Wire
