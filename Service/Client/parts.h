#pragma once

#include "Project/Project.h"

#include <boost/pfr/core.hpp>

#include <atomic>
#include <functional>
#include <optional>
#include <tuple>
#include <type_traits>
#include <vector>

/// How the types of `Project`'s operations are made up, for writing and reading them.
namespace Ravik::Wire
{

/// The type of every number that names something in an enumeration, and the highest that is a name.
template <typename Enumeration> inline constexpr Enumeration highest_name{};
template <> inline constexpr auto highest_name<RavikSrv::ErrorValue> = static_cast<RavikSrv::ErrorValue>(0xFFFF);
template <> inline constexpr auto highest_name<RowState> = RowState::NotWritten;
template <> inline constexpr auto highest_name<Finding::Kind> = Finding::Kind::NoRecipe;

template <> inline constexpr auto highest_name<ValueState> = ValueState::Saved;
template <> inline constexpr auto highest_name<UpdateState> = UpdateState::Failed;
template <> inline constexpr auto highest_name<LibraryStatus::State> = LibraryStatus::State::Stopped;
template <> inline constexpr auto highest_name<Condition::Kind> = Condition::Kind::Tag;

/// Of a type with a base, that base and the members beside its. Those of all other types are found without help.
template <typename Type> struct Derived
{
    using Base = void;
};

template <> struct Derived<EditReport>
{
    using Base = ConfigurationOutcome;
    static constexpr std::tuple own{&EditReport::made,        &EditReport::condition_failed, &EditReport::cascade,
                                    &EditReport::warnings,    &EditReport::refused,          &EditReport::place,
                                    &EditReport::unknown_edit};
};

template <> struct Derived<SaveReport>
{
    using Base = EditReport;
    static constexpr std::tuple own{&SaveReport::result, &SaveReport::name, &SaveReport::read_failed,
                                    &SaveReport::rows};
};

template <> struct Derived<NamesOutcome>
{
    using Base = ConfigurationOutcome;
    static constexpr std::tuple own{&NamesOutcome::names};
};

template <> struct Derived<MembersOutcome>
{
    using Base = ConfigurationOutcome;
    static constexpr std::tuple own{&MembersOutcome::members};
};

template <> struct Derived<HistoryOutcome>
{
    using Base = ConfigurationOutcome;
    static constexpr std::tuple own{&HistoryOutcome::records};
};

template <> struct Derived<ReadReport>
{
    using Base = RecipeOutcome;
    static constexpr std::tuple own{&ReadReport::rows};
};

template <> struct Derived<UpdateRow>
{
    using Base = RecipeOutcome;
    static constexpr std::tuple own{&UpdateRow::recipe, &UpdateRow::state, &UpdateRow::info};
};

template <> struct Derived<ActiveReport>
{
    using Base = RecipeOutcome;
    static constexpr std::tuple own{&ActiveReport::active, &ActiveReport::unread, &ActiveReport::looked_at,
                                    &ActiveReport::stopped};
};

/// Hands each member of the value, in a fixed order, to `visit`.
template <typename Part, typename Visit> void for_each_part(Part& value, Visit const& visit)
{
    using Type = std::remove_const_t<Part>;
    using Base = typename Derived<Type>::Base;
    if constexpr (std::is_void_v<Base>)
    {
        boost::pfr::for_each_field(value, visit);
    }
    else
    {
        for_each_part(static_cast<std::conditional_t<std::is_const_v<Part>, Base const, Base>&>(value), visit);
        std::apply([&](auto... member) { (visit(value.*member), ...); }, Derived<Type>::own);
    }
}

template <typename Type> inline constexpr bool is_vector = false;
template <typename Element> inline constexpr bool is_vector<std::vector<Element>> = true;
template <typename Type> inline constexpr bool is_optional = false;
template <typename Content> inline constexpr bool is_optional<std::optional<Content>> = true;
/// Whoever is called back is the one who calls the operation.
template <typename Type> inline constexpr bool is_callback = false;
template <typename... Arguments> inline constexpr bool is_callback<std::function<void(Arguments...)>> = true;
/// What the caller sets to have the operation end early.
using StopMark = std::atomic<bool> const*;

} // namespace Ravik::Wire
