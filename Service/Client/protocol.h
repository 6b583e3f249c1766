#pragma once

#include "RavikSrvExtApi.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// What is said over the socket of a project.
///
/// Both sides begin with a `hello`. Where the versions are the same, the caller makes calls over the connection, one
/// after another; each is answered by an outcome or a failure, and before it by whatever it calls back or sends as
/// data. While a call runs the caller may ask it to end early (`cancel`). A call is the name of an operation and its
/// arguments; an outcome is the operation's result.
///
/// Requests (`Project::begin_request`) belong to the connection that began them, but may be used on any.
namespace Ravik::Wire
{

/// Changes with what the messages hold. Programs of one version speak one protocol.
inline constexpr std::uint64_t protocol_number = 3;

/// A hello begins with these, in every protocol there will be: a mark, the protocol's number, the program's version.
struct Versions
{
    std::string mark{};
    std::uint64_t protocol = 0;
    std::string program{};

    friend bool operator==(Versions const& left, Versions const& right) = default;
};

/// Those of this program.
Versions own_versions();

/// What the service says of itself behind its versions.
struct Welcome
{
    /// For whoever uses the project, a text each.
    std::vector<std::string> warnings{};
};

/// A longer hello of a caller is none.
inline constexpr std::size_t longest_hello = 65'536;

/// What the service does beside the operations of `Project`. Neither has arguments.
namespace Special
{

/// Sends a copy of the store as data. The outcome is a `ConfigurationOutcome`.
inline constexpr char const* backup = "store backup";
/// The outcome is a `StoreCheck`.
inline constexpr char const* check = "store check";

} // namespace Special

/// What a check of the store came to.
struct StoreCheck
{
    /// Why there is none.
    RavikSrv::ErrorValue error = RavikSrv::ErrorValue::SUCCESS;
    std::string text{};
    std::size_t rows = 0;
    std::size_t records = 0;
    std::vector<std::string> faults{};
};

} // namespace Ravik::Wire
