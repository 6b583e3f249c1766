#include "Api/PageFiles.h"

#include "Api/Parts.h"
#include "Api/Route.h"
#include "Api/entity_tags.h"
#include "Api/problem.h"
#include "Api/resources.h"
#include "Http/text.h"

#include <algorithm>

namespace Ravik::Service
{

namespace
{

std::shared_ptr<std::string const> shared_text(std::span<unsigned char const> bytes)
{
    return bytes.empty() ? nullptr : std::make_shared<std::string const>(bytes.begin(), bytes.end());
}

/// Whether the value of Accept-Encoding names gzip, and not only to refuse it.
bool takes_gzip(std::string_view accepted)
{
    while (!accepted.empty())
    {
        auto const part = accepted.substr(0, accepted.find(','));
        accepted.remove_prefix(std::min(part.size() + 1, accepted.size()));
        auto const name = trimmed(part.substr(0, part.find(';')));
        if (equals_ignoring_case(name, "gzip"))
        {
            auto const weight = trimmed(part.substr(std::min(part.find('=') + 1, part.size())));
            return name.size() == trimmed(part).size() || weight.find_first_not_of("0.") != std::string_view::npos;
        }
    }
    return false;
}

bool is_known(RequestHead const& request, std::string const& tag)
{
    auto const condition = trimmed(request.field("if-none-match").value_or(""));
    auto const tags = entity_tags(condition);
    return condition == "*" || std::find(tags.begin(), tags.end(), tag) != tags.end();
}

Response no_page()
{
    auto answer =
        text_answer("This build of the service has no page for browsers. The API is at " + std::string(api_root) +
                        "; " + std::string(api_root) + "/openapi.json describes it.\n",
                    "text/plain; charset=utf-8");
    answer.status = 404;
    return answer;
}

} // namespace

PageFiles::PageFiles(std::span<WebPage::EmbeddedFile const> files)
{
    for (auto const& file : files)
    {
        m_files.emplace(file.path,
                        File{.content_type = std::string(file.content_type),
                             .plain = std::make_shared<std::string const>(file.bytes.begin(), file.bytes.end()),
                             .gzip = shared_text(file.gzip),
                             .hash = std::string(file.hash),
                             .is_hashed = file.is_hashed});
    }
}

bool PageFiles::has(std::string const& path) const
{
    return path == "/" || m_files.contains(path);
}

Response PageFiles::answer(RequestHead const& request) const
{
    auto const found = m_files.find(request.path);
    if (found == m_files.end())
    {
        return no_page();
    }
    auto const& file = found->second;
    auto const is_compressed = file.gzip && takes_gzip(request.field("accept-encoding").value_or(""));
    // Each form has a tag of its own.
    auto const tag = file.hash + (is_compressed ? "-gzip" : "");
    Fields fields{{"ETag", '"' + tag + '"'},
                  {"Cache-Control", file.is_hashed ? "public, max-age=31536000, immutable" : "no-cache"}};
    if (file.gzip)
    {
        fields.emplace_back("Vary", "Accept-Encoding");
    }
    if (is_known(request, tag))
    {
        return {.status = 304, .content_type = {}, .fields = std::move(fields), .body = {}};
    }
    if (is_compressed)
    {
        fields.emplace_back("Content-Encoding", "gzip");
    }
    return {.status = 200,
            .content_type = file.content_type,
            .fields = std::move(fields),
            .body = is_compressed ? file.gzip : file.plain};
}

Response get_page_file(Call& call)
{
    return call.parts.page.answer(call.head);
}

} // namespace Ravik::Service
