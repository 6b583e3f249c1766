#pragma once

#include "recipe_config_handler/PathList.h"

#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>

#include <string>
#include <vector>

namespace RecipeManagement
{

/// A list of stored paths together with the mutex that guards it, which is held only while the list is read or changed.
/// Refers to both. May be used from several threads at once.
class StoredPaths
{
public:
    StoredPaths(PathList& paths, boost::mutex& mutex) : m_paths(paths), m_mutex(mutex) {}

    bool contains(std::string const& path) const
    {
        boost::unique_lock<boost::mutex> const lock(m_mutex);
        return m_paths.contains(path);
    }

    /// A copy, for a walk that calls the host.
    std::vector<std::string> copy() const
    {
        boost::unique_lock<boost::mutex> const lock(m_mutex);
        return {m_paths.begin(), m_paths.end()};
    }

    /// Calls `make(list)`, which changes the list and calls nobody. Under one lock, so that no path is lost that is
    /// notified meanwhile.
    template <typename Change> void change(Change const& make) const
    {
        boost::unique_lock<boost::mutex> const lock(m_mutex);
        make(m_paths);
    }

private:
    PathList& m_paths;
    boost::mutex& m_mutex;
};

} // namespace RecipeManagement
