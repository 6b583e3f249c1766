#pragma once

#include "Http/Message.h"

#include "embedded_page.h"

#include <memory>
#include <span>
#include <string>
#include <unordered_map>

namespace Ravik::Service
{

/// The page for browsers. It never changes while the service runs, so browsers keep what they have: files whose paths
/// hold a hash for good, the others as long as their tag stays the same.
class PageFiles
{
public:
    explicit PageFiles(std::span<WebPage::EmbeddedFile const> files);

    /// Whether something stands at the path. Something always stands at "/".
    bool has(std::string const& path) const;
    /// The answer to a GET of a path at which something stands.
    Response answer(RequestHead const& request) const;

private:
    using Bytes = std::shared_ptr<std::string const>;

    struct File
    {
        std::string content_type;
        Bytes plain;
        /// Null where there is none.
        Bytes gzip;
        std::string hash;
        bool is_hashed;
    };

    std::unordered_map<std::string, File> m_files;
};

} // namespace Ravik::Service
