#pragma once

#include "RavikSrvExt/ErrorValue.h"

#include <string>

namespace RavikSrv
{

/// The answer of a listener call or of a check by the host: an error value and a text for whoever asked.
class [[nodiscard]] ResultPair
{
public:
    /// Success without a text.
    ResultPair() = default;
    ResultPair(ErrorValue result) : m_result(result) {}
    /// Copies `text`, which must not be null.
    ResultPair(ErrorValue result, char const* text) : m_result(result), m_text(text) {}

    ErrorValue result() const noexcept { return m_result; }
    /// The text, zero-terminated; owned by this object, empty where there is none.
    char const* text() const noexcept { return m_text.c_str(); }

    void set_result(ErrorValue result) noexcept { m_result = result; }
    /// Copies `text`, which must not be null.
    void set_text(char const* text) { m_text = text; }

private:
    ErrorValue m_result = ErrorValue::SUCCESS;
    std::string m_text;
};

} // namespace RavikSrv
