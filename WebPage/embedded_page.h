#pragma once

#include <span>
#include <string_view>

namespace Ravik::WebPage
{

/// A file of the page as it is served.
struct EmbeddedFile
{
    /// Where it stands: "/", "/page-1A2B3C4D.js". The addresses of the page's views stand for one file each, with the
    /// same bytes.
    std::string_view path;
    std::string_view content_type;
    std::span<unsigned char const> bytes;
    /// The same, compressed by gzip; empty where that is no shorter.
    std::span<unsigned char const> gzip;
    /// A hash of the bytes.
    std::string_view hash;
    /// Whether the path holds a hash: other bytes would stand at another path.
    bool is_hashed = false;
};

/// The page that is built into the program; empty where it was left out.
std::span<EmbeddedFile const> embedded_page() noexcept;

} // namespace Ravik::WebPage
