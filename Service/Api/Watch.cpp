#include "Api/Watch.h"

#include "Api/values.h"

#include "Json/Json.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Ravik::Service
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace
{

/// How often changes of the configuration are looked for, and silence is.
constexpr milliseconds tick_time{200};
/// Whoever hears nothing for two of these knows that the link is gone.
constexpr milliseconds longest_silence{1000};
constexpr milliseconds longest_pause{10'000};

double seconds(steady_clock::duration time)
{
    return static_cast<double>(std::chrono::duration_cast<milliseconds>(time).count()) / 1000.0;
}

} // namespace

Watch::Watch(Project& project, Lanes& lanes, Metrics& metrics, milliseconds interval)
    : m_project(project), m_lanes(lanes), m_metrics(metrics), m_interval(interval), m_told(project.revisions()),
      m_self(std::make_shared<Watch*>(this))
{
    for (auto const& symbol : project.symbols())
    {
        m_domain_of.emplace(symbol.name, symbol.domain);
    }
}

Watch::~Watch()
{
    *m_self = nullptr;
}

void Watch::start(Loop loop)
{
    m_loop = std::move(loop);
    tick();
}

// Who watches what ----------------------------------------------------------------------------------------------------

void Watch::watch(Client* client, std::vector<std::string> symbols)
{
    std::sort(symbols.begin(), symbols.end());
    symbols.erase(std::unique(symbols.begin(), symbols.end()), symbols.end());
    // What both lists name goes on.
    Selection selection;
    selection.reserve(symbols.size());
    std::transform(symbols.begin(), symbols.end(), std::back_inserter(selection),
                   [this](std::string const& symbol) { return add(symbol); });
    auto const now = steady_clock::now();
    auto const heard = last_heard(client).value_or(now);
    leave(client);
    auto const [group, is_new] = m_groups.try_emplace(selection);
    if (is_new)
    {
        group->second.last_message = now;
    }
    else
    {
        // The group counts as one watcher.
        std::for_each(selection.begin(), selection.end(), [this](NamedSymbol const* symbol) { drop(*symbol); });
    }
    // However long ago that was, there is a tick left for what is not known yet.
    group->second.newcomers.emplace(client, std::max(heard, now - (longest_silence - tick_time)));
    m_group_of[client] = group;
    poll_due(now);
    greet(*group, now);
}

/// When somebody who watches already was last sent a message, or waited for one since: whoever changes over and over
/// what he watches is not kept waiting over and over.
std::optional<Watch::Time> Watch::last_heard(Client* client) const
{
    auto const entry = m_group_of.find(client);
    if (entry == m_group_of.end())
    {
        return std::nullopt;
    }
    auto const& group = entry->second->second;
    auto const newcomer = group.newcomers.find(client);
    return newcomer == group.newcomers.end() ? group.last_message : newcomer->second;
}

/// Sends the newcomers their first message where every value is known by now, or they have waited long enough.
void Watch::greet(Groups::value_type& group, Time now)
{
    auto& [selection, watching] = group;
    if (watching.newcomers.empty())
    {
        return;
    }
    auto const is_complete = std::all_of(selection.begin(), selection.end(),
                                         [](NamedSymbol const* symbol) { return symbol->second.is_read; });
    std::shared_ptr<std::string const> text;
    for (auto newcomer = watching.newcomers.begin(); newcomer != watching.newcomers.end();)
    {
        auto const [client, since] = *newcomer;
        if (!is_complete && now - since + tick_time <= longest_silence)
        {
            ++newcomer;
            continue;
        }
        text = text ? text : message(selection, Content::all, now);
        newcomer = watching.newcomers.erase(newcomer);
        watching.clients.insert(client);
        client->send(text);
    }
}

void Watch::leave(Client* client)
{
    auto const entry = m_group_of.find(client);
    if (entry == m_group_of.end())
    {
        return;
    }
    auto const group = entry->second;
    m_group_of.erase(entry);
    group->second.clients.erase(client);
    group->second.newcomers.erase(client);
    if (group->second.clients.empty() && group->second.newcomers.empty())
    {
        auto const selection = group->first;
        m_groups.erase(group);
        std::for_each(selection.begin(), selection.end(), [this](NamedSymbol const* symbol) { drop(*symbol); });
    }
}

Watch::NamedSymbol* Watch::add(std::string const& name)
{
    auto& named = *m_symbols.try_emplace(name).first;
    auto& symbol = named.second;
    if (symbol.watchers++ > 0)
    {
        auto const polled = m_domains.find(symbol.domain);
        if (polled != m_domains.end() && !polled->second.is_good)
        {
            polled->second.due = steady_clock::now();
        }
        return &named;
    }
    auto const domain = m_domain_of.find(name);
    if (domain == m_domain_of.end())
    {
        symbol.text = "there is no symbol of this name";
        symbol.is_read = true;
        return &named;
    }
    symbol.domain = domain->second;
    auto& polled = m_domains[symbol.domain];
    polled.symbols.insert(name);
    polled.due = steady_clock::now();
    return &named;
}

void Watch::drop(NamedSymbol const& named)
{
    auto const symbol = m_symbols.find(named.first);
    if (symbol == m_symbols.end() || --symbol->second.watchers > 0)
    {
        return;
    }
    auto const domain = m_domains.find(symbol->second.domain);
    if (domain != m_domains.end())
    {
        domain->second.symbols.erase(symbol->first);
    }
    m_symbols.erase(symbol);
}

void Watch::ask(std::vector<std::string> const& domains)
{
    if (!m_loop.post)
    {
        return;
    }
    m_loop.post(
        [self = m_self, domains]
        {
            for (auto const& name : domains)
            {
                auto const domain =
                    *self == nullptr ? std::map<std::string, Domain>::iterator() : (*self)->m_domains.find(name);
                if (*self != nullptr && domain != (*self)->m_domains.end() && !domain->second.is_good)
                {
                    domain->second.due = steady_clock::now();
                }
            }
        });
}

// Polling -------------------------------------------------------------------------------------------------------------

void Watch::tick()
{
    auto const now = steady_clock::now();
    poll_due(now);
    tell_all(now);
    m_loop.after(std::min(tick_time, m_interval),
                 [self = m_self]
                 {
                     if (*self != nullptr)
                     {
                         (*self)->tick();
                     }
                 });
}

void Watch::poll_due(Time now)
{
    for (auto& [name, domain] : m_domains)
    {
        if (!domain.symbols.empty() && !domain.is_polling && domain.due <= now)
        {
            poll(name, domain, now);
        }
    }
}

void Watch::poll(std::string const& name, Domain& domain, Time now)
{
    std::vector<std::string> const names(domain.symbols.begin(), domain.symbols.end());
    auto const work = [self = m_self, &project = m_project, post = m_loop.post, name, names]
    {
        // A value may have been read as soon as the reading began: nothing is made younger than it is.
        auto const when = steady_clock::now();
        auto group = project.read_symbols(names);
        post(
            [self, name, names, group = std::move(group), when]
            {
                if (*self != nullptr)
                {
                    (*self)->take(name, names, group, when);
                }
            });
    };
    domain.is_polling = m_lanes.post("poll " + name, {1, 1}, work);
    domain.due = now + m_interval;
    ++m_metrics.polls;
}

void Watch::take(std::string const& name, std::vector<std::string> const& names, ExecutedGroup const& group, Time when)
{
    auto& domain = m_domains[name];
    domain.is_polling = false;
    ++m_taken;
    auto any_news = false;
    auto any_read = names.empty();
    for (std::size_t index = 0; index < names.size() && index < group.commands.size(); ++index)
    {
        auto const& command = group.commands[index];
        any_read = any_read || command.result == ErrorValue::SUCCESS;
        auto const symbol = m_symbols.find(names[index]);
        if (symbol != m_symbols.end() && take(symbol->second, command, when))
        {
            symbol->second.news = m_taken;
            any_news = true;
        }
    }
    domain.is_good = any_read;
    if (any_read)
    {
        domain.good_time = when;
        domain.pause = milliseconds(0);
    }
    else
    {
        ++m_metrics.polls_failed;
        domain.pause = std::min(longest_pause, std::max(m_interval, domain.pause * 2));
        domain.due = steady_clock::now() + domain.pause;
    }
    // Values that took long to read are old already, and whoever waits for them believes them older still.
    auto const is_slow = any_read && steady_clock::now() - when > tick_time;
    if (any_news || is_slow)
    {
        tell_news(is_slow ? name : std::string());
    }
    for (auto& watching : m_groups)
    {
        greet(watching, steady_clock::now());
    }
}

/// Returns whether there is something to tell of it.
bool Watch::take(Symbol& symbol, ExecutedCommand const& command, Time when)
{
    auto const is_good = command.result == ErrorValue::SUCCESS;
    auto const text = is_good ? std::string() : failure_text(command);
    auto const is_news = !symbol.is_read || symbol.is_good != is_good || symbol.text != text ||
                         (is_good && !(symbol.value == command.value));
    symbol.is_read = true;
    symbol.is_good = is_good;
    symbol.text = text;
    if (is_good)
    {
        symbol.value = command.value;
        symbol.time = when;
    }
    return is_news;
}

// Telling -------------------------------------------------------------------------------------------------------------

/// Tells those of it who watch what has news, or the domain.
void Watch::tell_news(std::string const& domain)
{
    auto const now = steady_clock::now();
    auto const concerns = [&](NamedSymbol const* symbol)
    { return is_news(symbol->second) || (!domain.empty() && symbol->second.domain == domain); };
    for (auto& group : m_groups)
    {
        auto const& selection = group.first;
        if (std::any_of(selection.begin(), selection.end(), concerns))
        {
            send(group, Content::news, now);
        }
    }
}

/// Tells of what has changed besides the values, and breaks the silence.
void Watch::tell_all(Time now)
{
    auto const revisions = m_project.revisions();
    auto const is_changed = !(revisions == m_told);
    m_told = revisions;
    for (auto& group : m_groups)
    {
        greet(group, now);
        if (is_changed || now - group.second.last_message + tick_time > longest_silence)
        {
            send(group, Content::none, now);
        }
    }
}

void Watch::send(Groups::value_type& group, Content content, Time now)
{
    auto const text = message(group.first, content, now);
    group.second.last_message = now;
    for (auto* const client : group.second.clients)
    {
        client->send(text);
    }
}

/// What somebody who watches these symbols is to know.
std::shared_ptr<std::string const> Watch::message(Selection const& selection, Content content, Time now) const
{
    // Those of now: what was told to everybody last may be older than what a newcomer has just read.
    auto const revisions = m_project.revisions();
    Value revision(ValueType::Map);
    revision.insert("configuration", text_value(std::to_string(revisions.configuration)));
    revision.insert("history", text_value(std::to_string(revisions.history)));
    revision.insert("activity", text_value(std::to_string(revisions.activity)));
    auto text = "{\"revision\":" + Json::write(revision) + ",\"poll\":" + Json::write(Value(seconds(m_interval))) +
                ",\"domains\":" + Json::write(domains_of(selection, now)) + ",\"values\":{";
    auto is_first = true;
    for (auto* const symbol : selection)
    {
        if (content == Content::all || (content == Content::news && is_news(symbol->second)))
        {
            text += std::exchange(is_first, false) ? "" : ",";
            text += told(*symbol, now);
        }
    }
    text += "}}";
    return std::make_shared<std::string const>(std::move(text));
}

/// The symbol as a member of a JSON object.
std::string const& Watch::told(NamedSymbol& named, Time now)
{
    auto& symbol = named.second;
    if (symbol.told_time != now)
    {
        Value value(ValueType::Map);
        value.insert("value", symbol.value);
        value.insert("quality", text_value(symbol.is_good ? "good" : symbol.is_read ? "bad" : "unknown"));
        value.insert("age", symbol.time == Time() ? Value() : Value(seconds(now - symbol.time)));
        if (!symbol.text.empty())
        {
            value.insert("text", text_value(symbol.text));
        }
        symbol.told = Json::write(text_value(named.first)) + ':' + Json::write(value);
        symbol.told_time = now;
    }
    return symbol.told;
}

/// How long ago each domain of the symbols was last read, so that a value that stays the same shows its age.
Value Watch::domains_of(Selection const& selection, Time now) const
{
    std::set<std::string_view> names;
    for (auto const* const symbol : selection)
    {
        names.insert(symbol->second.domain);
    }
    Value domains(ValueType::Map);
    for (auto const name : names)
    {
        auto const domain = m_domains.find(std::string(name));
        if (domain == m_domains.end())
        {
            continue;
        }
        Value entry(ValueType::Map);
        entry.insert("quality", text_value(domain->second.is_good ? "good" : "bad"));
        entry.insert("age",
                     domain->second.good_time == Time() ? Value() : Value(seconds(now - domain->second.good_time)));
        domains.insert(domain->first.c_str(), entry);
    }
    return domains;
}

} // namespace Ravik::Service
