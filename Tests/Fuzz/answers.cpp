// What a device answers, down to what becomes of each access. The first two bytes of an input are the settings; what
// follows tells, whenever the driver waits for the device, what comes: anything, a right answer to any of the requests
// under way, an exception, or nothing. Whatever comes, each access is reported once, and requests run at once only as
// they may.

#include "RequestRunner.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

using namespace Modbus;

namespace
{

void expect(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

class Input
{
public:
    explicit Input(std::span<std::uint8_t const> bytes) : m_rest(bytes) {}

    bool is_at_end() const { return m_rest.empty(); }
    std::uint8_t next() { return is_at_end() ? std::uint8_t{0} : take(1).front(); }
    std::span<std::uint8_t const> take(std::size_t size)
    {
        auto const taken = m_rest.first(std::min(size, m_rest.size()));
        m_rest = m_rest.subspan(taken.size());
        return taken;
    }

private:
    std::span<std::uint8_t const> m_rest;
};

/// A device that does as the input says.
class Device : public Line
{
public:
    using Bytes = std::vector<std::uint8_t>;

    Device(Input& input, std::size_t parallel_requests) : m_input(input), m_most(parallel_requests) {}

    bool is_fresh() const noexcept override { return m_is_open; }
    Outcome open(Deadline /*deadline*/) override
    {
        expect(!m_is_open);
        m_is_open = true;
        return {};
    }
    void close() noexcept override
    {
        m_is_open = false;
        m_under_way.clear();
        m_coming.clear();
    }
    int send(std::span<std::uint8_t const> bytes) noexcept override
    {
        expect(m_is_open);
        m_under_way.emplace_back(bytes.begin(), bytes.end());
        // What comes unasked may have answered any of them.
        expect(m_has_rambled || m_under_way.size() <= m_most);
        expect(m_has_rambled ||
               std::all_of(m_under_way.begin(), m_under_way.end(),
                           [&](Bytes const& each) { return is_read(each) == is_read(m_under_way.front()); }));
        return 0;
    }
    Received receive(std::span<std::uint8_t> room, Deadline /*deadline*/) noexcept override
    {
        expect(m_is_open && !room.empty());
        if (m_coming.empty())
        {
            if (m_input.is_at_end())
            {
                return {.error = ECONNRESET};
            }
            m_coming = what_comes();
        }
        auto const size = std::min({m_coming.size(), room.size(), std::size_t{1} + m_input.next()});
        std::copy_n(m_coming.begin(), size, room.begin());
        m_coming.erase(m_coming.begin(), m_coming.begin() + static_cast<std::ptrdiff_t>(size));
        return size == 0 ? Received{.error = ETIMEDOUT} : Received{.size = size};
    }

private:
    static bool is_read(Bytes const& request) { return request[7] <= 4; }

    Bytes what_comes()
    {
        auto const kind = m_input.next();
        if (kind % 4 == 0 || m_under_way.empty())
        {
            m_has_rambled = true;
            auto const anything = m_input.take(m_input.next());
            return {anything.begin(), anything.end()};
        }
        if (kind % 4 == 1)
        {
            return {};
        }
        auto const place = m_under_way.begin() + kind / 4 % static_cast<std::ptrdiff_t>(m_under_way.size());
        auto answer = *place;
        m_under_way.erase(place);
        if (kind % 4 == 2)
        {
            answer[7] |= 0x80;
            answer[8] = m_input.next();
            return sized(answer, 9);
        }
        if (!is_read(answer))
        {
            return sized(answer, answer[7] == 22 ? 14 : 12);
        }
        std::size_t const count = answer[10] * 256U + answer[11];
        answer[8] = static_cast<std::uint8_t>(answer[7] <= 2 ? (count + 7) / 8 : 2 * count);
        return sized(answer, 9U + answer[8]);
    }

    static Bytes sized(Bytes answer, std::size_t size)
    {
        answer.resize(size);
        answer[4] = 0;
        answer[5] = static_cast<std::uint8_t>(size - 6);
        return answer;
    }

    Input& m_input;
    std::size_t m_most;
    std::vector<Bytes> m_under_way;
    Bytes m_coming;
    bool m_is_open = false;
    bool m_has_rambled = false;
};

class Group : public Accesses
{
public:
    bool make_more() override
    {
        struct Case
        {
            std::string_view mapping;
            bool writes;
        };
        static constexpr std::array cases = {
            Case{"holding:1:int16", true},
            Case{"holding:2:int32", true},
            Case{"coil:1", true},
            Case{"coil:2", true},
            Case{"holding:9.1", true},
            Case{"holding:9.2", true},
            Case{"holding:20:int16", true},
            Case{"holding:3:int16", true},
            Case{"holding:40:real64", true},
            Case{"holding:1:int32", false},
            Case{"holding:9.3", false},
            Case{"input:7:uint16", false},
            Case{"discrete:9", false},
            Case{"holding:60:int64", false},
            Case{"holding:66:int16", false},
            Case{"input:9:string[600]", false},
            Case{"holding:2:int16", true},
        };
        if (m_made.size() == cases.size())
        {
            return false;
        }
        auto const& [mapping, writes] = cases[m_made.size()];
        auto const address = std::get<Address>(parse_address(mapping));
        m_made.push_back({address, writes, static_cast<std::uint32_t>(m_cells.size())});
        m_cells.resize(m_cells.size() + (writes ? address.count() : 0));
        m_reports.push_back(0);
        return true;
    }

    void report(std::uint32_t index, Outcome const& outcome, std::span<std::uint16_t const> cells) override
    {
        bool const brings_cells = outcome.succeeded() && !m_made[index].writes;
        expect(cells.size() == (brings_cells ? m_made[index].address.count() : 0));
        expect(outcome.succeeded() == outcome.text.empty());
        ++m_reports[index];
    }

    void leave(std::uint32_t index) override { ++m_reports[index]; }

    bool is_reported() const
    {
        return std::all_of(m_reports.begin(), m_reports.end(), [](int reports) { return reports == 1; });
    }

private:
    std::vector<int> m_reports;
};

/// Wants a group stopped after so many accesses; after none, never.
class Watcher : public RavikSrv::IRavikSrvRequestWatcher
{
public:
    explicit Watcher(std::size_t most) : m_most(most) {}

    void note_done(std::size_t count) noexcept override { m_done += count; }
    bool is_stopped() const noexcept override { return m_most != 0 && m_done >= m_most; }

private:
    std::size_t m_most;
    std::size_t m_done = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Input input({data, size});
    Settings settings;
    auto const numbers = input.next();
    settings.parallel_requests = 1U + numbers % 16;
    auto const limits = input.next();
    settings.limits.single_writes_only = limits % 2 == 1;
    settings.limits.registers_per_write = 1U + limits / 2;
    Pipeline pipeline(std::make_unique<Device>(input, settings.parallel_requests), settings);
    // The second one has to do with whatever the first one left.
    for (int turn = 0; turn < 2; ++turn)
    {
        Group group;
        Watcher watcher(numbers / 16);
        static_cast<void>(RequestRunner(pipeline, settings.limits, group, &watcher).run());
        expect(group.is_reported() && !group.make_more() && pipeline.is_idle());
    }
    return 0;
}
