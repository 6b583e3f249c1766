#pragma once

#include "Command.h"

/// What the commands do, in the order of their table: each prints for a person and returns what `--json` prints. They
/// throw `UsageError`, `Failure` and `ProjectError`.
namespace Ravik::CommandLine
{

/// init [DIR]
Answer init(Invocation& invocation);
/// activate RECIPE
Answer activate(Invocation& invocation);
/// diff RECIPE [OTHER]
Answer diff(Invocation& invocation);
/// read RECIPE
Answer read(Invocation& invocation);
/// active [RECIPE…]
Answer active(Invocation& invocation);
/// recipes TYPE
Answer recipes(Invocation& invocation);
/// update RECIPE…, update --type TYPE, update --all
Answer update(Invocation& invocation);
/// list [PATH]
Answer list(Invocation& invocation);
/// save RECIPE
Answer save(Invocation& invocation);
/// call FUNCTION [JSON]
Answer call(Invocation& invocation);
/// get [PATH]
Answer get(Invocation& invocation);
/// import FILE
Answer import(Invocation& invocation);
/// export [FILE]
Answer export_lists(Invocation& invocation);
/// set PATH JSON
Answer set(Invocation& invocation);
/// delete PATH
Answer remove(Invocation& invocation);
/// rename PATH NEW_PATH
Answer rename(Invocation& invocation);
/// copy PATH NEW_PATH
Answer copy(Invocation& invocation);
/// history
Answer history(Invocation& invocation);
/// history show ID
Answer history_show(Invocation& invocation);
/// revert ID
Answer revert(Invocation& invocation);
/// check
Answer check(Invocation& invocation);
/// symbols
Answer symbols(Invocation& invocation);
/// symbol get NAME…
Answer symbol_get(Invocation& invocation);
/// symbol set NAME JSON
Answer symbol_set(Invocation& invocation);
/// store check
Answer store_check(Invocation& invocation);
/// store backup FILE
Answer store_backup(Invocation& invocation);
/// store restore FILE
Answer store_restore(Invocation& invocation);
/// store repair
Answer store_repair(Invocation& invocation);
/// library init
Answer library_init(Invocation& invocation);
/// library status
Answer library_status(Invocation& invocation);
/// library join [NAME]
Answer library_join(Invocation& invocation);
/// library leave
Answer library_leave(Invocation& invocation);
/// serve
Answer serve(Invocation& invocation);
/// user add NAME
Answer user_add(Invocation& invocation);
/// user list
Answer user_list(Invocation& invocation);
/// user remove NAME
Answer user_remove(Invocation& invocation);
/// user password NAME
Answer user_password(Invocation& invocation);
/// token add NAME
Answer token_add(Invocation& invocation);
/// token list
Answer token_list(Invocation& invocation);
/// token remove NAME
Answer token_remove(Invocation& invocation);
/// completion bash|zsh [LINE]
Answer completion(Invocation& invocation);

} // namespace Ravik::CommandLine
