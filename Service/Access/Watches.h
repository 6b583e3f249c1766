#pragma once

#include "Access/Principal.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Ravik::Service
{

/// Those who want to know when a session or a token is no longer good. Thread-safe.
class Watches
{
public:
    struct Watch
    {
        /// The hash of the session's cookie; empty where a token itself is watched.
        std::string session;
        Principal principal;
        std::function<void()> ended;
    };
    /// To be called when no lock is held.
    using Calls = std::vector<std::function<void()>>;

    Watches();

    /// Destroying what is returned, at any time, takes the watch away.
    std::shared_ptr<void> add(Watch watch);
    /// Takes out the watches that have ended and returns their calls.
    Calls take(std::function<bool(Watch const&)> const& has_ended);

private:
    class List;

    std::shared_ptr<List> m_list;
};

} // namespace Ravik::Service
