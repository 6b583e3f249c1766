#pragma once

#include "Http/Core.h"
#include "Http/Exchange.h"
#include "Http/StreamConnection.h"
#include "Http/answer_head.h"
#include "Http/forwarding.h"
#include "Http/header_check.h"
#include "Http/target.h"
#include "Http/text.h"
#include "Http/transport.h"

#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace Ravik::Service
{

namespace http = boost::beast::http;

/// Where a connection comes from and where it came in.
struct Peer
{
    std::string address;
    std::uint16_t port = 0;
};

/// A client that speaks HTTP: one request after the other, each answered before the next is looked at. Lives until it
/// has finished, kept by the core and by what it waits for, which is never more than one operation and the deadline.
template <typename Transport> class HttpConnection final : public Client
{
public:
    /// Without a seat it is turned away.
    HttpConnection(std::shared_ptr<Core> const& core, Transport transport, Seats::Seat seat, Peer peer)
        : m_core(*core), m_weak_core(core), m_transport(std::move(transport)), m_deadline(core->io()),
          m_seat(std::move(seat)), m_peer(std::move(peer))
    {
    }

    void start();

    void drain() override;
    void dismiss(std::string const& /*reason*/) override {}
    void abort() override;
    void answer(std::uint64_t request, Response response) override;

private:
    enum class Phase
    {
        handshake,
        /// For the first byte of a request.
        waiting,
        header,
        body,
        running,
        answering,
        closing,
        finished,
    };

    std::shared_ptr<HttpConnection> self() { return std::static_pointer_cast<HttpConnection>(shared_from_this()); }
    void set_deadline(Clock::duration from_now) { m_deadline.set(self(), from_now, &HttpConnection::deadline_reached); }
    void deadline_reached();
    bool is_too_slow(std::int64_t moved);
    void start_rate(std::int64_t moved);
    std::int64_t left_for_client();

    template <typename Then> void read(std::size_t size, Then then);
    /// Runs a step; where it throws, the connection ends.
    template <typename Step> void guarded(Step const& step);

    void begin_record();
    void wait_for_request(Clock::duration patience);
    void read_header();
    void take_header();
    void parse_header();
    void admit(RequestHead const& request);
    std::optional<RequestHead> make_request(http::request_header<> const& header);
    void let_in();
    void upgrade();
    void begin_body();
    void read_body();
    void take_body();
    void run();

    void refuse(unsigned status, std::string const& detail);
    void respond(Response response);
    void write_answer();
    void close();
    void discard();
    void finish();

    Core& m_core;
    std::weak_ptr<Core> m_weak_core;
    Transport m_transport;
    Deadline m_deadline;
    Seats::Seat m_seat;
    Peer m_peer;

    Phase m_phase = Phase::handshake;
    boost::beast::flat_buffer m_input;
    HeaderScan m_scan;
    bool m_has_skipped_line = false;
    bool m_has_timed_out = false;
    bool m_keep_alive = false;
    /// Something of the request, or behind it, is not read and never will be.
    bool m_leaves_unread = false;
    std::optional<http::request_parser<http::string_body>> m_parser;
    RequestRecord m_record;
    Admission m_admission;
    std::int64_t m_received = 0;
    std::int64_t m_rate_mark = 0;
    std::string m_head;
    std::shared_ptr<std::string const> m_body;
    std::int64_t m_written = 0;
};

/// How much of a body is read at once.
inline constexpr std::size_t body_chunk = 65'536;
/// A connection that waits keeps no more room than this for what comes, and shorter answers leave in one piece.
inline constexpr std::size_t small_buffer = 4096;

// Begin and end ------------------------------------------------------------------------------------------------------

template <typename Transport> void HttpConnection<Transport>::start()
{
    set_deadline(m_core.limits().header_time);
    async_handshake(m_transport,
                    [self = self()](boost::system::error_code error)
                    {
                        if (self->m_phase == Phase::finished)
                        {
                            return;
                        }
                        if (error)
                        {
                            self->finish();
                        }
                        else if (!self->m_seat)
                        {
                            self->m_leaves_unread = true;
                            self->begin_record();
                            self->guarded([&] { self->respond(self->m_core.too_many_connections()); });
                        }
                        else
                        {
                            self->wait_for_request(self->m_core.limits().header_time);
                        }
                    });
}

template <typename Transport> void HttpConnection<Transport>::drain()
{
    if (m_phase == Phase::handshake || m_phase == Phase::waiting || m_phase == Phase::header)
    {
        finish();
    }
    m_keep_alive = false;
}

template <typename Transport> void HttpConnection<Transport>::abort()
{
    boost::system::error_code ignored;
    // What has not been sent yet is dropped, so that the system does not go on with it either.
    socket_of(m_transport).set_option(asio::socket_base::linger(true, 0), ignored);
    finish();
}

template <typename Transport> void HttpConnection<Transport>::finish()
{
    if (m_phase == Phase::finished)
    {
        return;
    }
    bool const is_unanswered = m_phase == Phase::body || m_phase == Phase::running;
    m_phase = Phase::finished;
    if (is_unanswered)
    {
        m_core.log_request(m_record, 0);
    }
    boost::system::error_code ignored;
    socket_of(m_transport).close(ignored);
    m_deadline.cancel();
    m_seat.leave();
    m_admission = {};
    m_core.leave(shared_from_this(), false);
}

template <typename Transport> void HttpConnection<Transport>::deadline_reached()
{
    switch (m_phase)
    {
    case Phase::waiting:
    case Phase::closing:
        finish();
        break;
    case Phase::body:
        if (!is_too_slow(m_received))
        {
            break;
        }
        [[fallthrough]];
    case Phase::header:
        m_has_timed_out = true;
        socket_of(m_transport).cancel();
        break;
    case Phase::answering:
        if (is_too_slow(left_for_client()))
        {
            abort();
        }
        break;
    case Phase::handshake:
        abort();
        break;
    case Phase::running:
    case Phase::finished:
        break;
    }
}

template <typename Transport> void HttpConnection<Transport>::start_rate(std::int64_t moved)
{
    m_rate_mark = moved;
    set_deadline(m_core.limits().rate_time);
}

template <typename Transport> bool HttpConnection<Transport>::is_too_slow(std::int64_t moved)
{
    auto const& limits = m_core.limits();
    auto const least = static_cast<std::int64_t>(limits.least_rate) * limits.rate_time.count() / 1000;
    if (moved - m_rate_mark < least)
    {
        return true;
    }
    start_rate(moved);
    return false;
}

/// What has left for the client and was acknowledged: what the system holds for it does not count.
template <typename Transport> std::int64_t HttpConnection<Transport>::left_for_client()
{
    return m_written - unsent_bytes(socket_of(m_transport));
}

template <typename Transport> template <typename Step> void HttpConnection<Transport>::guarded(Step const& step)
{
    if (!m_core.guarded(step))
    {
        abort();
    }
}

template <typename Transport> template <typename Then> void HttpConnection<Transport>::read(std::size_t size, Then then)
{
    m_transport.async_read_some(m_input.prepare(size),
                                [self = self(), then](boost::system::error_code error, std::size_t count)
                                {
                                    if (self->m_phase == Phase::finished)
                                    {
                                        return;
                                    }
                                    if (self->m_has_timed_out)
                                    {
                                        self->refuse(408, self->m_phase == Phase::header ? "The header took too long"
                                                                                         : "The body came too slowly");
                                    }
                                    else if (error)
                                    {
                                        self->finish();
                                    }
                                    else
                                    {
                                        self->m_input.commit(count);
                                        self->m_received += static_cast<std::int64_t>(count);
                                        self->guarded([&] { (self.get()->*then)(); });
                                    }
                                });
}

// The header ---------------------------------------------------------------------------------------------------------

template <typename Transport> void HttpConnection<Transport>::wait_for_request(Clock::duration patience)
{
    if (m_core.is_draining())
    {
        close();
        return;
    }
    m_phase = Phase::waiting;
    m_scan = {};
    m_has_skipped_line = false;
    m_parser.reset();
    set_deadline(patience);
    if (m_input.size() > 0)
    {
        guarded([this] { take_header(); });
        return;
    }
    if (m_input.capacity() > small_buffer)
    {
        m_input = {};
    }
    read_header();
}

template <typename Transport> void HttpConnection<Transport>::read_header()
{
    read(small_buffer / 2, &HttpConnection::take_header);
}

template <typename Transport> void HttpConnection<Transport>::take_header()
{
    auto const bytes = m_input.data();
    std::string_view const text(static_cast<char const*>(bytes.data()), bytes.size());
    auto const state = m_scan.scan(text);
    if (m_phase == Phase::waiting)
    {
        m_phase = Phase::header;
        if (state == HeaderScan::State::more)
        {
            set_deadline(m_core.limits().header_time);
        }
    }
    if (state == HeaderScan::State::broken)
    {
        refuse(400, "The header has a character that does not belong there, or a line that does not end with CR LF");
    }
    else if (m_scan.length() > m_core.limits().header)
    {
        refuse(431, "The header is longer than " + std::to_string(m_core.limits().header) + " bytes");
    }
    else if (state == HeaderScan::State::more)
    {
        read_header();
    }
    else if (m_scan.length() == 2 && !m_has_skipped_line)
    {
        // Some clients send a line end behind a body, where none belongs.
        m_has_skipped_line = true;
        m_input.consume(2);
        m_scan = {};
        m_input.size() > 0 ? take_header() : read_header();
    }
    else
    {
        parse_header();
    }
}

template <typename Transport> void HttpConnection<Transport>::parse_header()
{
    begin_record();
    auto const length = m_scan.length();
    if (auto const problem = check_header({static_cast<char const*>(m_input.data().data()), length}); !problem.empty())
    {
        refuse(400, problem);
        return;
    }
    m_parser.emplace();
    // The limits are judged here; the parser's own must not come before them. Of a chunked body its trailer counts.
    m_parser->header_limit(static_cast<std::uint32_t>(2 * m_core.limits().header));
    m_parser->body_limit(boost::none);
    boost::system::error_code error;
    m_input.consume(m_parser->put(asio::buffer(m_input.data(), length), error));
    if (error || !m_parser->is_header_done())
    {
        refuse(400, "The header is broken: " + error.message());
        return;
    }
    m_keep_alive = m_parser->get().keep_alive() && !m_core.is_draining();
    if (auto const request = make_request(m_parser->get()))
    {
        admit(*request);
    }
}

/// None where it was refused.
template <typename Transport>
std::optional<RequestHead> HttpConnection<Transport>::make_request(http::request_header<> const& header)
{
    RequestHead request;
    request.id = m_record.id;
    request.method = header.method_string();
    m_record.method = request.method;
    request.address = m_peer.address;
    request.secure = is_encrypted<Transport>;
    request.port = m_peer.port;
    for (auto const& field : header)
    {
        request.fields.emplace_back(lower_case(field.name_string()), field.value());
    }
    if (m_core.is_proxy(m_peer.address))
    {
        believe_proxy(request);
        m_record.address = request.address;
    }
    auto target = decode_target(request.method, {header.target().data(), header.target().size()});
    if (auto const* const error = std::get_if<TargetError>(&target))
    {
        refuse(400, error->detail);
        return std::nullopt;
    }
    auto& decoded = std::get<Target>(target);
    request.path = std::move(decoded.path);
    request.query = std::move(decoded.query);
    if (!decoded.authority.empty())
    {
        auto const host = std::find_if(request.fields.begin(), request.fields.end(),
                                       [](auto const& field) { return field.first == "host"; });
        host->second = std::move(decoded.authority);
    }
    m_record.path = request.path;
    return request;
}

// Being let in -------------------------------------------------------------------------------------------------------

template <typename Transport> void HttpConnection<Transport>::begin_record()
{
    m_record = {};
    m_record.id = m_core.next_request();
    m_record.address = m_peer.address;
    m_record.begin = Clock::now();
}

template <typename Transport> void HttpConnection<Transport>::admit(RequestHead const& request)
{
    if (!m_core.guarded([&] { m_admission = m_core.handler().admit(request); }))
    {
        refuse(500, "The request failed within the service");
        return;
    }
    m_record.who = m_admission.who;
    if (!m_admission.who.empty() && !m_seat.give_to(m_admission.who))
    {
        m_keep_alive = false;
        m_leaves_unread = true;
        respond(m_core.too_many_connections());
        return;
    }
    let_in();
}

template <typename Transport> void HttpConnection<Transport>::let_in()
{
    bool const has_body = !m_parser->is_done();
    if (m_admission.refusal)
    {
        m_leaves_unread = has_body;
        respond(*std::exchange(m_admission.refusal, std::nullopt));
    }
    else if (m_admission.stream)
    {
        upgrade();
    }
    else if (has_body)
    {
        begin_body();
    }
    else
    {
        run();
    }
}

template <typename Transport> void HttpConnection<Transport>::upgrade()
{
    auto const& request = m_parser->get();
    if (!m_parser->is_done() || m_input.size() > 0)
    {
        refuse(400, "A request for a WebSocket has nothing behind its header");
        return;
    }
    if (!boost::beast::websocket::is_upgrade(request) || request["Sec-WebSocket-Version"] != "13" ||
        request["Sec-WebSocket-Key"].empty())
    {
        m_leaves_unread = false;
        m_keep_alive = false;
        auto response = m_core.handler().failure(426, "Only WebSockets of version 13 are served here");
        response.fields.emplace_back("Upgrade", "websocket");
        response.fields.emplace_back("Sec-WebSocket-Version", "13");
        respond(std::move(response));
        return;
    }
    m_deadline.cancel();
    auto const stream = std::make_shared<StreamConnection<Transport>>(
        m_weak_core.lock(), std::move(m_transport), std::move(m_seat), std::move(m_admission.stream), m_record);
    m_core.enter(stream, true);
    stream->start(m_parser->release());
    finish();
}

template <typename Transport> void HttpConnection<Transport>::begin_body()
{
    m_phase = Phase::body;
    m_parser->eager(true);
    m_parser->body_limit(m_admission.body_limit);
    auto const length = m_parser->content_length();
    if (length && *length > m_admission.body_limit)
    {
        refuse(413, "The body is longer than " + std::to_string(m_admission.body_limit) + " bytes");
        return;
    }
    m_received = 0;
    start_rate(0);
    auto const expectation = m_parser->get()[http::field::expect];
    if (expectation.empty() || m_input.size() > 0)
    {
        take_body();
        return;
    }
    if (!boost::beast::iequals(expectation, "100-continue"))
    {
        refuse(417, "The only expectation that is met is 100-continue");
        return;
    }
    static constexpr std::string_view go_on = "HTTP/1.1 100 Continue\r\n\r\n";
    asio::async_write(m_transport, asio::buffer(go_on),
                      [self = self()](boost::system::error_code error, std::size_t /*count*/)
                      {
                          if (error)
                          {
                              self->finish();
                          }
                          else if (self->m_phase == Phase::body)
                          {
                              self->read_body();
                          }
                      });
}

template <typename Transport> void HttpConnection<Transport>::read_body()
{
    auto const rest = m_parser->content_length_remaining();
    auto const size = rest ? std::clamp<std::uint64_t>(*rest, small_buffer / 4, body_chunk) : body_chunk / 4;
    read(static_cast<std::size_t>(size), &HttpConnection::take_body);
}

/// Of what the parser left: a line's end that it does not see as one, and would wait for.
inline bool has_lone_line_feed(boost::beast::flat_buffer const& rest)
{
    std::string_view const text(static_cast<char const*>(rest.data().data()), rest.size());
    auto const place = text.find('\n');
    return place != std::string_view::npos && (place == 0 || text[place - 1] != '\r');
}

template <typename Transport> void HttpConnection<Transport>::take_body()
{
    boost::system::error_code error;
    while (m_input.size() > 0 && !m_parser->is_done() && !error)
    {
        auto const taken = m_parser->put(m_input.data(), error);
        m_input.consume(taken);
        if (taken == 0 && !error)
        {
            break;
        }
    }
    if (error == http::error::body_limit)
    {
        refuse(413, "The body is longer than " + std::to_string(m_admission.body_limit) + " bytes");
    }
    else if (error && error != http::error::need_more)
    {
        refuse(400, "The body is broken: " + error.message());
    }
    else if (m_parser->is_done())
    {
        run();
    }
    else if (m_input.size() > m_core.limits().header || has_lone_line_feed(m_input))
    {
        refuse(400, "A line of the body's frame is too long or does not end with CR LF");
    }
    else
    {
        read_body();
    }
}

template <typename Transport> void HttpConnection<Transport>::run()
{
    m_phase = Phase::running;
    m_deadline.clear();
    auto const work = std::exchange(m_admission.run, nullptr);
    auto exchange = std::make_shared<Exchange>(m_weak_core, weak_from_this(), m_record.id);
    auto body = std::move(m_parser->get().body());
    if (work)
    {
        // What it throws leaves the exchange without an answer, which is one too.
        static_cast<void>(m_core.guarded(
            [&] { work(std::move(body), [exchange](Response response) { exchange->answer(std::move(response)); }); }));
    }
}

// The answer ---------------------------------------------------------------------------------------------------------

template <typename Transport> void HttpConnection<Transport>::answer(std::uint64_t request, Response response)
{
    if (m_phase == Phase::running && m_record.id == request)
    {
        guarded([&] { respond(std::move(response)); });
    }
}

/// For what leaves the connection in a state that nothing can follow.
template <typename Transport> void HttpConnection<Transport>::refuse(unsigned status, std::string const& detail)
{
    if (m_record.id == 0)
    {
        // It came too slowly or too long to have a number yet.
        begin_record();
    }
    m_keep_alive = false;
    m_leaves_unread = true;
    guarded([&] { respond(m_core.handler().failure(status, detail)); });
}

template <typename Transport> void HttpConnection<Transport>::respond(Response response)
{
    m_phase = Phase::answering;
    m_has_timed_out = false;
    m_keep_alive = m_keep_alive && !m_leaves_unread && !m_core.is_draining();
    m_core.log_request(m_record, response.status);
    m_head = answer_head(response, {.id = m_record.id, .date = m_core.date(), .keep_alive = m_keep_alive});
    bool const sends_body = response.body && has_body(response.status) && m_record.method != "HEAD";
    m_body = sends_body ? std::move(response.body) : nullptr;
    if (m_body && m_body->size() <= small_buffer)
    {
        m_head += *m_body;
        m_body.reset();
    }
    m_record = {};
    write_answer();
}

template <typename Transport> void HttpConnection<Transport>::write_answer()
{
    m_written = 0;
    start_rate(left_for_client());
    std::array<asio::const_buffer, 2> const pieces{asio::buffer(m_head),
                                                   m_body ? asio::buffer(*m_body) : asio::const_buffer()};
    auto const count = [self = self()](boost::system::error_code error, std::size_t written)
    {
        self->m_written = static_cast<std::int64_t>(written);
        return error ? std::size_t{0} : body_chunk;
    };
    asio::async_write(m_transport, pieces, count,
                      [self = self()](boost::system::error_code error, std::size_t /*written*/)
                      {
                          self->m_body.reset();
                          if (error)
                          {
                              self->finish();
                          }
                          else if (self->m_phase == Phase::answering)
                          {
                              self->m_keep_alive ? self->wait_for_request(self->m_core.limits().idle_time)
                                                 : self->close();
                          }
                      });
}

/// Ends the connection so that the client sees the last answer: closing while something of his is unread would make the
/// system tell his to forget what it holds for him.
template <typename Transport> void HttpConnection<Transport>::close()
{
    m_phase = Phase::closing;
    set_deadline(m_core.limits().closing_time);
    m_leaves_unread = m_leaves_unread || m_input.size() > 0;
    async_goodbye(m_transport,
                  [self = self()]
                  {
                      boost::system::error_code ignored;
                      socket_of(self->m_transport).shutdown(asio::socket_base::shutdown_send, ignored);
                      self->m_input = {};
                      self->m_leaves_unread ? self->discard() : self->finish();
                  });
}

template <typename Transport> void HttpConnection<Transport>::discard()
{
    if (m_phase == Phase::finished)
    {
        return;
    }
    socket_of(m_transport)
        .async_read_some(m_input.prepare(small_buffer),
                         [self = self()](boost::system::error_code error, std::size_t /*count*/)
                         { error ? self->finish() : self->discard(); });
}

} // namespace Ravik::Service
