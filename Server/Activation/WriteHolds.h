#pragma once

#include "Mutex.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Ravik
{

/// Who is writing to which places of controllers now: two writes that share a place never run at once, since each would
/// find the values of the other. Thread-safe; nobody waits.
class WriteHolds
{
public:
    class Hold;

    /// A place in a domain with the symbol that it is written by.
    struct Place
    {
        std::string domain;
        std::string mapping;
        std::string symbol;
    };

private:
    using Key = std::pair<std::string, std::string>;

    RavikSrv::Mutex m_mutex;
    /// What each held place is written by, and since when, for a person.
    std::map<Key, std::shared_ptr<std::string const>> m_held RAVIK_GUARDED_BY(m_mutex);
};

/// Holds all of the places as long as it lives, or none where somebody else holds one of them.
class WriteHolds::Hold
{
public:
    /// `writer` is what others are told of it: "the activation of 'Bread' by anna".
    Hold(WriteHolds& holds, std::vector<Place> const& places, std::string const& writer);
    Hold(Hold const&) = delete;
    Hold& operator=(Hold const&) = delete;
    ~Hold();

    /// Why nothing is held, with the place, and who holds it since when; empty where all are held.
    std::string const& refusal() const noexcept { return m_refusal; }

private:
    WriteHolds& m_holds;
    std::vector<Key> m_keys;
    std::string m_refusal;
};

} // namespace Ravik
