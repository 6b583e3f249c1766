#pragma once

#include <stdexcept>

namespace Ravik
{

/// A failure of the store's medium, with SQLite's own words, or a fault in what it holds.
class StoreError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace Ravik
