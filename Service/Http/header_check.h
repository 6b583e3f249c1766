#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Ravik::Service
{

/// Looks for the end of a header in what has come of it, each byte once. Lines end with CR LF and nothing else; a lone
/// CR or LF and any other control character but the tabulator break it.
class HeaderScan
{
public:
    enum class State
    {
        more,
        complete,
        broken,
    };

    /// `bytes` is all that has come since the header's begin, what earlier calls saw included.
    State scan(std::string_view bytes) noexcept;
    /// The header's length with the empty line that ends it, once it is complete.
    std::size_t length() const noexcept { return m_seen; }

private:
    std::size_t m_seen = 0;
    std::size_t m_line = 0;
};

/// Why a complete header is not taken, empty where it is: whatever the parser behind this, a proxy before it and the
/// handler could read in two ways. Folded lines, characters that do not belong, a Host that is missing or there twice,
/// lengths that contradict one another, transfer codings other than "chunked" alone, and HTTP/1.0 with a transfer
/// coding or a wish to stay connected.
std::string check_header(std::string_view header);

} // namespace Ravik::Service
