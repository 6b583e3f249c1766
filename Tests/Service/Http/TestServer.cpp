#include "TestServer.h"

#include <stdexcept>

namespace Ravik::Test
{

using namespace Service;

void TestStream::opened(std::shared_ptr<Stream> stream)
{
    {
        std::lock_guard const lock(m_mutex);
        m_stream = std::move(stream);
    }
    told.put("opened");
}

void TestStream::message(std::string text)
{
    told.put("message " + text);
    if (text == "throw")
    {
        throw std::runtime_error("as asked for");
    }
    if (text == "close")
    {
        stream()->close(1000, "as asked for");
        return;
    }
    stream()->send(std::make_shared<std::string const>("heard " + text));
}

std::shared_ptr<Stream> TestStream::stream()
{
    std::lock_guard const lock(m_mutex);
    return m_stream;
}

Response text_response(std::string text, unsigned status)
{
    return {.status = status,
            .content_type = "text/plain",
            .fields = {},
            .body = std::make_shared<std::string const>(std::move(text))};
}

Admission TestHandler::admit(RequestHead const& request)
{
    requests.put(request);
    Admission admission;
    admission.body_limit = 100;
    if (request.path == "/bad")
    {
        throw std::runtime_error("not in the mood");
    }
    if (request.path == "/secret")
    {
        admission.refusal = text_response("no", 401);
    }
    else if (request.path == "/stream")
    {
        auto stream = std::make_shared<TestStream>();
        admission.stream = stream;
        streams.put(std::move(stream));
    }
    else if (request.path == "/hold")
    {
        admission.run = [this](std::string const& /*body*/, Reply reply) { held.put(std::move(reply)); };
    }
    else if (request.path == "/throw")
    {
        admission.run = [](std::string const& /*body*/, Reply const& /*reply*/) { throw std::runtime_error("oh"); };
    }
    else if (request.path == "/large")
    {
        admission.run = [](std::string const& /*body*/, Reply const& reply)
        { reply(text_response(std::string(large, 'x'))); };
    }
    else if (request.path != "/drop")
    {
        auto const head = request.method + ' ' + request.path;
        admission.who = request.path.starts_with("/user/") ? "user:" + request.path.substr(6) : "";
        admission.run = [head](std::string const& body, Reply const& reply)
        { reply(text_response(head + ' ' + body)); };
    }
    return admission;
}

Response TestHandler::failure(unsigned status, std::string const& detail)
{
    return text_response(detail, status);
}

std::string TestServer::line_of(std::string const& path)
{
    return log.lines.find([&](std::string const& line) { return line.find(' ' + path + ' ') != std::string::npos; })
        .value_or("");
}

} // namespace Ravik::Test
