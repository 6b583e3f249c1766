#pragma once

#include "RavikSrvExt/Counted.h"
#include "RavikSrvExt/Export.h"

#include <string>
#include <string_view>
#include <utility>

namespace RavikSrv
{

namespace Detail
{

/// The bytes of a text or of binary data, with a zero behind them. They stand in the same block as this head and never
/// change: a new text is a new block.
struct Text : Counted
{
    std::uint32_t size = 0;

    /// Null for no bytes; throws `std::length_error` for 4 GiB and more.
    RAVIK_SRV_EXT_API static Text const* make(std::string_view bytes);
    RAVIK_SRV_EXT_API static void destroy(Text const* text) noexcept;

    char const* data() const noexcept { return reinterpret_cast<char const*>(this + 1); }
    std::string_view view() const noexcept { return {data(), size}; }
};

} // namespace Detail

/// A text that its copies share: a copy takes one pointer and no memory. A regular value that never changes but by
/// assignment; like a `Value`, different copies may be used on different threads.
class SharedText
{
public:
    SharedText() noexcept = default;
    /// A copy of the text.
    explicit SharedText(std::string_view text) : m_text(Detail::Text::make(text)) {}
    SharedText(SharedText const& other) noexcept : m_text(other.m_text)
    {
        if (m_text != nullptr)
        {
            m_text->add_reference();
        }
    }
    SharedText(SharedText&& other) noexcept : m_text(std::exchange(other.m_text, nullptr)) {}
    SharedText& operator=(SharedText const& other) noexcept
    {
        SharedText(other).swap(*this);
        return *this;
    }
    SharedText& operator=(SharedText&& other) noexcept
    {
        SharedText(std::move(other)).swap(*this);
        return *this;
    }
    ~SharedText()
    {
        if (m_text != nullptr && m_text->drop_reference())
        {
            Detail::Text::destroy(m_text);
        }
    }

    void swap(SharedText& other) noexcept { std::swap(m_text, other.m_text); }

    /// The text, zero-terminated; owned by this object and its copies.
    char const* c_str() const noexcept { return m_text == nullptr ? "" : m_text->data(); }
    std::string_view view() const noexcept { return m_text == nullptr ? std::string_view() : m_text->view(); }
    std::string str() const { return std::string(view()); }
    bool empty() const noexcept { return m_text == nullptr; }

    friend bool operator==(SharedText const& left, SharedText const& right) noexcept
    {
        return left.m_text == right.m_text || left.view() == right.view();
    }
    friend bool operator==(SharedText const& left, std::string_view right) noexcept { return left.view() == right; }

private:
    Detail::Text const* m_text = nullptr;
};

} // namespace RavikSrv
