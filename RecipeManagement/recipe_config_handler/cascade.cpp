#include "recipe_config_handler/cascade.h"

#include "configuration_keys.h"
#include "recipe_result.h"

#include "algorithm_helper.h"

#include <boost/thread/lock_types.hpp>

#include <utility>

namespace RecipeManagement
{

namespace Algorithm = RavikSrv::Algorithm;
using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;

namespace
{

std::string last_part(std::string const& path)
{
    auto const parts = Algorithm::split_symbol_name(path.c_str());
    return parts.empty() ? std::string() : parts.back();
}

} // namespace

Move::Move(std::string from, std::string to)
    : old_path(std::move(from)), new_path(std::move(to)), new_name(last_part(new_path))
{
}

bool Move::moves_type(std::string const& name) const
{
    return !name.empty() && Algorithm::contains(add_path_recipetypelist(name), old_path);
}

std::string Move::moved_type(std::string const& name) const
{
    auto path = add_path_recipetypelist(name);
    Algorithm::replace(path, old_path, new_path);
    Algorithm::replace(path, add_path_recipetypelist(""), "");
    return path;
}

PassWrites::PassWrites(RavikSrv::IRavikSrvExtHost& host, RavikSrv::Context const& context)
    : m_host(host), m_context(context),
      m_running_text(std::string(result_name(RecipeResult::DELETE_RENAME_PARTLY_FAILED)) + ": ")
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

void PassWrites::carry_type(Move const& move, std::string const& name, std::string const& owner,
                            std::string const& reference)
{
    if (move.is_delete())
    {
        remove(owner);
    }
    else
    {
        write(reference, Value(move.moved_type(name).c_str()));
    }
}

void PassWrites::set(std::string const& path, Value const* value)
{
    auto const error = m_host.set_config_value(m_context, path.c_str(), value);
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

std::vector<std::string> copy_paths(PathList const& paths, boost::mutex& mutex)
{
    boost::unique_lock<boost::mutex> const lock(mutex);
    return {paths.begin(), paths.end()};
}

} // namespace RecipeManagement
