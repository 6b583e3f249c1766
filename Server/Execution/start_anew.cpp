#include "Execution/start_anew.h"

#include "Configuration/Entry.h"
#include "Execution/Core.h"

#include <vector>

namespace Ravik
{

void start_anew(Core& core, std::string const& domain)
{
    auto* const extension = core.extensions.find(domain);
    if (extension == nullptr)
    {
        return;
    }
    std::vector<Extension::Notice> entries;
    for_each_entry("", core.configuration.tree(domain),
                   [&entries](std::string const& path, RavikSrv::Value const& /*entry*/, EntryKind kind)
                   {
                       entries.push_back({.path = path, .schema_type = schema_type(kind)});
                       return true;
                   });
    extension->start(core.host, entries);
}

} // namespace Ravik
