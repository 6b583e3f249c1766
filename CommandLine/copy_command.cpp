#include "commands.h"

#include "configuration_answer.h"
#include "path_hint.h"

#include "Configuration/Entry.h"

#include "api_helper.h"

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

void check_copy(std::string const& path, std::string const& new_path, Value const& tree)
{
    auto const kind = locate(path, tree).kind;
    if (kind != EntryKind::Recipe && kind != EntryKind::RecipeType)
    {
        throw Failure(ErrorValue::TYPE_MISMATCH,
                      path + (kind == EntryKind::Folder ? " is a folder; its entries are copied one by one"
                                                        : " is neither a recipe nor a recipe type; 'get' shows what "
                                                          "stands there, and 'set' writes it elsewhere"));
    }
    auto const* const list = kind == EntryKind::Recipe ? Key::recipe_list : Key::recipe_type_list;
    if (!new_path.starts_with(list + RavikSrv::path_separator()))
    {
        throw Failure(ErrorValue::INVALID_PATH, new_path + ": a copy of " + path +
                                                    " needs a full path in the same list: " + list +
                                                    RavikSrv::path_separator() + "NAME");
    }
    if (RavikSrv::node_path(new_path, tree).node != nullptr)
    {
        throw Failure(ErrorValue::UNIQUE, new_path + " is taken; delete it first, or give the copy another name");
    }
}

} // namespace

Answer copy(Invocation& invocation)
{
    auto const& path = invocation.operands()[0];
    auto const& new_path = invocation.operands()[1];
    auto& project = invocation.project();
    auto const present = project.get(invocation.domain(), path);
    if (!present.succeeded())
    {
        hint_at_missing_path(invocation, path);
        return configuration_answer(present);
    }
    check_copy(path, new_path, project.get(invocation.domain(), "").value);
    auto const report = project.set(invocation.domain(), new_path, present.value, invocation.origin());
    if (report.succeeded())
    {
        invocation.output().print("Copied " + path + " to " + new_path + '.');
    }
    return configuration_answer(report);
}

} // namespace Ravik::CommandLine
