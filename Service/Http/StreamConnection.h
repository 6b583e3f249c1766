#pragma once

#include "Http/Core.h"
#include "Http/answer_head.h"
#include "Http/transport.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <boost/beast/websocket/stream.hpp>

#include "Json/unicode.h"

#include <deque>

namespace Ravik::Service
{

namespace websocket = boost::beast::websocket;

/// What a handle of a stream reaches.
class StreamClient : public Client
{
public:
    virtual void send(std::shared_ptr<std::string const> message) = 0;
    virtual void close(unsigned code, std::string const& reason) = 0;
};

/// A stream as its handler holds it: it keeps neither the client nor the server.
class StreamHandle final : public Stream
{
public:
    StreamHandle(std::weak_ptr<Core> core, std::weak_ptr<StreamClient> client)
        : m_core(std::move(core)), m_client(std::move(client))
    {
    }

    void send(std::shared_ptr<std::string const> message) override
    {
        reach([message = std::move(message)](StreamClient& client) mutable { client.send(std::move(message)); });
    }

    void close(unsigned code, std::string reason) override
    {
        reach([code, reason = std::move(reason)](StreamClient& client) { client.close(code, reason); });
    }

private:
    template <typename Work> void reach(Work work)
    {
        if (auto const core = m_core.lock())
        {
            asio::dispatch(core->io(),
                           [client = m_client, work = std::move(work)]() mutable
                           {
                               if (auto const reached = client.lock())
                               {
                                   work(*reached);
                               }
                           });
        }
    }

    std::weak_ptr<Core> m_core;
    std::weak_ptr<StreamClient> m_client;
};

/// A WebSocket client.
template <typename Transport> class StreamConnection final : public StreamClient
{
public:
    StreamConnection(std::shared_ptr<Core> const& core, Transport transport, Seats::Seat seat,
                     std::shared_ptr<StreamHandler> handler, RequestRecord record)
        : m_core(*core), m_weak_core(core), m_socket(std::move(transport)), m_deadline(core->io()),
          m_seat(std::move(seat)), m_handler(std::move(handler)), m_record(std::move(record))
    {
    }

    template <typename Request> void start(Request const& request);

    void drain() override {}
    void dismiss(std::string const& reason) override { close(websocket::close_code::going_away, reason); }
    void abort() override;
    void answer(std::uint64_t /*request*/, Response /*response*/) override {}
    void send(std::shared_ptr<std::string const> message) override;
    void close(unsigned code, std::string const& reason) override;

private:
    std::shared_ptr<StreamConnection> self() { return std::static_pointer_cast<StreamConnection>(shared_from_this()); }
    void set_up();
    void accepted();
    void read();
    void take_message();
    void write();
    void finish();

    Core& m_core;
    std::weak_ptr<Core> m_weak_core;
    websocket::stream<Transport, false> m_socket;
    Deadline m_deadline;
    Seats::Seat m_seat;
    std::shared_ptr<StreamHandler> m_handler;
    RequestRecord m_record;

    bool m_is_open = false;
    bool m_is_writing = false;
    bool m_is_closing = false;
    bool m_is_finished = false;
    boost::beast::flat_buffer m_input;
    std::deque<std::shared_ptr<std::string const>> m_queue;
};

template <typename Transport>
template <typename Request>
void StreamConnection<Transport>::start(Request const& request)
{
    set_up();
    m_socket.async_accept(request,
                          [self = self()](boost::system::error_code error)
                          {
                              if (self->m_is_finished)
                              {
                                  return;
                              }
                              self->m_core.log_request(self->m_record, error ? 0 : 101);
                              error ? self->finish() : self->accepted();
                          });
}

template <typename Transport> void StreamConnection<Transport>::set_up()
{
    auto const& limits = m_core.limits();
    m_socket.set_option(websocket::stream_base::timeout{
        .handshake_timeout = limits.closing_time, .idle_timeout = limits.idle_time, .keep_alive_pings = true});
    m_socket.set_option(websocket::stream_base::decorator(
        [frame = AnswerFrame{.id = m_record.id, .date = m_core.date()}](websocket::response_type& response)
        {
            for (auto const& [name, value] : common_fields(frame))
            {
                response.set(name, value);
            }
            response.set("Cache-Control", "no-store");
        }));
    m_socket.read_message_max(limits.stream_message);
    // So a message leaves from where it stands: no buffer a client.
    m_socket.auto_fragment(false);
    m_socket.text(true);
}

template <typename Transport> void StreamConnection<Transport>::accepted()
{
    m_is_open = true;
    auto const handle = std::make_shared<StreamHandle>(m_weak_core, std::static_pointer_cast<StreamClient>(self()));
    if (!m_core.guarded([&] { m_handler->opened(handle); }))
    {
        close(websocket::close_code::internal_error, "The service failed");
    }
    if (m_core.is_draining())
    {
        dismiss("The service ends");
    }
    read();
}

template <typename Transport> void StreamConnection<Transport>::read()
{
    m_socket.async_read(m_input,
                        [self = self()](boost::system::error_code error, std::size_t /*count*/)
                        {
                            if (self->m_is_finished || (error && self->m_is_closing))
                            {
                                return;
                            }
                            if (error)
                            {
                                self->finish();
                                return;
                            }
                            self->take_message();
                            if (!self->m_is_finished)
                            {
                                self->read();
                            }
                        });
}

template <typename Transport> void StreamConnection<Transport>::take_message()
{
    std::string text(static_cast<char const*>(m_input.data().data()), m_input.size());
    m_input.consume(m_input.size());
    m_input.shrink_to_fit();
    if (m_is_closing)
    {
        return;
    }
    if (!m_socket.got_text())
    {
        close(websocket::close_code::unknown_data, "Messages are texts");
    }
    else if (!m_core.guarded([&] { m_handler->message(std::move(text)); }))
    {
        close(websocket::close_code::internal_error, "The service failed");
    }
}

template <typename Transport> void StreamConnection<Transport>::send(std::shared_ptr<std::string const> message)
{
    if (!m_is_open || m_is_closing || m_is_finished)
    {
        return;
    }
    if (m_queue.size() >= m_core.limits().stream_queue)
    {
        close(websocket::close_code::try_again_later, "The client does not keep up");
        return;
    }
    m_queue.push_back(std::move(message));
    if (!m_is_writing)
    {
        write();
    }
}

template <typename Transport> void StreamConnection<Transport>::write()
{
    m_is_writing = true;
    m_socket.async_write(asio::buffer(*m_queue.front()),
                         [self = self()](boost::system::error_code error, std::size_t /*count*/)
                         {
                             self->m_is_writing = false;
                             if (self->m_is_finished || self->m_is_closing)
                             {
                                 self->m_queue.clear();
                                 return;
                             }
                             if (error)
                             {
                                 self->finish();
                                 return;
                             }
                             self->m_queue.pop_front();
                             if (!self->m_queue.empty())
                             {
                                 self->write();
                             }
                         });
}

/// What waits is dropped but for the message that is leaving, behind which the reason follows; a client that takes
/// neither in time is cut off.
template <typename Transport> void StreamConnection<Transport>::close(unsigned code, std::string const& reason)
{
    if (!m_is_open || m_is_closing || m_is_finished)
    {
        return;
    }
    m_is_closing = true;
    m_queue.resize(m_is_writing ? 1 : 0);
    m_deadline.set(self(), m_core.limits().closing_time, &StreamConnection::abort);
    std::string_view text = reason;
    websocket::close_reason why;
    why.code = static_cast<std::uint16_t>(code);
    while (!text.empty() && why.reason.size() + Json::first_character(text).bytes.size() <= why.reason.max_size())
    {
        auto const character = Json::first_character(text).bytes;
        why.reason.append(character.data(), character.size());
        text.remove_prefix(character.size());
    }
    m_socket.async_close(why, [self = self()](boost::system::error_code /*error*/) { self->finish(); });
}

template <typename Transport> void StreamConnection<Transport>::abort()
{
    boost::system::error_code ignored;
    socket_of(m_socket.next_layer()).set_option(asio::socket_base::linger(true, 0), ignored);
    finish();
}

template <typename Transport> void StreamConnection<Transport>::finish()
{
    if (m_is_finished)
    {
        return;
    }
    m_is_finished = true;
    boost::system::error_code ignored;
    socket_of(m_socket.next_layer()).close(ignored);
    m_deadline.cancel();
    m_seat.leave();
    if (m_is_open)
    {
        // Later, since the handler may be the one who calls.
        asio::post(m_core.io(), [core = &m_core, handler = std::move(m_handler)]
                   { static_cast<void>(core->guarded([&] { handler->closed(); })); });
    }
    m_core.leave(shared_from_this(), true);
}

} // namespace Ravik::Service
