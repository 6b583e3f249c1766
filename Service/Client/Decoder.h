#pragma once

#include "Client/ByteReader.h"
#include "Client/Encoder.h"
#include "Client/parts.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

namespace Ravik::Wire
{

/// What a call brings along for the service that carries it out, beside its data.
class ServiceSide
{
public:
    ServiceSide(ServiceSide const&) = delete;
    ServiceSide& operator=(ServiceSide const&) = delete;
    virtual ~ServiceSide() = default;

    /// On whose behalf the call is made.
    virtual std::string const& who() const = 0;
    /// The mark that is set where the caller wants the call to end early.
    virtual StopMark stop() = 0;
    /// The number of the next of the call's callbacks, from 0 on.
    virtual std::size_t next_callback() = 0;
    /// Sends the caller the arguments for a callback, the number in front.
    virtual void call_back(std::string_view message) = 0;
    /// The request of that number, for this call alone. Throws `BrokenMessage` where it is none of the caller's.
    virtual RavikSrv::Session request(std::uint64_t id) = 0;
    /// The call has begun a request, which is the caller's from now on.
    virtual void begun(RavikSrv::Session request) = 0;

protected:
    ServiceSide() = default;
};

/// Reads what an `Encoder` wrote. Throws `BrokenMessage` where the bytes are nothing of the kind.
class Decoder
{
public:
    /// `service` gives what the data of a call leaves open; null where what is read has nothing of this.
    explicit Decoder(ByteReader& bytes, ServiceSide* service = nullptr) : m_bytes(bytes), m_service(service) {}

    template <typename Type> Type read()
    {
        if constexpr (std::is_same_v<Type, bool>)
        {
            return m_bytes.truth();
        }
        else if constexpr (std::is_enum_v<Type>)
        {
            return static_cast<Type>(m_bytes.number(static_cast<std::uint64_t>(highest_name<Type>)));
        }
        else if constexpr (std::is_integral_v<Type>)
        {
            return read_integer<Type>();
        }
        else if constexpr (std::is_same_v<Type, double>)
        {
            return m_bytes.real();
        }
        else if constexpr (std::is_same_v<Type, std::string>)
        {
            return std::string(m_bytes.text());
        }
        else if constexpr (std::is_same_v<Type, RavikSrv::SharedText>)
        {
            return RavikSrv::SharedText(m_bytes.text());
        }
        else if constexpr (std::is_same_v<Type, RavikSrv::Value>)
        {
            return m_bytes.value();
        }
        else if constexpr (std::is_same_v<Type, RavikSrv::Session>)
        {
            auto const id = m_bytes.number();
            return m_service == nullptr ? RavikSrv::Session(id) : m_service->request(id);
        }
        else if constexpr (std::is_same_v<Type, std::chrono::milliseconds>)
        {
            return Type(read<std::int64_t>());
        }
        else
        {
            Type value{};
            read_parts(value);
            return value;
        }
    }

private:
    template <typename Type> Type read_integer()
    {
        auto const number = m_bytes.number();
        auto const value = static_cast<Type>(number);
        return static_cast<std::uint64_t>(value) == number ? value : throw BrokenMessage("a number is too large");
    }

    template <typename Type> void read_parts(Type& value)
    {
        if constexpr (is_vector<Type>)
        {
            for (auto left = m_bytes.count(); left > 0; --left)
            {
                value.push_back(read<typename Type::value_type>());
            }
        }
        else if constexpr (is_optional<Type>)
        {
            if (m_bytes.truth())
            {
                value = read<typename Type::value_type>();
            }
        }
        else if constexpr (std::is_same_v<Type, StopMark>)
        {
            auto const can_stop = m_bytes.truth();
            value = can_stop && m_service != nullptr ? m_service->stop() : nullptr;
        }
        else if constexpr (is_callback<Type>)
        {
            auto const is_awaited = m_bytes.truth();
            connect(value, is_awaited);
        }
        else
        {
            for_each_part(value, [this](auto& part) { read_into(part); });
            name_caller(value);
        }
    }

    template <typename Type> void read_into(Type& part) { part = read<Type>(); }

    /// A callback of the service is one more message to the caller.
    template <typename... Arguments> void connect(std::function<void(Arguments...)>& callback, bool is_awaited)
    {
        if (!is_awaited || m_service == nullptr)
        {
            return;
        }
        callback = [service = m_service, number = m_service->next_callback()](Arguments const&... arguments)
        {
            ByteWriter message;
            message.number(number);
            Encoder encoder(message);
            (encoder.write(arguments), ...);
            service->call_back(message.bytes());
        };
    }

    /// Whoever asks does so as himself.
    template <typename Type> void name_caller(Type& value) const
    {
        constexpr auto is_asking = std::is_same_v<Type, Origin> || std::is_same_v<Type, ActivationOptions> ||
                                   std::is_same_v<Type, WriteBackOptions>;
        if constexpr (is_asking)
        {
            value.who = m_service == nullptr ? value.who : m_service->who();
        }
    }

    ByteReader& m_bytes;
    ServiceSide* m_service;
};

template <typename... Arguments> void call_back(std::function<void(Arguments...)> const& callback, ByteReader& bytes)
{
    Decoder decoder(bytes);
    // In braces, so that they are read in their order.
    std::tuple<std::decay_t<Arguments>...> arguments{decoder.read<std::decay_t<Arguments>>()...};
    bytes.expect_end();
    std::apply(callback, std::move(arguments));
}

} // namespace Ravik::Wire
