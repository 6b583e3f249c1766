#pragma once

#include "RavikSrvExt/ErrorValue.h"
#include "RavikSrvExt/SharedText.h"
#include "RavikSrvExt/Value.h"

#include <cstdint>
#include <string_view>

namespace RavikSrv
{

/// Bit flags for how the server executes a command that addresses a configuration entry; they combine with `|`.
enum class CommandOption : std::uint32_t
{
    /// A write merges a map into a map that stands there already.
    NONE = 0,
    /// The written value takes the place of what stands there.
    REPLACE = 128,
    /// The entry is removed.
    REMOVE = 2048,
};

constexpr CommandOption operator|(CommandOption left, CommandOption right) noexcept
{
    return static_cast<CommandOption>(static_cast<std::uint32_t>(left) | static_cast<std::uint32_t>(right));
}

/// Whether `options` holds every bit of `option`.
constexpr bool has_option(CommandOption options, CommandOption option) noexcept
{
    return (static_cast<std::uint32_t>(options) & static_cast<std::uint32_t>(option)) ==
           static_cast<std::uint32_t>(option);
}

/// One named operation of a request: a function of an extension, a symbol that is read or written, or a configuration
/// entry. A regular value; texts handed in are copied and must not be null, texts handed out are owned by the command.
/// Copies of a command share their texts. A command belongs to the call that it was handed to; it does no locking.
///
/// What takes or returns a `SharedText` is for whoever makes or executes commands in large numbers.
class Command
{
public:
    Command() = default;
    explicit Command(char const* name) : m_name(std::string_view(name)) {}

    /// What the command addresses: a symbol, a function or a configuration path.
    char const* name() const noexcept { return m_name.c_str(); }
    SharedText const& shared_name() const noexcept { return m_name; }
    void set_name(char const* name) { m_name = SharedText(name); }

    /// The name inside the extension that the server mapped the command to: the function's name, or the address that
    /// the symbol table gives the symbol (its "MAPPING").
    char const* mapping() const noexcept { return m_mapping.c_str(); }
    SharedText const& shared_mapping() const noexcept { return m_mapping; }
    void set_mapping(char const* mapping) { m_mapping = SharedText(mapping); }
    void set_mapping(SharedText const& mapping) noexcept { m_mapping = mapping; }

    /// The part of the server that mapped the command, empty where none did; extensions only pass it on.
    char const* mapper() const noexcept { return m_mapper.c_str(); }
    void set_mapper(char const* mapper) { m_mapper = SharedText(mapper); }

    /// The value that the command returns to whoever sent it.
    Value& read_value() noexcept { return m_read_value; }
    Value const& read_value() const noexcept { return m_read_value; }
    void set_read_value(Value const& value) { m_read_value = value; }

    /// The parameters of a function, or the value to write. A command that writes nothing (its write value is null)
    /// reads.
    Value& write_value() noexcept { return m_write_value; }
    Value const& write_value() const noexcept { return m_write_value; }
    void set_write_value(Value const& value) { m_write_value = value; }

    /// How the server fared with the command. `EXTENSION` says that the extension answered with a result of its own,
    /// which `extension_result` holds.
    ErrorValue result() const noexcept { return m_result; }
    void set_result(ErrorValue result) noexcept { m_result = result; }

    /// The result in the numbering of the extension that executed the command, 0 for success.
    std::uint32_t extension_result() const noexcept { return m_extension_result; }
    /// Sets the extension's result and with it `result()`: `EXTENSION` for a non-zero code, `SUCCESS` for zero, so that
    /// an answer and its cause never disagree.
    void set_extension_result(std::uint32_t code) noexcept
    {
        m_extension_result = code;
        m_result = code == 0 ? ErrorValue::SUCCESS : ErrorValue::EXTENSION;
    }

    /// A text for whoever sent the command.
    char const* result_string() const noexcept { return m_result_string.c_str(); }
    SharedText const& shared_result_string() const noexcept { return m_result_string; }
    void set_result_string(char const* text) { m_result_string = SharedText(text); }

    CommandOption options() const noexcept { return m_options; }
    void set_options(CommandOption options) noexcept { m_options = options; }

private:
    SharedText m_name;
    SharedText m_mapping;
    SharedText m_mapper;
    SharedText m_result_string;
    Value m_read_value;
    Value m_write_value;
    ErrorValue m_result = ErrorValue::SUCCESS;
    std::uint32_t m_extension_result = 0;
    CommandOption m_options = CommandOption::NONE;
};

} // namespace RavikSrv
