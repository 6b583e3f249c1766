#include "recipe_config_handler/cascade.h"

#include "configuration_keys.h"
#include "recipe_result.h"

#include "algorithm_helper.h"

#include <utility>

namespace RecipeManagement
{

namespace
{

std::string last_part(std::string const& path)
{
    auto const parts = Algorithm::split_symbol_name(path.c_str());
    return parts.empty() ? std::string() : parts.back();
}

} // namespace

PathChange::PathChange(std::string from, std::string to)
    : old_path(std::move(from)), new_path(std::move(to)), new_name(last_part(new_path))
{
}

bool PathChange::moves_type(std::string const& name) const
{
    return !name.empty() && Algorithm::contains(add_path_recipetypelist(name), old_path);
}

std::string PathChange::moved_type(std::string const& name) const
{
    auto path = add_path_recipetypelist(name);
    Algorithm::replace(path, old_path, new_path);
    return relative_recipetype_name(path);
}

PassWrites::PassWrites(Call const& call)
    : m_call(call), m_running_text(std::string(result_name(RecipeResult::DELETE_RENAME_PARTLY_FAILED)) + ": ")
{
}

void PassWrites::write(std::string const& path, Value const& value)
{
    set(path, &value);
}

void PassWrites::remove(std::string const& path)
{
    set(path, nullptr);
}

void PassWrites::carry_type(PathChange const& change, std::string const& name, std::string const& owner,
                            std::string const& reference)
{
    if (change.is_delete())
    {
        remove(owner);
    }
    else
    {
        write(reference, Value(change.moved_type(name).c_str()));
    }
}

void PassWrites::set(std::string const& path, Value const* value)
{
    auto const error = value != nullptr ? m_call.write(path, *value) : m_call.remove(path);
    if (error != ErrorValue::SUCCESS)
    {
        m_running_text += path;
    }
    m_outcome = write_outcome(error, m_running_text);
}

ResultPair write_outcome(ErrorValue error, std::string const& text)
{
    return error == ErrorValue::SUCCESS ? ResultPair() : ResultPair(error, text.c_str());
}

} // namespace RecipeManagement
