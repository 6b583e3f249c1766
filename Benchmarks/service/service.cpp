// The service under load, held against marks. Exit status 1 where one is missed.
//
// usage: benchmark_service [SECONDS [PART]]
//
// SECONDS is how long recipes are read (30); the other parts take about as long together. The parts, all of them where
// none is named:
//
// reads: 200 clients read recipes of 100 values, by turns with a bare server that answers the same: processor time a
//    request, and memory.
// streams: 1,000 clients watch 100 symbols that change with each poll, in the clear and with TLS.
// device: while eight calls hang on a dead device, others read and edit.
//
// What counts is the processor time of the server and the time until an answer is there. Other work on the machine
// lengthens the latter, so each line ends with the load average.

#include "Callers.h"
#include "Plant.h"
#include "Watchers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace
{

using namespace Ravik::Benchmark;
using std::chrono::milliseconds;

// The table -----------------------------------------------------------------------------------------------------------

bool is_any_missed = false;

/// A figure that is to be at most the mark; one without a mark where that is negative.
void row(char const* what, double figure, char const* unit, double mark = -1)
{
    auto const missed = mark >= 0 && figure > mark;
    is_any_missed = is_any_missed || missed;
    double load = 0;
    static_cast<void>(::getloadavg(&load, 1));
    std::printf("%-62s %10.2f %-5s", what, figure, unit);
    mark >= 0 ? std::printf(" mark %6.1f  %-6s", mark, missed ? "MISSED" : "kept") : std::printf("%20s", "");
    std::printf("  load %.1f\n", load);
    std::fflush(stdout);
}

double median(std::vector<double> figures)
{
    std::sort(figures.begin(), figures.end());
    return figures[figures.size() / 2];
}

/// The figure that so many of a hundred are at most; they are in ascending order.
double percentile(std::vector<double> const& sorted, double percent)
{
    if (sorted.empty())
    {
        throw std::runtime_error("nothing was measured");
    }
    auto const place = static_cast<std::size_t>(static_cast<double>(sorted.size()) * percent / 100);
    return sorted[std::min(place, sorted.size() - 1)];
}

double elapsed_ms(Clock::time_point since)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

// Reading recipes -----------------------------------------------------------------------------------------------------

constexpr std::size_t readers = 200;
constexpr int turns = 5;

std::string reading(Plant const& plant, std::size_t number)
{
    auto const& tokens = plant.tokens();
    return request("GET", "/api/v1/recipe?name=" + Plant::recipe(static_cast<int>(number % Plant::recipes)),
                   tokens[number % tokens.size()]);
}

/// A client's answer as the bare server is to give it.
void record_answer(Plant const& plant, std::filesystem::path const& file, std::uint16_t port)
{
    Wire wire(port, Encryption::none);
    wire.send(reading(plant, Plant::recipes - 1));
    std::string input;
    while (!first_answer(input))
    {
        wire.wait();
        wire.receive(input);
    }
    std::FILE* const written = std::fopen(file.c_str(), "w");
    if (written == nullptr || std::fwrite(input.data(), 1, input.size(), written) != input.size() ||
        std::fclose(written) != 0)
    {
        throw std::runtime_error("the answer can't be written down");
    }
}

/// A server and those who read from it, each again as soon as he has his answer.
class ReadingTurns
{
public:
    ReadingTurns(ServerProcess& server, Plant const& plant)
        : m_server(server), m_callers(server.port(), Encryption::none)
    {
        for (std::size_t number = 0; number < readers; ++number)
        {
            m_requests.push_back(reading(plant, number));
            m_callers.add(m_requests.back());
        }
    }

    /// Returns the server's processor time a request in microseconds.
    double turn(milliseconds time)
    {
        auto const before = m_server.processor_seconds();
        std::size_t answers = 0;
        bool is_over = false;
        auto const answered = [&](std::size_t caller, Answer const& answer)
        {
            ++answers;
            if (answer.status != 200 || answer.body.size() < Plant::values)
            {
                throw std::runtime_error("a reader was answered: " + std::string(answer.head) +
                                         std::string(answer.body));
            }
            if (!is_over)
            {
                m_callers.send(caller, m_requests[caller]);
            }
        };
        for (std::size_t caller = 0; caller < readers; ++caller)
        {
            m_callers.send(caller, m_requests[caller]);
        }
        m_callers.wait(Clock::now() + time, answered);
        is_over = true;
        while (m_callers.under_way() > 0)
        {
            m_callers.wait(Clock::now() + milliseconds(1), answered);
        }
        m_answers += answers;
        return (m_server.processor_seconds() - before) * 1e6 / static_cast<double>(answers);
    }

    std::size_t answers() const noexcept { return m_answers; }

private:
    ServerProcess& m_server;
    Callers m_callers;
    std::vector<std::string> m_requests;
    std::size_t m_answers = 0;
};

void read_recipes(milliseconds time)
{
    Plant plant(Encryption::none, 4);
    auto const answer = plant.path() / "answer";
    record_answer(plant, answer, plant.server().port());
    ServerProcess bare({BARE_PROGRAM, answer}, plant.path() / "bare.log");
    ReadingTurns ours(plant.server(), plant);
    ReadingTurns theirs(bare, plant);
    // The first seconds, in which memory may grow.
    static_cast<void>(ours.turn(std::min(time / turns, milliseconds(3000))));
    auto const memory = plant.server().private_memory();
    std::vector<double> our_times;
    std::vector<double> their_times;
    std::vector<double> ratios;
    for (int turn = 0; turn < turns; ++turn)
    {
        our_times.push_back(ours.turn(time / turns));
        their_times.push_back(theirs.turn(time / turns));
        ratios.push_back(our_times.back() / their_times.back());
    }
    auto const growth = static_cast<double>(plant.server().private_memory() - memory);
    row("200 clients read recipes: answers, none an error", static_cast<double>(ours.answers()), "");
    row("  processor time a request", median(our_times), "us");
    row("  that of a bare server", median(their_times), "us");
    row("  ratio, median of five turns each", median(ratios), "", 2);
    row("  growth of memory after the first seconds", growth, "kB", 1024);
}

// Streams -------------------------------------------------------------------------------------------------------------

constexpr std::size_t watchers = 1000;
constexpr int watching_tokens = 11;

void watch(Encryption encryption, milliseconds time)
{
    constexpr milliseconds shortest{4000};
    auto const* const name = encryption == Encryption::tls ? "1,000 clients watch 100 symbols, with TLS: polls"
                                                           : "1,000 clients watch 100 symbols: polls";
    Plant plant(encryption, watching_tokens);
    Watchers clients(plant.server().port(), encryption);
    // What the first one brings about is not a client's share.
    clients.add(plant.tokens().front());
    clients.listen(milliseconds(2500));
    auto const memory = plant.server().private_memory();
    for (std::size_t number = 0; number < watchers; ++number)
    {
        clients.add(plant.tokens()[1 + number % (watching_tokens - 1)]);
    }
    clients.listen(milliseconds(1500));
    auto const account = clients.account(std::max(time, shortest));
    auto const share = static_cast<double>(plant.server().private_memory() - memory) / watchers;
    row(name, static_cast<double>(account.polls), "");
    row("  polls that did not come to every client", static_cast<double>(account.incomplete), "", 0);
    row("  from the reading to the client, 99th percentile", percentile(account.delays, 99), "ms");
    row("  from the reading to the last client", account.delays.back(), "ms", 500);
    row("  requests to the device a second", account.reads_a_second, "", 1.05);
    row("  memory a client", share, "kB", encryption == Encryption::tls ? 110 : 20);
}

// A dead device -------------------------------------------------------------------------------------------------------

constexpr int requests_a_second = 1000;
/// Of these, so many are edits. They take turns, and each waits until the disk has it: a thousand a second are more
/// than most disks take, from whomever.
constexpr int edits_a_second = 100;
/// Those who edit as fast as they are answered.
constexpr std::size_t editors = 16;
constexpr std::size_t mixed_callers = 100;
constexpr std::size_t hanging_calls = 8;
constexpr int dead_tokens = 12;

std::string editing(Plant const& plant, std::size_t recipe, std::string const& tag, int value)
{
    return request("PATCH", "/api/v1/recipe?name=" + Plant::recipe(static_cast<int>(recipe)),
                   plant.tokens()[recipe % 4],
                   "Content-Type: application/merge-patch+json\r\nIf-Match: " + tag + "\r\n",
                   R"({"values":{"member7":)" + std::to_string(value) + "}}");
}

/// Calls that hang on the dead device, each made again as soon as it has ended.
class HangingCalls
{
public:
    explicit HangingCalls(Plant& plant) : m_plant(plant), m_callers(plant.server().port(), Encryption::none)
    {
        for (std::size_t caller = 0; caller < hanging_calls; ++caller)
        {
            m_callers.add(reading(plant, caller));
            call(caller);
        }
    }

    void attend()
    {
        m_callers.wait(Clock::now(),
                       [this](std::size_t caller, Answer const& answer)
                       {
                           if (elapsed_ms(answer.sent) < 0.9 * static_cast<double>(Plant::hangs.count()))
                           {
                               throw std::runtime_error("a call to the dead device does not hang: " +
                                                        std::string(answer.head) + std::string(answer.body));
                           }
                           ++m_ended;
                           call(caller);
                       });
    }

    std::size_t ended() const noexcept { return m_ended; }

private:
    /// Two of each kind.
    void call(std::size_t caller)
    {
        auto const number = static_cast<int>(caller / 4);
        auto const& token = m_plant.tokens()[4 + caller];
        // Those of the recipe are written by its activation.
        auto const symbol = "/api/v1/symbol?name=" + Plant::dead_symbol(2 + number);
        auto const recipe = Plant::dead_recipe(number);
        auto const body = R"({"recipe":")" + recipe + "\"}";
        std::string const json = "Content-Type: application/json\r\n";
        switch (caller % 4)
        {
        case 0:
            m_callers.send(caller, request("GET", symbol, token));
            break;
        case 1:
            m_callers.send(caller, request("PUT", symbol, token, json, R"({"value":1.5})"));
            break;
        case 2:
            m_callers.send(caller, request("POST", "/api/v1/plans", token, json, body));
            break;
        default:
            m_callers.send(caller, request("POST", "/api/v1/activations", token,
                                           json + "Idempotency-Key: " + std::to_string(++m_keys) + "\r\n", body));
        }
    }

    Plant& m_plant;
    Callers m_callers;
    std::size_t m_ended = 0;
    int m_keys = 0;
};

/// Reads and edits that are due at fixed times, whether earlier ones are answered or not: the time of each counts from
/// when it was due.
class MixedCalls
{
public:
    explicit MixedCalls(Plant& plant) : m_plant(plant), m_callers(plant.server().port(), Encryption::none)
    {
        for (std::size_t caller = 0; caller < mixed_callers; ++caller)
        {
            m_callers.add(reading(plant, caller));
            m_idle.push_back(caller);
        }
        m_calls.resize(mixed_callers);
        m_tags.resize(Plant::recipes);
        for (std::size_t recipe = 0; recipe < m_tags.size(); ++recipe)
        {
            learn_tag(recipe);
        }
    }

    void run(milliseconds time, HangingCalls* hanging)
    {
        auto const begin = Clock::now();
        auto const interval = std::chrono::microseconds(1'000'000 / requests_a_second);
        auto const count = static_cast<int>(time / interval);
        for (int number = 0; number < count; ++number)
        {
            m_due.push_back({.number = number, .time = begin + number * interval});
            wait(m_due.back().time);
            send_due();
            if (hanging != nullptr)
            {
                hanging->attend();
            }
        }
        auto const end = Clock::now() + std::chrono::seconds(30);
        while ((!m_due.empty() || m_callers.under_way() > 0) && Clock::now() < end)
        {
            wait(Clock::now() + milliseconds(1));
            send_due();
        }
        if (!m_due.empty() || m_callers.under_way() > 0)
        {
            throw std::runtime_error("requests were not answered");
        }
        std::sort(read_times.begin(), read_times.end());
        std::sort(edit_times.begin(), edit_times.end());
    }

    std::vector<double> read_times;
    std::vector<double> edit_times;

private:
    struct Due
    {
        int number = 0;
        Clock::time_point time;
    };
    /// What a caller waits for.
    struct UnderWay
    {
        Clock::time_point due;
        bool is_edit = false;
        std::size_t recipe = 0;
    };

    void learn_tag(std::size_t recipe)
    {
        m_callers.send(0, reading(m_plant, recipe));
        while (m_callers.under_way() > 0)
        {
            m_callers.wait(Clock::now() + milliseconds(1), [&](std::size_t /*caller*/, Answer const& answer)
                           { m_tags[recipe] = answer.field("ETag"); });
        }
    }

    void wait(Clock::time_point until)
    {
        m_callers.wait(until, [this](std::size_t caller, Answer const& answer) { take(caller, answer); });
    }

    void send_due()
    {
        while (!m_due.empty() && !m_idle.empty())
        {
            auto const due = m_due.front();
            m_due.pop_front();
            auto const caller = m_idle.front();
            m_idle.pop_front();
            send(caller, due);
        }
    }

    void send(std::size_t caller, Due const& due)
    {
        auto const recipe = static_cast<std::size_t>(due.number) % Plant::recipes;
        auto const& tag = m_tags[recipe];
        auto const is_edit = due.number % (requests_a_second / edits_a_second) == 0 && !tag.empty();
        m_calls[caller] = {.due = due.time, .is_edit = is_edit, .recipe = recipe};
        if (!is_edit)
        {
            m_callers.send(caller, reading(m_plant, recipe));
            return;
        }
        m_callers.send(caller, editing(m_plant, recipe, tag, due.number));
        // Nobody else edits it until its new tag is known.
        m_tags[recipe].clear();
    }

    void take(std::size_t caller, Answer const& answer)
    {
        auto const& call = m_calls[caller];
        if (!answer.is_success())
        {
            throw std::runtime_error("a call failed: " + std::string(answer.head) + std::string(answer.body));
        }
        (call.is_edit ? edit_times : read_times).push_back(elapsed_ms(call.due));
        if (call.is_edit)
        {
            m_tags[call.recipe] = answer.field("ETag");
        }
        m_idle.push_back(caller);
    }

    Plant& m_plant;
    Callers m_callers;
    std::deque<Due> m_due;
    std::deque<std::size_t> m_idle;
    std::vector<UnderWay> m_calls;
    /// Of each recipe; empty while it is edited.
    std::vector<std::string> m_tags;
};

/// Each editor makes the next edit as soon as he has his answer.
void edit_at_most(Plant& plant, milliseconds time)
{
    auto const& server = plant.server();
    Callers callers(server.port(), Encryption::none);
    int edits = 0;
    bool is_over = false;
    auto const answered = [&](std::size_t caller, Answer const& answer)
    {
        if (!answer.is_success())
        {
            throw std::runtime_error("an edit failed: " + std::string(answer.head) + std::string(answer.body));
        }
        if (!is_over)
        {
            callers.send(caller, editing(plant, caller, std::string(answer.field("ETag")), ++edits));
        }
    };
    for (std::size_t caller = 0; caller < editors; ++caller)
    {
        callers.add(reading(plant, caller));
        callers.send(caller, reading(plant, caller));
    }
    auto const begin = Clock::now();
    auto const before = server.processor_seconds();
    callers.wait(begin + time, answered);
    is_over = true;
    while (callers.under_way() > 0)
    {
        callers.wait(Clock::now() + milliseconds(1), answered);
    }
    row("  edits a second at most", edits * 1000.0 / elapsed_ms(begin), "");
    row("  processor time an edit", (server.processor_seconds() - before) * 1000 / edits, "ms");
}

/// What it costs to make a row's worth of bytes last on this disk, in milliseconds.
double fdatasync_ms(std::filesystem::path const& folder)
{
    Descriptor const file(::open((folder / "sync").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    std::string const bytes(4096, 'x');
    std::vector<double> times;
    for (int run = 0; run < 50; ++run)
    {
        auto const begin = Clock::now();
        if (::write(*file, bytes.data(), bytes.size()) < 0 || ::fdatasync(*file) != 0)
        {
            throw std::runtime_error("the file can't be written");
        }
        times.push_back(elapsed_ms(begin));
    }
    return median(times);
}

void work_beside_dead_device(milliseconds time)
{
    Plant plant(Encryption::none, dead_tokens);
    MixedCalls before(plant);
    before.run(time / 3, nullptr);
    MixedCalls mixed(plant);
    HangingCalls hanging(plant);
    mixed.run(std::max(time, 2 * Plant::hangs + milliseconds(1000)), &hanging);
    row("Eight calls hang on a dead device: that ended meanwhile", static_cast<double>(hanging.ended()), "");
    row("  900 reads a second, 99th percentile", percentile(mixed.read_times, 99), "ms", 50);
    row("  the same without the dead device", percentile(before.read_times, 99), "ms");
    row("  100 edits a second, 99th percentile", percentile(mixed.edit_times, 99), "ms", 50);
    row("  the same without the dead device", percentile(before.edit_times, 99), "ms");
    row("  an edit, median", percentile(mixed.edit_times, 50), "ms");
    edit_at_most(plant, milliseconds(2000));
    row("  fdatasync of 4 kB, median", fdatasync_ms(plant.path()), "ms");
}

/// What the program is asked for.
struct Wish
{
    milliseconds time{30'000};
    std::string part;

    bool has(std::string_view name) const { return part.empty() || part == name; }
};

Wish wish_in(std::vector<std::string> const& arguments)
{
    constexpr std::array parts{"reads", "streams", "device"};
    Wish wish;
    int seconds = 30;
    auto is_right = arguments.size() <= 2;
    if (is_right && !arguments.empty())
    {
        auto const& text = arguments.front();
        auto const read = std::from_chars(text.data(), text.data() + text.size(), seconds);
        is_right = read.ec == std::errc() && read.ptr == text.data() + text.size() && seconds >= 5;
        wish.time = std::chrono::seconds(seconds);
    }
    if (is_right && arguments.size() == 2)
    {
        wish.part = arguments.back();
        is_right = std::find(parts.begin(), parts.end(), wish.part) != parts.end();
    }
    if (!is_right)
    {
        throw std::runtime_error("usage: benchmark_service [SECONDS [reads | streams | device]], at least 5 seconds");
    }
    return wish;
}

/// A thousand clients take more file descriptors than shells give to begin with.
void allow_descriptors()
{
    rlimit limit{};
    static_cast<void>(::getrlimit(RLIMIT_NOFILE, &limit));
    limit.rlim_cur = limit.rlim_max;
    static_cast<void>(::setrlimit(RLIMIT_NOFILE, &limit));
}

} // namespace

int main(int count, char** arguments)
{
    try
    {
        allow_descriptors();
        auto const wish = wish_in({arguments + 1, arguments + count});
        if (wish.has("reads"))
        {
            read_recipes(wish.time);
        }
        if (wish.has("streams"))
        {
            watch(Encryption::none, wish.time / 3);
            watch(Encryption::tls, wish.time / 3);
        }
        if (wish.has("device"))
        {
            work_beside_dead_device(wish.time / 2);
        }
        return is_any_missed ? 1 : 0;
    }
    catch (std::exception const& error)
    {
        std::fprintf(stderr, "benchmark_service: %s\n", error.what());
        return 1;
    }
}
