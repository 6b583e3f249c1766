#include "Api/Page.h"

#include "Api/problem.h"

#include <charconv>

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr std::size_t usual_limit = 100;
constexpr std::size_t highest_limit = 10'000;

} // namespace

Page::Page(Call const& call) : m_limit(usual_limit), m_cursor(call.parameter("cursor"))
{
    auto const text = call.parameter("limit");
    if (text.empty())
    {
        return;
    }
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), m_limit);
    if (error != std::errc() || end != text.data() + text.size() || m_limit == 0 || m_limit > highest_limit)
    {
        throw Problem{.status = 400,
                      .code = "INVALID_PARAMETER",
                      .detail = "the parameter 'limit' is a number from 1 to " + std::to_string(highest_limit) +
                                ", not '" + text + "'"};
    }
}

bool Page::add(std::string const& name, Value const& item)
{
    if (m_items.size() >= m_limit)
    {
        m_has_more = true;
        return false;
    }
    m_items << item;
    m_last = name;
    return true;
}

Value Page::value() const
{
    Value value(ValueType::Map);
    value.insert("items", m_items);
    value.insert("next", m_has_more ? Value(std::string_view(m_last)) : Value());
    return value;
}

void Page::fail_gone() const
{
    throw Problem{.status = 410,
                  .code = "GONE",
                  .detail = "'" + m_cursor + "', behind which the page begins, is gone; begin again without a cursor"};
}

} // namespace Ravik::Service
