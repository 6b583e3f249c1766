// Kills a service while clients edit recipes and activate some over HTTP, again and again, and looks at what is left:
//
//     ServiceCrashTest [KILLS [SEED]]
//
// After each kill the store must be whole, and the service that is started next is asked: what a client was told to be
// done must stand there, in the configuration and once in the history; of what nobody answered there is all or nothing.
// An activation that is asked for once more, under the key of its first time, must not be made again, be it that the
// first one was answered, was only begun, or had ended before the answer left; and nothing may have been written of
// which the history does not know. Exit status 0 where all that always held.

#include "EditedProject.h"
#include "HttpClient.h"
#include "KilledProcess.h"

#include "Access/UserFile.h"
#include "Project/project_store.h"
#include "Service.h"
#include "Json/Json.h"

#include <cstdlib>
#include <future>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

using namespace Ravik;
using namespace Ravik::Test;

/// A client with a token of its own, so that the history tells its records from others.
class Client
{
public:
    Client(int port, std::string token)
        : m_http("http://127.0.0.1:" + std::to_string(port) + "/"), m_token(std::move(token))
    {
    }

    /// The fields are lines of the header, each with its end. The answer's status is 0 where none came.
    Answer ask(std::string const& method, std::string const& target, std::string const& fields = {},
               std::string const& body = {})
    {
        return m_http.exchange(method + " /api/v1" + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\nAuthorization: Bearer " +
                               m_token + "\r\n" + fields + "Content-Length: " + std::to_string(body.size()) +
                               "\r\n\r\n" + body);
    }
    /// What has to be there.
    Value get(std::string const& target)
    {
        auto const answer = ask("GET", target);
        expect(answer.status == 200, target + " is answered " + std::to_string(answer.status) + ": " + answer.body);
        return Json::parse(answer.body);
    }

private:
    HttpClient m_http;
    std::string m_token;
};

constexpr char const* json_type = "Content-Type: application/json\r\n";

/// What the history tells of a client beyond a record: the notes of its records, the newest first.
std::vector<std::string> notes_since(Client& client, std::string const& who, std::size_t expected, std::int64_t& last)
{
    auto const found = client.get("/history?who=token:" + who + "&limit=" + std::to_string(expected + 1));
    Value const& items = found["items"];
    std::vector<std::string> notes;
    auto newest = last;
    for (auto item = items.begin_vector(); item != items.end_vector(); ++item)
    {
        Value const& record = *item;
        if (record["id"].get_int64() > last)
        {
            notes.emplace_back(record["note"].get_text());
            newest = std::max(newest, record["id"].get_int64());
        }
    }
    last = newest;
    return notes;
}

/// Makes, changes, replaces and deletes a recipe, over and over. Its edits are counted; each of them can be told from
/// the one before by what stands there.
class Editor
{
public:
    explicit Editor(std::string name) : m_name(std::move(name)) {}

    std::string const& name() const noexcept { return m_name; }
    int edits() const noexcept { return m_last - first; }
    int stored_unanswered() const noexcept { return m_stored_unanswered; }

    /// Until no answer comes.
    void work(Client& client)
    {
        while (true)
        {
            m_is_waiting = true;
            auto const answer = make(client, m_last + 1);
            if (answer.status == 0)
            {
                return;
            }
            expect(answer.status == 200 || answer.status == 201,
                   m_name + ": edit " + std::to_string(m_last + 1) + ": " + answer.body);
            m_is_waiting = false;
            m_tag = answer.field("etag");
            ++m_last;
        }
    }

    void check(Client& client)
    {
        auto const answer = client.ask("GET", "/recipe?name=" + m_name);
        expect(answer.status == 200 || answer.status == 404, m_name + ": " + answer.body);
        auto const found = answer.status == 200 ? answer.body : std::string();
        if (m_is_waiting && found != text_after(m_last))
        {
            ++m_last;
            ++m_stored_unanswered;
        }
        m_is_waiting = false;
        m_tag = answer.field("etag");
        expect(found == text_after(m_last),
               m_name + " is " + found + " instead of " + text_after(m_last) + " after edit " + std::to_string(m_last));
        auto const expected = static_cast<std::size_t>(m_last - m_checked);
        auto const records = notes_since(client, m_name, expected, m_last_record).size();
        expect(records == expected,
               m_name + " has " + std::to_string(records) + " new records instead of " + std::to_string(expected));
        m_checked = m_last;
    }

private:
    enum Step
    {
        make_new,
        replace,
        remove,
        steps,
    };
    /// As if the recipe had just been deleted.
    static constexpr int first = remove;

    static std::string text_after(int edit)
    {
        return edit % steps == remove ? "" : R"({"recipeTypeName":"T","values":{"k":)" + std::to_string(edit) + "}}";
    }

    Answer make(Client& client, int edit)
    {
        auto const target = "/recipe?name=" + m_name;
        auto const condition = "If-Match: " + m_tag + "\r\n";
        switch (edit % steps)
        {
        case make_new:
            return client.ask("PUT", target, std::string("If-None-Match: *\r\n") + json_type, text_after(edit));
        case replace:
            return client.ask("PUT", target, condition + json_type, text_after(edit));
        default:
            return client.ask("DELETE", target, condition);
        }
    }

    std::string m_name;
    std::string m_tag;
    int m_last = first;
    /// An edit was sent and not answered.
    bool m_is_waiting = false;
    int m_checked = first;
    int m_stored_unanswered = 0;
    std::int64_t m_last_record = 0;
};

/// Activates one recipe after the other, each third time without waiting for the outcome.
class Activator
{
public:
    static constexpr char const* name = "activator";

    void work(Client& client)
    {
        while (true)
        {
            m_is_waiting = true;
            auto const answer = activate(client, m_last + 1);
            if (answer.status == 0)
            {
                return;
            }
            auto const expected = is_async(m_last + 1) ? 202U : 201U;
            expect(answer.status == expected, "activation " + std::to_string(m_last + 1) + ": " + answer.body);
            m_is_waiting = false;
            auto const id = id_in(answer);
            m_answered[++m_last] = {.id = id, .is_done = answer.status == 201};
            if (!has_ended(client, id))
            {
                return;
            }
            m_held = value_of(m_last);
        }
    }

    void check(Client& client)
    {
        auto const count = m_answered.size() + (m_is_waiting ? 1 : 0);
        std::set<std::string> expected;
        for (auto const& [number, known] : m_answered)
        {
            expected.insert(key_of(number));
            check_answered(client, number, known);
        }
        if (m_is_waiting)
        {
            expected.insert(key_of(++m_last));
            check_unanswered(client, m_last);
        }
        auto const notes = notes_since(client, name, count, m_last_record);
        expect(notes.size() == count && std::set<std::string>(notes.begin(), notes.end()) == expected,
               std::to_string(notes.size()) + " activations are remembered instead of " + std::to_string(count));
        m_answered.clear();
        m_is_waiting = false;
        m_held = held(client);
    }

    std::string told() const
    {
        return std::to_string(m_last) + " activations, of which the kill met " + std::to_string(m_kills.before) +
               " before anything was stored, " + std::to_string(m_kills.within) + " begun and " +
               std::to_string(m_kills.after) + " done and not answered";
    }
    int count() const noexcept { return m_last; }

private:
    struct Known
    {
        std::int64_t id = 0;
        bool is_done = false;
    };

    static bool is_async(int number) { return number % 3 == 0; }
    static std::string key_of(int number) { return "activation-" + std::to_string(number); }
    /// What stands for k then: see the recipes.
    static std::int64_t value_of(int number) { return number % 2 == 0 ? 1 : 5; }
    static std::int64_t held(Client& client)
    {
        auto const symbol = client.get("/symbol?name=k");
        return symbol["value"].get_int64();
    }
    static std::int64_t id_in(Answer const& answer)
    {
        auto const body = Json::parse(answer.body);
        Value const& root = body;
        return root["id"].get_int64();
    }
    static std::string outcome_in(Answer const& answer)
    {
        auto const body = Json::parse(answer.body);
        Value const& root = body;
        return std::string(root["outcome"].get_text());
    }

    static Answer activate(Client& client, int number)
    {
        auto const key = key_of(number);
        auto const* const recipe = number % 2 == 0 ? "Before" : "After";
        return client.ask("POST", "/activations",
                          std::string(json_type) + "Idempotency-Key: " + key + "\r\n" +
                              (is_async(number) ? "Prefer: respond-async\r\n" : ""),
                          std::string(R"({"recipe":")") + recipe + R"(","note":")" + key + "\"}");
    }

    /// Asks until the activation has ended; false where no answer comes any more.
    static bool has_ended(Client& client, std::int64_t id)
    {
        while (true)
        {
            auto const answer = client.ask("GET", "/activations/" + std::to_string(id));
            if (answer.status == 0)
            {
                return false;
            }
            expect(answer.status == 200, "the activation is not found: " + answer.body);
            if (outcome_in(answer) != Outcome::begun)
            {
                return true;
            }
        }
    }

    static void check_answered(Client& client, int number, Known const& known)
    {
        auto const told = client.ask("GET", "/activations/" + std::to_string(known.id));
        expect(told.status == 200, key_of(number) + " is not remembered: " + told.body);
        auto const outcome = outcome_in(told);
        expect(outcome == Outcome::done || (!known.is_done && outcome == Outcome::begun),
               key_of(number) + " is " + outcome);
        auto const again = activate(client, number);
        expect((again.status == 201 || (!known.is_done && again.status == 502)) && id_in(again) == known.id,
               key_of(number) + " was made again: " + again.body);
    }

    void check_unanswered(Client& client, int number)
    {
        auto const newest = client.get("/history?limit=1&who=token:" + std::string(name));
        Value const& items = newest["items"];
        auto const is_stored = items.size() != 0 && items[0]["note"].get_text() == key_of(number);
        auto const found = held(client);
        auto const again = activate(client, number);
        if (!is_stored)
        {
            expect(found == m_held, "something was written that is not remembered");
            expect(again.status == (is_async(number) ? 202 : 201), key_of(number) + ": " + again.body);
            expect(has_ended(client, id_in(again)), "the service has ended");
            ++m_kills.before;
            return;
        }
        auto const is_done = items[0]["outcome"].get_text() == Outcome::done;
        expect(!is_done || found == value_of(number), key_of(number) + " is done and not written");
        expect(again.status == (is_done ? 201 : 502) && id_in(again) == items[0]["id"].get_int64(),
               key_of(number) + " was made again: " + again.body);
        ++(is_done ? m_kills.after : m_kills.within);
    }

    int m_last = 0;
    bool m_is_waiting = false;
    std::int64_t m_held = 0;
    /// Since the last check.
    std::map<int, Known> m_answered;
    std::int64_t m_last_record = 0;
    struct
    {
        int before = 0;
        int within = 0;
        int after = 0;
    } m_kills;
};

class SilentLog : public Service::Log
{
public:
    SilentLog() : Log(Form::text) {}

protected:
    void write(std::string const& /*line*/) override {}
};

/// A project that is served under load.
class Plant
{
public:
    Plant()
    {
        auto const project = Project::open(m_folder.path());
        expect(project
                   ->import(std::string(recipe_domain),
                            configuration_of("T { k l m n } | Before:T { k=1 l=2 m=3 n=4 } "
                                             "After:T { k=5 l=6 m=7 n=8 }"),
                            {})
                   .succeeded(),
               "there is nothing to begin with");
        for (auto const& editor : m_editors)
        {
            add_token(editor.name());
        }
        add_token(Activator::name);
    }

    void kill_once(std::mt19937& random)
    {
        std::vector<std::future<void>> load;
        // At times while the service starts.
        KilledProcess const process{.work = [this](Acknowledge const& acknowledge) { serve(acknowledge); },
                                    .wanted = random() % 8 == 0 ? 0 : 1,
                                    .time = some_time(std::chrono::milliseconds(80), random),
                                    .acknowledged = [&](int port) { load = check_and_load(port); }};
        process.run(0);
        for (auto& each : load)
        {
            each.get();
        }
        // Looking brings the log into the file, which opening has to be able to do as well.
        if (random() % 2 == 0)
        {
            expect_whole(store_of(m_folder.path()));
        }
    }

    /// The last kill is looked at, too.
    void end()
    {
        KilledProcess const process{.work = [this](Acknowledge const& acknowledge) { serve(acknowledge); },
                                    .wanted = 1,
                                    .acknowledged = [&](int port) { check(port); }};
        process.run(0);
        expect(m_activator.count() > 0, "nothing was activated");
    }

    std::string told() const
    {
        int edits = 0;
        int stored_unanswered = 0;
        for (auto const& editor : m_editors)
        {
            expect(editor.edits() > 0, "nothing was edited");
            edits += editor.edits();
            stored_unanswered += editor.stored_unanswered();
        }
        return std::to_string(edits) + " edits, of which " + std::to_string(stored_unanswered) +
               " were stored and not answered; " + m_activator.told();
    }

private:
    void add_token(std::string const& name)
    {
        auto const refusal = Service::UserFile(Service::users_file_of(m_folder.path()))
                                 .add_token(name, Service::Role::Engineer, std::nullopt, m_tokens[name]);
        expect(!refusal, refusal.text);
    }

    /// Acknowledges the port.
    void serve(Acknowledge const& acknowledge) const
    {
        SilentLog log;
        ServiceSettings settings;
        settings.listen = {{"127.0.0.1", 0}};
        ProjectFileMark const file(m_folder.path());
        auto const project = Project::open(m_folder.path());
        Service::Service service(m_folder.path(), file, *project, settings, log);
        service.start();
        auto const address = service.addresses().front();
        expect(acknowledge(std::stoi(address.substr(address.rfind(':') + 1))), "nobody listens");
        while (true)
        {
            pause();
        }
    }

    /// Connected by now, so that the time of the kill begins with requests.
    std::shared_ptr<Client> client(int port, std::string const& name) const
    {
        return std::make_shared<Client>(port, m_tokens.at(name));
    }

    void check(int port)
    {
        for (auto& editor : m_editors)
        {
            editor.check(*client(port, editor.name()));
        }
        m_activator.check(*client(port, Activator::name));
    }

    template <typename Worker> std::future<void> begin(Worker& worker, std::shared_ptr<Client> const& client)
    {
        return std::async(std::launch::async, [&worker, client] { worker.work(*client); });
    }

    std::vector<std::future<void>> check_and_load(int port)
    {
        check(port);
        std::vector<std::future<void>> load;
        for (auto& editor : m_editors)
        {
            load.push_back(begin(editor, client(port, editor.name())));
        }
        load.push_back(begin(m_activator, client(port, Activator::name)));
        return load;
    }

    TemporaryFolder m_folder;
    std::filesystem::path m_file = m_folder.write("ravik.json", project_file());
    std::map<std::string, std::string> m_tokens;
    std::vector<Editor> m_editors{Editor("first"), Editor("second"), Editor("third")};
    Activator m_activator;
};

int run(int kills, unsigned seed)
{
    std::mt19937 random(seed);
    Plant plant;
    for (int done = 0; done < kills; ++done)
    {
        plant.kill_once(random);
    }
    plant.end();
    std::cout << kills << " kills, " << plant.told() << '\n';
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    return Ravik::Test::run_kills("ServiceCrashTest", argc, argv, run);
}
