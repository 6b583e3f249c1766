#pragma once

#include "Http/Core.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>

#include <atomic>
#include <memory>
#include <utility>

namespace Ravik::Service
{

/// One answer to one request: the first that is given, from whatever thread, or a failure where none ever is. It keeps
/// neither the client nor the server.
class Exchange
{
public:
    Exchange(std::weak_ptr<Core> core, std::weak_ptr<Client> client, std::uint64_t request)
        : m_core(std::move(core)), m_client(std::move(client)), m_request(request)
    {
    }
    Exchange(Exchange const&) = delete;
    Exchange& operator=(Exchange const&) = delete;

    ~Exchange()
    {
        if (m_is_answered)
        {
            return;
        }
        if (auto const core = m_core.lock())
        {
            asio::post(core->io(),
                       [core = core.get(), client = m_client, request = m_request]
                       {
                           if (auto const waiting = client.lock())
                           {
                               waiting->answer(request, core->handler().failure(500, "The request was dropped"));
                           }
                       });
        }
    }

    void answer(Response response)
    {
        auto const core = m_core.lock();
        if (m_is_answered.exchange(true) || !core)
        {
            return;
        }
        asio::dispatch(core->io(),
                       [client = m_client, request = m_request, response = std::move(response)]() mutable
                       {
                           if (auto const waiting = client.lock())
                           {
                               waiting->answer(request, std::move(response));
                           }
                       });
    }

private:
    std::weak_ptr<Core> m_core;
    std::weak_ptr<Client> m_client;
    std::uint64_t m_request;
    std::atomic<bool> m_is_answered = false;
};

} // namespace Ravik::Service
