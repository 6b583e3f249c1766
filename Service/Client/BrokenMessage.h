#pragma once

#include <stdexcept>

namespace Ravik::Wire
{

/// What came over the socket is not what the protocol says, or what is to be sent can't be.
class BrokenMessage : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace Ravik::Wire
