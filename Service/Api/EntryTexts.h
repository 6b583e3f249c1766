#pragma once

#include "Mutex.h"
#include "RavikSrvExtApi.h"

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>

namespace Ravik::Service
{

/// An entry of the configuration as it is sent.
struct EntryText
{
    std::shared_ptr<std::string const> text;
    /// In quotes, as the header has it.
    std::string tag;
};

/// The texts of the entries that were asked for lately, so that an entry that is read often is written and hashed once.
/// Thread-safe.
class EntryTexts
{
public:
    /// The text of what stands at the path now, which is `entry`.
    EntryText of(std::string const& path, RavikSrv::Value const& entry);

private:
    struct Kept
    {
        /// Held, so that no other value can stand where it stands.
        RavikSrv::Value entry;
        EntryText text;
    };

    RavikSrv::Mutex m_mutex;
    std::unordered_map<std::string, Kept> m_kept RAVIK_GUARDED_BY(m_mutex);
    std::size_t m_size RAVIK_GUARDED_BY(m_mutex) = 0;
};

} // namespace Ravik::Service
