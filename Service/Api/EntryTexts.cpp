#include "Api/EntryTexts.h"

#include "Configuration/entry_tag.h"
#include "Json/Json.h"

namespace Ravik::Service
{

using RavikSrv::Lock;
using RavikSrv::Value;

namespace
{

/// Together.
constexpr std::size_t most_bytes = std::size_t{16} << 20U;

/// Whether both are one value with its copy: they share their entries.
bool is_same(Value const& left, Value const& right)
{
    return !left.empty() && left.size() == right.size() && &*left.begin() == &*right.begin();
}

} // namespace

EntryText EntryTexts::of(std::string const& path, Value const& entry)
{
    {
        Lock const lock(m_mutex);
        auto const found = m_kept.find(path);
        if (found != m_kept.end() && is_same(found->second.entry, entry))
        {
            return found->second.text;
        }
    }
    EntryText text{.text = std::make_shared<std::string const>(Json::write(entry)),
                   .tag = '"' + entry_tag(entry) + '"'};
    Lock const lock(m_mutex);
    if (m_size > most_bytes)
    {
        m_kept.clear();
        m_size = 0;
    }
    m_size += path.size() + text.text->size();
    m_kept.insert_or_assign(path, Kept{entry, text});
    return text;
}

} // namespace Ravik::Service
