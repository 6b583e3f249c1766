#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Ravik::Service
{

using Fields = std::vector<std::pair<std::string, std::string>>;

/// What a client asks for, without the body. A plain value.
struct RequestHead
{
    /// The number that the log has the request under.
    std::uint64_t id = 0;
    std::string method;
    /// The path of the target, decoded; one that has no decoded form ("%00", wrong UTF-8, "%2f") never gets here.
    std::string path;
    /// The query's parameters, decoded, in their order.
    Fields query;
    /// The header's fields in their order, names in lower case.
    Fields fields;
    /// Who asks: the peer's address or, behind a proxy that is believed, the one that it names.
    std::string address;
    /// Whether the client's link is encrypted, to us or to a proxy that is believed.
    bool secure = false;
    /// The port that the client reached.
    std::uint16_t port = 0;

    /// The field's value where it stands exactly once.
    std::optional<std::string_view> field(std::string_view name) const;
    /// How often it stands there.
    std::size_t count(std::string_view name) const;
    /// The query's parameter where it stands exactly once.
    std::optional<std::string> parameter(std::string_view name) const;
};

/// An answer. Lengths, dates, connection handling and the fields that every answer carries are the listener's.
struct Response
{
    unsigned status = 200;
    /// Of the body; empty where there is none.
    std::string content_type;
    Fields fields;
    /// Shared, since many clients may be sent the same.
    std::shared_ptr<std::string const> body;
};

/// Takes the answer to a request, from any thread and once; whatever follows is dropped. The client, or the whole
/// server, may have gone meanwhile.
using Reply = std::function<void(Response)>;

/// An open WebSocket. Thread-safe; what is sent to one that has closed is dropped.
class Stream
{
public:
    virtual ~Stream() = default;

    /// Queues a text message. A client that does not keep up is closed.
    virtual void send(std::shared_ptr<std::string const> message) = 0;
    /// Closes it with a WebSocket status (1000: done, 1001: going away, 1008: policy, 1013: try again later).
    virtual void close(unsigned code, std::string reason) = 0;
};

/// What becomes of an open WebSocket. All calls come on the thread of input and output; none after `closed`.
class StreamHandler
{
public:
    virtual ~StreamHandler() = default;

    virtual void opened(std::shared_ptr<Stream> stream) = 0;
    virtual void message(std::string text) = 0;
    /// Follows `opened` once, whoever ended it.
    virtual void closed() = 0;
};

/// A request that is let in.
struct Admission
{
    /// Set for one that is not: the answer, after which the connection is closed where a body was still to come.
    std::optional<Response> refusal;
    /// The longest body that is read, 413 beyond; 0 where the request has none.
    std::size_t body_limit = 0;
    /// Called with the whole body on the thread of input and output, which it must not hold up; it sees to the reply.
    std::function<void(std::string body, Reply reply)> run;
    /// Set in the place of `run` where the request is to become a WebSocket.
    std::shared_ptr<StreamHandler> stream;
    /// Who asks, for the log: "user:anna"; empty for nobody.
    std::string who;
};

/// Who looks at requests as they come.
class Handler
{
public:
    virtual ~Handler() = default;

    /// Judges a request before its body is read, on the thread of input and output.
    virtual Admission admit(RequestHead const& request) = 0;
    /// The answer to what no request comes of: a broken header or body (400), a header too long (431), too slow a
    /// client (408), a body too long (413), an expectation other than 100-continue (417), a broken upgrade (426), a
    /// connection too many (503), an `admit` that threw or a `run` that never replied (500). `detail` is for a person.
    /// On the thread of input and output.
    virtual Response failure(unsigned status, std::string const& detail) = 0;
};

} // namespace Ravik::Service
