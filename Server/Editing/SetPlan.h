#pragma once

#include "Editing/EntrySchemas.h"
#include "Editing/Refusal.h"
#include "RavikSrvExtApi.h"

#include <string>
#include <vector>

namespace Ravik
{

/// What setting a value would change: the entry, or the folder or other place, that it touches, before and after. It
/// keeps that alone and nothing of the domain's tree, so that the write need not copy the maps on its way, and it costs
/// the same whatever else the configuration holds.
class SetPlan
{
public:
    SetPlan(std::string path, RavikSrv::Value const& value, RavikSrv::Value const& tree);

    /// Whether every entry stays where it was, as what it was, and what comes to stand fits its definition.
    Refusal check(EntrySchemas const& schemas) const;

    /// A tree of the touched place alone as it will stand.
    RavikSrv::Value const& after() const noexcept { return m_after; }
    /// The folders that are missing on the way, outermost first.
    std::vector<std::string> const& folders() const noexcept { return m_folders; }
    /// The path of the recipe or recipe type that comes into being around the path, empty where there is none.
    std::string new_owner() const;
    /// The recipe types that it touches.
    std::vector<std::string> types() const;
    /// Whether the entries that are new stand behind all others of their list in `tree`, the tree afterwards; whoever
    /// keeps the paths of all entries in their order then only appends them.
    bool keeps_order(RavikSrv::Value const& tree) const;

private:
    Refusal check_schemas() const;

    std::string m_path;
    /// The path of the touched place.
    std::string m_subject;
    std::vector<std::string> m_folders;
    RavikSrv::Value m_before{RavikSrv::ValueType::Map};
    RavikSrv::Value m_after;
    RavikSrv::ErrorValue m_error = RavikSrv::ErrorValue::SUCCESS;
};

} // namespace Ravik
