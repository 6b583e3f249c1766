#pragma once

#include <unistd.h>
#include <utility>

namespace Ravik::Wire
{

/// An open file or socket of its own.
class Descriptor
{
public:
    explicit Descriptor(int number = -1) noexcept : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    ~Descriptor()
    {
        if (is_open())
        {
            ::close(m_number);
        }
    }

    int number() const noexcept { return m_number; }
    bool is_open() const noexcept { return m_number >= 0; }

private:
    int m_number;
};

} // namespace Ravik::Wire
