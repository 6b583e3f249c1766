#include "Member.h"

#include "configuration_keys.h"
#include "value_text.h"

#include <string_view>

namespace RecipeManagement
{

Member::Member(RavikSrv::ConstIterator<Value> const& member) : name(member.name())
{
    auto const end = member->end();
    for (auto entry = member->begin(); entry != end; ++entry)
    {
        std::string_view const key = entry.name();
        if (key == Key::symbol)
        {
            symbol = text_of(*entry);
        }
        else if (key == Key::enabled)
        {
            enabled = entry->get_bool();
        }
        else if (key == Key::default_value)
        {
            default_value = &*entry;
        }
        else if (key == Key::schema)
        {
            schema = &*entry;
        }
        else if (key == Key::recipe_type)
        {
            recipe_type = text_of(*entry);
        }
    }
}

} // namespace RecipeManagement
