// Has servers that share a library edit the same recipes while all of it fails, one thing after the other:
//
//     LibraryFaultTest [FAULTS [SEED]]
//
// Servers, each a process, are killed and frozen, sessions of the database ended, the database killed, lines to it cut
// or silent, answers to commits and notifications lost. After each fault every server has to come to what the library
// has, and to follow it, within 3 s after nothing stands in the way any more, and then all have the same configuration
// byte for byte. Of the edits nothing that was acknowledged may be lost and nothing that was refused be there; what
// became of those whose outcome was unknown must be told by every server, as it is. Then come the cases of
// `library_cases.h`. Exit status 0 where all that always held. RAVIK_TEST_PATIENCE is by what the times are multiplied.

#include "KilledProcess.h"
#include "SharedLines.h"
#include "library_cases.h"
#include "library_project.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <map>
#include <poll.h>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace Ravik;
using namespace Ravik::Test;
using std::chrono::milliseconds;

constexpr int servers = 4;
constexpr int clients = 2;
/// How many faults pass before the histories are looked at.
constexpr int faults_of_round = 10;

/// What the last edits were answered with.
std::string last_texts(std::vector<Attempt> const& attempts)
{
    constexpr std::ptrdiff_t most = 12;
    std::string text;
    std::for_each(attempts.end() - std::min(most, std::ssize(attempts)), attempts.end(),
                  [&](Attempt const& attempt) { text += attempt.asked + ": " + attempt.text + "\n"; });
    return text;
}

class Faults
{
public:
    explicit Faults(unsigned seed) : m_random(seed), m_lines(servers), m_clients(m_lines.all(), clients, seed)
    {
        m_checked = m_lines.expect_one_truth({});
    }

    void run(int count)
    {
        for (int number = 1; number <= count; ++number)
        {
            make_one();
            if (number % faults_of_round == 0 || number == count)
            {
                check_histories();
            }
        }
        print();
    }
    SharedLines& lines() noexcept { return m_lines; }

private:
    struct Kind
    {
        char const* name;
        void (Faults::*make)(ServedLine&);
    };
    static std::vector<Kind> const& kinds();

    void make_one();
    void check_histories();
    void print() const;
    void last(milliseconds most) { ::poll(nullptr, 0, static_cast<int>(some_time(most, m_random) / milliseconds(1))); }
    /// Mostly short, at times longer than the database waits for who has the turn.
    void last_some_time()
    {
        auto const choice = m_random() % 16;
        last(milliseconds(choice == 0 ? 15'000 : choice < 3 ? 3'000 : 400));
    }

    void kill_server(ServedLine& line);
    void freeze_server(ServedLine& line);
    void end_session(ServedLine& line);
    void kill_database(ServedLine& line);
    void stop_database(ServedLine& line);
    void fail_line(ServedLine& line, DatabaseProxy::Line how);
    void cut_line(ServedLine& line) { fail_line(line, DatabaseProxy::Line::Cut); }
    void freeze_line(ServedLine& line) { fail_line(line, DatabaseProxy::Line::Frozen); }
    void lose_requests(ServedLine& line) { fail_line(line, DatabaseProxy::Line::Deaf); }
    void lose_answers(ServedLine& line) { fail_line(line, DatabaseProxy::Line::Mute); }
    void cut_all(ServedLine& line);
    void lose_answer(ServedLine& line);
    void lose_notifications(ServedLine& line);

    std::mt19937 m_random;
    SharedLines m_lines;
    EditingClients m_clients;
    /// As it was when the histories were looked at.
    LibraryContent m_checked;
    std::map<std::string, int> m_made;
    std::map<Attempt::Result, std::size_t> m_attempts;
    std::size_t m_told_unknown = 0;
    milliseconds m_slowest{};
};

std::vector<Faults::Kind> const& Faults::kinds()
{
    static std::vector<Kind> const all{
        {.name = "a server killed", .make = &Faults::kill_server},
        {.name = "a server frozen", .make = &Faults::freeze_server},
        {.name = "a session ended", .make = &Faults::end_session},
        {.name = "PostgreSQL killed", .make = &Faults::kill_database},
        {.name = "PostgreSQL stopped", .make = &Faults::stop_database},
        {.name = "a line cut", .make = &Faults::cut_line},
        {.name = "a line frozen", .make = &Faults::freeze_line},
        {.name = "nothing sent", .make = &Faults::lose_requests},
        {.name = "nothing answered", .make = &Faults::lose_answers},
        {.name = "all lines cut", .make = &Faults::cut_all},
        {.name = "an answer lost", .make = &Faults::lose_answer},
        {.name = "notifications lost", .make = &Faults::lose_notifications},
    };
    return all;
}

void Faults::make_one()
{
    auto const& kind = kinds().at(m_random() % kinds().size());
    auto& line = m_lines.at(m_random() % servers);
    m_clients.resume();
    last(milliseconds(300));
    ++m_made[kind.name];
    try
    {
        (this->*kind.make)(line);
        m_slowest = std::max(m_slowest, m_lines.await_all(std::chrono::seconds(3 * patience())));
        m_clients.pause();
        static_cast<void>(m_lines.expect_one_truth(m_checked.head.position));
    }
    catch (std::exception const& error)
    {
        m_clients.pause();
        throw std::runtime_error(std::string(kind.name) + " at " + line.name() + ": " + error.what() + "\n" +
                                 line.log() + last_texts(m_clients.take()));
    }
    line.line().lose_notifications(false);
}

// Faults --------------------------------------------------------------------------------------------------------------

void Faults::kill_server(ServedLine& line)
{
    line.kill();
    last(milliseconds(200));
    line.start();
}

void Faults::freeze_server(ServedLine& line)
{
    line.freeze();
    last_some_time();
    line.thaw();
}

void Faults::end_session(ServedLine& line)
{
    // One of two: the one that takes turns, or the one that follows.
    auto const order = m_random() % 2 == 0 ? "" : " DESC";
    m_lines.database().run("SELECT pg_terminate_backend(pid) FROM (SELECT pid FROM pg_stat_activity WHERE "
                           "application_name = 'ravik " +
                           line.name() + "' ORDER BY backend_start" + order + " LIMIT 1) AS one");
}

void Faults::kill_database(ServedLine& /*line*/)
{
    m_lines.database().stop(PostgresServer::How::Killed);
    last_some_time();
    m_lines.start_database();
}

void Faults::stop_database(ServedLine& /*line*/)
{
    m_lines.database().stop(PostgresServer::How::Immediate);
    last_some_time();
    m_lines.start_database();
}

void Faults::fail_line(ServedLine& line, DatabaseProxy::Line how)
{
    line.line().set(how);
    last_some_time();
    line.line().set(DatabaseProxy::Line::Whole);
}

void Faults::cut_all(ServedLine& /*line*/)
{
    for (auto const& line : m_lines.all())
    {
        line->line().set(DatabaseProxy::Line::Cut);
    }
    last_some_time();
    for (auto const& line : m_lines.all())
    {
        line->line().set(DatabaseProxy::Line::Whole);
    }
}

void Faults::lose_answer(ServedLine& line)
{
    line.line().lose_answer();
    expect(eventually(std::chrono::seconds(20 * patience()), [&] { return line.line().has_lost_answer(); }),
           "nothing is edited at " + line.name() + ", which is " + told(line.reach()->library_status({})));
}

/// They are lost until the server is known to have caught up all the same.
void Faults::lose_notifications(ServedLine& line)
{
    auto const before = line.line().lost_notifications();
    line.line().lose_notifications(true);
    expect(eventually(std::chrono::seconds(20 * patience()), [&] { return line.line().lost_notifications() > before; }),
           "nothing is told to " + line.name() + ", which is " + told(line.reach()->library_status({})));
}

// What must hold ------------------------------------------------------------------------------------------------------

void Faults::check_histories()
{
    auto content = m_lines.expect_one_truth(m_checked.head.position);
    auto const attempts = m_clients.take();
    expect_once(content.records, attempts);
    expect_told(content.records, m_checked.tree, content.tree);
    for (auto const& line : m_lines.all())
    {
        auto const server = line->reach();
        expect_followed(line->name(), *server, content.records);
        expect_references(line->name(), *server);
        for (auto const& attempt : attempts)
        {
            if (!attempt.edit.empty())
            {
                auto const made = server->history_of_edit(attempt.edit);
                auto const is_there =
                    std::any_of(content.records.begin(), content.records.end(),
                                [&](LibraryRecord const& record) { return record.record.edit == attempt.edit; });
                expect(made.succeeded() ? is_there : !is_there && made.error == RavikSrv::ErrorValue::ENTRY_NOT_FOUND,
                       line->name() + " tells of " + attempt.asked + ", which is " + (is_there ? "" : "not ") +
                           "in the library: " + made.text);
            }
        }
    }
    for (auto const& attempt : attempts)
    {
        ++m_attempts[attempt.result];
        m_told_unknown += attempt.edit.empty() ? 0U : 1U;
    }
    m_checked = std::move(content);
}

void Faults::print() const
{
    for (auto const& [name, count] : m_made)
    {
        std::cout << count << " times " << name << '\n';
    }
    auto const of = [this](Attempt::Result result)
    {
        auto const found = m_attempts.find(result);
        return found == m_attempts.end() ? 0 : found->second;
    };
    std::cout << of(Attempt::Result::Made) << " edits were made, " << of(Attempt::Result::Refused) << " refused and "
              << of(Attempt::Result::Unknown) << " unknown, " << m_told_unknown << " of these by their id\n"
              << "All had caught up " << m_slowest.count() << " ms after a fault at most; they were given 3 s times "
              << patience() << '\n';
}

int run(int count, unsigned seed)
{
    Faults faults(seed);
    faults.run(count);
    run_library_cases(faults.lines());
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    return Ravik::Test::run_kills("LibraryFaultTest", argc, argv, run);
}
