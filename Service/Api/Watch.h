#pragma once

#include "Api/Lanes.h"
#include "Api/Metrics.h"
#include "Http/Message.h"

#include "Project/Project.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Ravik::Service
{

/// The live values of symbols for all who watch: each is read once for all of them, domain by domain, and not at all
/// while nobody watches. Clients that watch the same symbols share their messages. A domain that does not answer is
/// asked less and less often, and at once when somebody asks for it.
///
/// All operations but `ask` are called on one thread, that of input and output.
class Watch
{
public:
    /// What has things done on the thread of input and output.
    struct Loop
    {
        std::function<void(std::function<void()>)> post;
        std::function<void(std::chrono::milliseconds, std::function<void()>)> after;
    };

    /// Somebody who watches.
    class Client
    {
    public:
        virtual ~Client() = default;

        virtual void send(std::shared_ptr<std::string const> message) = 0;
    };

    /// All but the interval outlive it.
    Watch(Project& project, Lanes& lanes, Metrics& metrics, std::chrono::milliseconds interval);
    Watch(Watch const&) = delete;
    Watch& operator=(Watch const&) = delete;
    ~Watch();

    /// Begins; the loop goes on until it is asked no more.
    void start(Loop loop);

    /// From now on the client is sent what becomes of these symbols, and of nothing that it watched before: first a
    /// message with all their values, for which those that nobody watched are read (what takes longer than a second is
    /// unknown there), then with what changes.
    void watch(Client* client, std::vector<std::string> symbols);
    void leave(Client* client);

    /// Somebody asks these domains for something: those that were given up for a while are polled again at once. From
    /// any thread.
    void ask(std::vector<std::string> const& domains);

    std::size_t watched() const noexcept { return m_symbols.size(); }

private:
    using Time = std::chrono::steady_clock::time_point;

    struct Symbol
    {
        std::string domain;
        RavikSrv::Value value;
        /// Why it could not be read, empty where it could.
        std::string text;
        bool is_read = false;
        bool is_good = false;
        /// When the reading of the value began.
        Time time;
        std::size_t watchers = 0;
        /// The taking of values that last brought news of it.
        std::uint64_t news = 0;
        /// How messages of that time tell of it: made once for all groups.
        std::string told;
        Time told_time;
    };
    /// With its name.
    using NamedSymbol = std::pair<std::string const, Symbol>;
    /// What somebody watches, in the order of the names.
    using Selection = std::vector<NamedSymbol*>;

    struct Domain
    {
        std::set<std::string> symbols;
        bool is_polling = false;
        bool is_good = false;
        Time good_time;
        Time due;
        std::chrono::milliseconds pause{0};
    };

    /// Those who watch the same symbols.
    struct Group
    {
        std::set<Client*> clients;
        /// Those who wait for their first message, and since when.
        std::map<Client*, Time> newcomers;
        Time last_message;
    };
    using Groups = std::map<Selection, Group>;

    /// The values that a message tells of.
    enum class Content
    {
        all,
        news,
        none,
    };

    void tick();
    void poll_due(Time now);
    void poll(std::string const& name, Domain& domain, Time now);
    void take(std::string const& name, std::vector<std::string> const& names, ExecutedGroup const& group, Time when);
    bool take(Symbol& symbol, ExecutedCommand const& command, Time when);
    bool is_news(Symbol const& symbol) const noexcept { return symbol.news == m_taken; }
    std::optional<Time> last_heard(Client* client) const;
    void greet(Groups::value_type& group, Time now);
    void tell_news(std::string const& domain);
    void tell_all(Time now);
    void send(Groups::value_type& group, Content content, Time now);
    std::shared_ptr<std::string const> message(Selection const& selection, Content content, Time now) const;
    static std::string const& told(NamedSymbol& named, Time now);
    RavikSrv::Value domains_of(Selection const& selection, Time now) const;
    NamedSymbol* add(std::string const& name);
    void drop(NamedSymbol const& symbol);

    Project& m_project;
    Lanes& m_lanes;
    Metrics& m_metrics;
    std::chrono::milliseconds m_interval;
    Loop m_loop;
    Revisions m_told;
    /// The domain of each symbol of the project.
    std::unordered_map<std::string, std::string> m_domain_of;
    std::unordered_map<std::string, Symbol> m_symbols;
    std::map<std::string, Domain> m_domains;
    Groups m_groups;
    std::unordered_map<Client*, Groups::iterator> m_group_of;
    /// How often values were taken.
    std::uint64_t m_taken = 0;
    /// Gone when this is: what comes back from a lane later finds nobody.
    std::shared_ptr<Watch*> m_self;
};

} // namespace Ravik::Service
