#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Ravik::Service
{

/// What the service counts of itself. Thread-safe.
struct Metrics
{
    /// Answers by the first digit of their status.
    std::array<std::atomic<std::uint64_t>, 6> answers{};
    std::atomic<std::uint64_t> activations_done = 0;
    std::atomic<std::uint64_t> activations_failed = 0;
    std::atomic<std::uint64_t> polls = 0;
    std::atomic<std::uint64_t> polls_failed = 0;
    std::atomic<std::uint64_t> sign_ins_refused = 0;
    std::atomic<bool> ready = false;

    void count(unsigned status) noexcept { ++answers[status / 100 < answers.size() ? status / 100 : 0]; }
};

} // namespace Ravik::Service
