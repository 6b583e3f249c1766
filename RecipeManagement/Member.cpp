#include "Member.h"

#include "configuration_keys.h"

namespace RecipeManagement
{

MemberReader::MemberReader()
    : m_roles({{{Key::symbol, Role::symbol},
                {Key::enabled, Role::enabled},
                {Key::default_value, Role::default_value},
                {Key::schema, Role::schema},
                {Key::recipe_type, Role::recipe_type}}})
{
}

Member MemberReader::read(RavikSrv::ConstIterator<Value> const& member)
{
    Member read;
    read.name = member.name();
    auto const end = member->end();
    std::size_t position = 0;
    for (auto entry = member->begin(); entry != end; ++entry, ++position)
    {
        switch (m_roles.role_of(position, entry.name()))
        {
        case Role::symbol:
            read.symbol = TextView(*entry);
            break;
        case Role::enabled:
            read.enabled = entry->get_bool();
            break;
        case Role::default_value:
            read.default_value = &*entry;
            break;
        case Role::schema:
            read.schema = &*entry;
            break;
        case Role::recipe_type:
            read.recipe_type = TextView(*entry);
            break;
        case Role::none:
            break;
        }
    }
    return read;
}

} // namespace RecipeManagement
