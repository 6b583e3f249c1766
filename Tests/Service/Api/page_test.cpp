#include "ServedPlant.h"

#include "Api/PageFiles.h"

#include <gtest/gtest.h>

#include <array>

namespace Ravik::Test
{
namespace
{

using Service::PageFiles;
using Service::RequestHead;
using Service::Response;
using WebPage::EmbeddedFile;

constexpr std::array<unsigned char, 4> plain{'t', 'e', 'x', 't'};
constexpr std::array<unsigned char, 2> gzip{'g', 'z'};
constexpr std::array<EmbeddedFile, 3> files{{
    {"/", "text/html; charset=utf-8", plain, gzip, "1a", false},
    {"/page-1A2B3C4D.js", "text/javascript; charset=utf-8", plain, gzip, "2b", true},
    {"/icon.svg", "image/svg+xml", plain, {}, "3c", false},
}};

std::string field(Response const& response, std::string_view name)
{
    std::string all;
    for (auto const& [key, value] : response.fields)
    {
        all += key == name ? value : "";
    }
    return all;
}

TEST(Page, is_sent_in_the_form_that_the_browser_takes_and_only_where_it_has_changed)
{
    PageFiles const page(files);
    std::string const held = "public, max-age=31536000, immutable";
    struct Case
    {
        char const* path;
        char const* accepted;
        char const* known;
        unsigned status;
        std::string body;
        std::string tag;
        std::string cache;
    };
    for (auto const& each : std::vector<Case>{
             {"/", "", "", 200, "text", "1a", "no-cache"},
             {"/", "br, GZip", "", 200, "gz", "1a-gzip", "no-cache"},
             {"/", "gzip;q=0.5", "", 200, "gz", "1a-gzip", "no-cache"},
             {"/", "gzip;q=0.0, br", "", 200, "text", "1a", "no-cache"},
             {"/", "x-gzip", "", 200, "text", "1a", "no-cache"},
             {"/", "gzip", R"("9f", W/"1a-gzip")", 304, "", "1a-gzip", "no-cache"},
             {"/", "gzip", R"("1a")", 200, "gz", "1a-gzip", "no-cache"},
             {"/page-1A2B3C4D.js", "gzip", "", 200, "gz", "2b-gzip", held},
             {"/icon.svg", "gzip", "", 200, "text", "3c", "no-cache"},
         })
    {
        SCOPED_TRACE(std::string(each.path) + " " + each.accepted + " " + each.known);
        RequestHead request;
        request.path = each.path;
        request.fields = {{"accept-encoding", each.accepted}, {"if-none-match", each.known}};
        auto const answer = page.answer(request);
        EXPECT_EQ(answer.status, each.status);
        EXPECT_EQ(answer.body ? *answer.body : "", each.body);
        EXPECT_EQ(field(answer, "Content-Encoding"), each.body == "gz" ? "gzip" : "");
        EXPECT_EQ(field(answer, "Vary"), std::string(each.path) == "/icon.svg" ? "" : "Accept-Encoding");
        EXPECT_EQ(field(answer, "ETag"), '"' + each.tag + '"');
        EXPECT_EQ(field(answer, "Cache-Control"), each.cache);
    }
    EXPECT_FALSE(page.has("/page-00000000.js"));
}

TEST(Page, is_for_anybody_and_judged_like_everything)
{
    ServedPlant const plant;
    HttpClient browser(plant.address());
    auto const ask = [&](std::string const& method, std::string const& target, std::string const& fields)
    {
        browser.send(method + ' ' + target + " HTTP/1.1\r\n" + fields + "\r\n");
        return browser.read_answer(method != "HEAD");
    };
    std::string const host = "Host: localhost\r\n";
    auto const page = ask("GET", "/?folder=Shared", host);
    if (WebPage::embedded_page().empty())
    {
        EXPECT_EQ(page.status, 404U);
        EXPECT_NE(page.body.find("/api/v1"), std::string::npos) << page.body;
    }
    else
    {
        EXPECT_EQ(page.status, 200U);
        EXPECT_EQ(page.field("content-type"), "text/html; charset=utf-8");
        EXPECT_EQ(ask("GET", "/operator", host).body, page.body);
    }
    EXPECT_EQ(page.field("content-security-policy"), "default-src 'self'; frame-ancestors 'none'");
    EXPECT_EQ(page.field("x-content-type-options"), "nosniff");
    EXPECT_EQ(ask("HEAD", "/", host).field("content-length"), std::to_string(page.body.size()));
    EXPECT_EQ(ask("OPTIONS", "/", host).field("allow"), "GET, HEAD, OPTIONS");
    EXPECT_EQ(ask("DELETE", "/", host).status, 405U);
    EXPECT_EQ(ask("DELETE", "/", "Host: evil.example\r\n").status, 421U);
    EXPECT_EQ(ask("GET", "/index.html", host).status, 404U);
}

} // namespace
} // namespace Ravik::Test
