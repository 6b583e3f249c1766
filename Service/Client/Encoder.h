#pragma once

#include "Client/ByteReader.h"
#include "Client/ByteWriter.h"
#include "Client/parts.h"

#include <functional>
#include <string_view>
#include <vector>

namespace Ravik::Wire
{

/// Calls back with the arguments that the bytes hold; see Decoder.h.
template <typename... Arguments> void call_back(std::function<void(Arguments...)> const& callback, ByteReader& bytes);

/// What a call leaves with the caller, while its data goes to the service.
struct CallerSide
{
    /// Null where nothing stops the call.
    StopMark stop = nullptr;
    /// Each takes the arguments that the service sends for the callback of its number.
    std::vector<std::function<void(ByteReader&)>> callbacks;
};

/// Writes what goes into an operation or comes out of it.
class Encoder
{
public:
    /// `caller` gets what stays with the caller; null where what is written has nothing of this.
    explicit Encoder(ByteWriter& bytes, CallerSide* caller = nullptr) : m_bytes(bytes), m_caller(caller) {}

    template <typename Type> void write(Type const& value)
    {
        if constexpr (std::is_same_v<Type, bool>)
        {
            m_bytes.byte(value ? 1 : 0);
        }
        else if constexpr (std::is_enum_v<Type> || std::is_integral_v<Type>)
        {
            m_bytes.number(static_cast<std::uint64_t>(value));
        }
        else if constexpr (std::is_same_v<Type, double>)
        {
            m_bytes.real(value);
        }
        else if constexpr (std::is_convertible_v<Type const&, std::string_view>)
        {
            m_bytes.text(value);
        }
        else if constexpr (std::is_same_v<Type, RavikSrv::SharedText>)
        {
            m_bytes.text(value.view());
        }
        else if constexpr (std::is_same_v<Type, RavikSrv::Value>)
        {
            m_bytes.value(value);
        }
        else if constexpr (std::is_same_v<Type, RavikSrv::Session>)
        {
            m_bytes.number(value.id());
        }
        else if constexpr (std::is_same_v<Type, std::chrono::milliseconds>)
        {
            write(static_cast<std::int64_t>(value.count()));
        }
        else
        {
            write_parts(value);
        }
    }

private:
    template <typename Type> void write_parts(Type const& value)
    {
        if constexpr (is_vector<Type>)
        {
            m_bytes.number(value.size());
            for (auto const& element : value)
            {
                write(element);
            }
        }
        else if constexpr (is_optional<Type>)
        {
            write(value.has_value());
            if (value)
            {
                write(*value);
            }
        }
        else if constexpr (std::is_same_v<Type, StopMark>)
        {
            write(m_caller != nullptr && value != nullptr);
            keep_stop(value);
        }
        else if constexpr (is_callback<Type>)
        {
            write(m_caller != nullptr && value);
            keep_callback(value);
        }
        else
        {
            for_each_part(value, [this](auto const& part) { write(part); });
        }
    }

    void keep_stop(StopMark mark)
    {
        if (m_caller != nullptr && mark != nullptr)
        {
            m_caller->stop = mark;
        }
    }

    template <typename... Arguments> void keep_callback(std::function<void(Arguments...)> const& callback)
    {
        if (m_caller == nullptr || !callback)
        {
            return;
        }
        m_caller->callbacks.push_back([callback](ByteReader& bytes) { call_back(callback, bytes); });
    }

    ByteWriter& m_bytes;
    CallerSide* m_caller;
};

} // namespace Ravik::Wire
