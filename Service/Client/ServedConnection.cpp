#include "Client/ServedConnection.h"

#include "Client/CancelWatch.h"
#include "Client/operations.h"
#include "Client/project_socket.h"
#include "Client/protocol.h"

#include "Configuration/store_care.h"
#include "History/account.h"
#include "boundary_guard.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/socket.h>
#include <system_error>
#include <utility>
#include <vector>

namespace Ravik::Wire
{

namespace
{

/// A caller says hello at once, or is none.
constexpr std::chrono::milliseconds hello_patience = std::chrono::seconds(10);
/// What is sent of a file at once.
constexpr std::size_t piece = std::size_t{1} << 20U;

/// Of those that a connection has begun; the older ones are forgotten.
constexpr std::size_t most_requests = 1000;

constexpr char const* changed_file =
    "ravik.json has changed since the service was started; restart the service to have that take effect";

/// A file that is removed in the end.
class PassingFile
{
public:
    explicit PassingFile(std::filesystem::path path) : m_path(std::move(path)) {}
    PassingFile(PassingFile const&) = delete;
    PassingFile& operator=(PassingFile const&) = delete;
    ~PassingFile()
    {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }

    std::filesystem::path const& path() const noexcept { return m_path; }

private:
    std::filesystem::path m_path;
};

void send_file(std::filesystem::path const& file, Channel& channel)
{
    Descriptor const opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    std::string buffer(piece, '\0');
    for (;;)
    {
        auto const count = ::read(opened.number(), buffer.data(), buffer.size());
        if (count == 0)
        {
            return;
        }
        if (count < 0 && errno != EINTR)
        {
            throw std::system_error(errno, std::generic_category(), "the copy of the store can't be read");
        }
        channel.send(MessageKind::data, std::string_view(buffer).substr(0, count < 0 ? 0 : std::size_t(count)));
    }
}

} // namespace

/// What a call has of its connection while it runs.
class ServedConnection::Call : public ServiceSide
{
public:
    explicit Call(ServedConnection& connection) : m_connection(connection) {}
    Call(Call const&) = delete;
    Call& operator=(Call const&) = delete;
    ~Call() override
    {
        for (auto const request : m_used)
        {
            m_connection.m_served.requests.give_back(request);
        }
    }

    std::string const& who() const override { return m_connection.m_who; }

    StopMark stop() override
    {
        if (!m_watch)
        {
            m_watch.emplace(m_connection.m_channel, m_connection.m_stop);
        }
        return &m_connection.m_stop;
    }

    std::size_t next_callback() override { return m_callbacks++; }

    /// A caller that does not read misses it; the call does not wait for him.
    void call_back(std::string_view message) override { m_connection.m_channel.offer(MessageKind::call_back, message); }

    RavikSrv::Session request(std::uint64_t id) override
    {
        RavikSrv::Session const request(id);
        if (!m_connection.m_served.requests.take(request))
        {
            throw BrokenMessage("there is no such request, or another call uses it");
        }
        m_used.push_back(request);
        return request;
    }

    void begun(RavikSrv::Session request) override
    {
        auto& begun = m_connection.m_begun;
        m_connection.m_served.requests.add(request);
        begun.push_back(request);
        if (begun.size() > most_requests)
        {
            m_connection.m_served.requests.remove(begun.front());
            begun.pop_front();
        }
    }

private:
    ServedConnection& m_connection;
    std::vector<RavikSrv::Session> m_used;
    std::size_t m_callbacks = 0;
    std::optional<CancelWatch> m_watch;
};

ServedConnection::ServedConnection(Descriptor socket, Served& served) : m_served(served), m_channel(std::move(socket))
{
}

ServedConnection::~ServedConnection()
{
    for (auto const request : m_begun)
    {
        m_served.requests.remove(request);
    }
}

void ServedConnection::take_no_more() noexcept
{
    static_cast<void>(::shutdown(m_channel.descriptor(), SHUT_RD));
}

void ServedConnection::cut() noexcept
{
    m_stop = true;
    static_cast<void>(::shutdown(m_channel.descriptor(), SHUT_RDWR));
}

void ServedConnection::serve() noexcept
{
    RavikSrv::guarded(
        "service",
        [this]
        {
            // Here and not while others wait to be let in: some accounts are asked for over a network.
            m_who = account_of(peer_of(m_channel.descriptor()).user);
            try
            {
                for (auto goes_on = greet(); goes_on;)
                {
                    auto const message = m_channel.receive();
                    goes_on = message.kind == MessageKind::call || message.kind == MessageKind::cancel;
                    // A cancel that came too late is left.
                    if (message.kind == MessageKind::call)
                    {
                        answer(message.content);
                    }
                }
            }
            catch (LinkLost const&)
            {
                // So connections end.
            }
            catch (BrokenMessage const& error)
            {
                m_served.warn("the connection of " + m_who + " was closed: " + error.what());
            }
        },
        [](char const* /*text*/) {});
    // Who waits for an answer has none to come.
    static_cast<void>(::shutdown(m_channel.descriptor(), SHUT_RDWR));
}

/// Returns whether the two understand each other.
bool ServedConnection::greet()
{
    auto const hello = m_channel.receive(hello_patience, longest_hello);
    if (!hello || hello->kind != MessageKind::hello)
    {
        return false;
    }
    ByteReader reader(hello->content);
    auto const theirs = Decoder(reader).read<Versions>();
    ByteWriter answer;
    Encoder encoder(answer);
    encoder.write(own_versions());
    Welcome welcome{.warnings = m_served.project.warnings()};
    if (m_served.file.has_changed())
    {
        welcome.warnings.emplace_back(changed_file);
    }
    encoder.write(welcome);
    m_channel.send(MessageKind::hello, answer.bytes());
    return theirs == own_versions();
}

void ServedConnection::answer(std::string_view call)
{
    ByteWriter outcome;
    std::string failure;
    auto is_broken = false;
    try
    {
        ByteReader reader(call);
        auto const name = reader.text();
        carry_out(name, reader, outcome);
    }
    catch (LinkLost const&)
    {
        throw;
    }
    catch (BrokenMessage const& error)
    {
        is_broken = true;
        failure = error.what();
    }
    catch (std::exception const& error)
    {
        failure = error.what();
    }
    if (failure.empty() && outcome.bytes().size() > Channel::longest_message)
    {
        failure = "the answer is too long to be sent";
    }
    failure.empty() ? m_channel.send(MessageKind::outcome, outcome.bytes())
                    : m_channel.send(MessageKind::failure, failure);
    if (is_broken)
    {
        throw BrokenMessage(failure);
    }
}

void ServedConnection::carry_out(std::string_view name, ByteReader& arguments, ByteWriter& outcome)
{
    m_stop = false;
    if (m_served.is_ending)
    {
        throw std::runtime_error("the service is ending and takes no more calls");
    }
    if (name == Special::backup)
    {
        arguments.expect_end();
        send_backup(outcome);
    }
    else if (name == Special::check)
    {
        arguments.expect_end();
        check_store(outcome);
    }
    else
    {
        Call call(*this);
        Wire::carry_out(name, m_served.project, arguments, call, outcome);
    }
}

// The store -----------------------------------------------------------------------------------------------------------

/// Beside the store, where there is room for one and nobody else may read.
std::filesystem::path ServedConnection::name_of_copy() const
{
    return m_served.directory /
           (".ravik-copy-" + std::to_string(::getpid()) + '-' + std::to_string(m_channel.descriptor()));
}

void ServedConnection::send_backup(ByteWriter& outcome)
{
    PassingFile const copy(name_of_copy());
    auto const made = m_served.project.backup(copy.path(), true);
    if (made.succeeded())
    {
        send_file(copy.path(), m_channel);
    }
    Encoder(outcome).write(made);
}

/// What is checked is a copy: SQLite has the store itself, and it alone may read the file.
void ServedConnection::check_store(ByteWriter& outcome)
{
    PassingFile const copy(name_of_copy());
    StoreCheck check;
    if (auto const made = m_served.project.backup(copy.path(), true); !made.succeeded())
    {
        check.error = RavikSrv::ErrorValue::STORAGE;
        check.text = "the store could not be checked: " + made.text;
    }
    else
    {
        auto report = Ravik::check_store(copy.path(), std::chrono::seconds(0));
        check.rows = report.rows;
        check.records = report.records;
        check.faults = std::move(report.faults);
    }
    Encoder(outcome).write(check);
}

} // namespace Ravik::Wire
