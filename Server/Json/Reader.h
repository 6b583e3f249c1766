#pragma once

#include "RavikSrvExt/Value.h"

#include <memory>
#include <string_view>

namespace Ravik::Json
{

class QuickReader;

/// Reads many JSON texts that resemble each other, such as the rows of a store: maps of one shape share one table of
/// keys across all texts, not only inside each. It holds a map of each shape, so it is not kept longer than the reading
/// takes. Not thread-safe; the values are ordinary ones.
class Reader
{
public:
    Reader();
    Reader(Reader const&) = delete;
    Reader& operator=(Reader const&) = delete;
    Reader(Reader&&) noexcept;
    Reader& operator=(Reader&&) noexcept;
    ~Reader();

    /// As `Json::parse`. After a `ParseError` the reader is as before.
    RavikSrv::Value parse(std::string_view text);

private:
    std::unique_ptr<QuickReader> m_quick;
};

} // namespace Ravik::Json
