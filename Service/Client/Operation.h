#pragma once

#include "Client/Decoder.h"
#include "Client/Encoder.h"

#include "Project/Project.h"

#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Ravik::Wire
{

/// An operation of `Project` as both sides of the socket know it: the caller writes its arguments and reads its result,
/// the service the other way round.
template <typename Method, typename Outcome, typename... Parameters> struct Operation
{
    using Result = std::decay_t<Outcome>;
    /// What the service keeps of an argument while it works.
    template <typename Parameter>
    using Kept = std::conditional_t<std::is_same_v<std::decay_t<Parameter>, std::string_view>, std::string,
                                    std::decay_t<Parameter>>;

    std::string_view name;
    Method method;

    static void write_arguments([[maybe_unused]] Encoder encoder, std::decay_t<Parameters> const&... arguments)
    {
        (encoder.write(arguments), ...);
    }

    static Result read_result(ByteReader& bytes)
    {
        auto result = Decoder(bytes).read<Result>();
        bytes.expect_end();
        return result;
    }

    /// Makes the call whose arguments the bytes hold. Throws `BrokenMessage`, and has not called then, where they hold
    /// none.
    Result carry_out(Project& project, ByteReader& bytes, ServiceSide& service) const
    {
        Decoder decoder(bytes, &service);
        // In braces, so that they are read in their order.
        std::tuple<Kept<Parameters>...> const arguments{decoder.read<Kept<Parameters>>()...};
        bytes.expect_end();
        return std::apply([&](auto const&... each) -> Result { return (project.*method)(each...); }, arguments);
    }
};

template <typename Outcome, typename... Parameters>
constexpr auto operation(std::string_view name, Outcome (Project::*method)(Parameters...))
{
    return Operation<Outcome (Project::*)(Parameters...), Outcome, Parameters...>{name, method};
}

template <typename Outcome, typename... Parameters>
constexpr auto operation(std::string_view name, Outcome (Project::*method)(Parameters...) const)
{
    return Operation<Outcome (Project::*)(Parameters...) const, Outcome, Parameters...>{name, method};
}

} // namespace Ravik::Wire
