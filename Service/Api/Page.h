#pragma once

#include "Api/Route.h"

#include "RavikSrvExtApi.h"

#include <cstddef>
#include <string>

namespace Ravik::Service
{

/// A page of a list, as "limit" and "cursor" ask for it: {"items": […], "next": …}, "next" being null at the end.
class Page
{
public:
    /// Throws a `Problem` for a limit that is none.
    explicit Page(Call const& call);

    /// The name that the page begins behind, empty for the first one.
    std::string const& cursor() const noexcept { return m_cursor; }
    /// Adds an item, or notes that there is more. Returns whether another one is wanted.
    bool add(std::string const& name, RavikSrv::Value const& item);
    std::size_t limit() const noexcept { return m_limit; }

    RavikSrv::Value value() const;

    /// The answer where the cursor's entry is gone.
    [[noreturn]] void fail_gone() const;

private:
    std::size_t m_limit;
    std::string m_cursor;
    RavikSrv::Value m_items{RavikSrv::ValueType::Vector};
    std::string m_last;
    bool m_has_more = false;
};

} // namespace Ravik::Service
