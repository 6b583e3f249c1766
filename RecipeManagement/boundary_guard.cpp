#include "boundary_guard.h"

#include <exception>

namespace RecipeManagement
{

namespace
{

std::string text_of_exception()
{
    try
    {
        throw;
    }
    catch (std::exception const& exception)
    {
        return std::string("unexpected failure: ") + exception.what();
    }
    catch (...)
    {
        return "unexpected failure";
    }
}

} // namespace

std::string describe_exception() noexcept
{
    try
    {
        return text_of_exception();
    }
    catch (...)
    {
        return {};
    }
}

RavikSrv::ResultPair unexpected_failure() noexcept
{
    auto const text = describe_exception();
    try
    {
        return {RavikSrv::ErrorValue::UNEXPECTED, text.c_str()};
    }
    catch (...)
    {
        return RavikSrv::ErrorValue::UNEXPECTED;
    }
}

} // namespace RecipeManagement
