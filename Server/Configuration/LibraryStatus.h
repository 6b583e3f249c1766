#pragma once

#include "Configuration/Library.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Ravik
{

/// How a server stands to its library.
struct LibraryStatus
{
    enum class State
    {
        /// ravik.json names no library, and the store has joined none.
        None,
        /// ravik.json names one that the store has not joined: the recipes are the project's own.
        NotJoined,
        /// It has not been tried yet whether there is a link.
        Connecting,
        /// There is a link, and the copy goes along.
        Following,
        /// There is no link. It is tried again; reading goes on from the copy, and nothing is edited.
        Alone,
        /// There is a link, but the copy neither follows nor is edited until somebody does what `why` tells.
        Stopped,
    };

    /// Whether the store is a copy of the library.
    bool has_joined() const noexcept { return state != State::None && state != State::NotJoined; }
    bool has_link() const noexcept { return state == State::Following || state == State::Stopped; }
    bool takes_edits() const noexcept { return !has_joined() || state == State::Following; }

    State state = State::None;
    /// The connection string and the schema.
    std::string address{};
    std::string schema{};
    /// The server's name in the library, empty where it has not joined.
    std::string server{};
    /// How far this server has come.
    LibraryPosition position{};
    /// The newest revision that it knows the library to have; never less than its own but for a `Stopped` one.
    std::int64_t newest = 0;
    /// RFC 3339 in UTC: since when it is in this state.
    std::string since{};
    /// For `Alone` and `Stopped`: why, and what to do.
    std::string why{};
    /// Why the copy in the store could not be brought forward, empty where it is as far as the server. It is tried
    /// again.
    std::string copy_failure{};
    /// Edits whose outcome is not known yet.
    std::vector<std::string> unknown_edits{};
    /// Whoever is connected, this server too; known only to a server with a link.
    std::vector<LibraryPeer> peers{};
};

/// The state as people and programs read it: "not joined".
char const* name_of(LibraryStatus::State state) noexcept;

} // namespace Ravik
