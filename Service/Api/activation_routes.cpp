#include "Api/controllers.h"
#include "Api/edits.h"
#include "Api/resources.h"
#include "Api/values.h"

#include "Configuration/entry_tag.h"
#include "History/timestamp.h"

#include <boost/algorithm/string/predicate.hpp>

#include <charconv>

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

// Plans
// ----------------------------------------------------------------------------------------------------------------

void post_plan(Call call, Reply reply)
{
    auto const recipe = recipe_in(call.object({"recipe"}));
    auto const domains = domains_of(call, recipe);
    auto const work = [call, recipe]
    {
        auto const report = call.parts.project.plan(recipe);
        if (is_refused(report))
        {
            throw problem_of(report);
        }
        auto const plan = call.parts.plans.add(call.caller.who, recipe, report.hash);
        auto const rows = value_of(report.rows, plan_states());
        Value answer(ValueType::Map);
        answer.insert("id", text_value(plan.id));
        answer.insert("hash", text_value(plan.hash));
        answer.insert("expires", text_value(timestamp(plan.expires)));
        answer.insert("counts", rows["counts"]);
        answer.insert("rows", rows["rows"]);
        return json_answer(answer, 201);
    };
    auto& devices = call.parts.devices;
    devices.read(call.caller.who, domains, work, std::move(reply));
}

// Activations
// ----------------------------------------------------------------------------------------------------------

namespace
{

constexpr std::size_t longest_key = 255;
/// What an activation is asked for.
struct Wish
{
    Activations::Request request;
    std::string recipe;
    std::string hash;
    std::string note;
    /// How many symbols there are to write.
    std::size_t size = 0;
    bool verify = true;
    bool is_async = false;
};

std::string text_in(Value const& body, char const* name)
{
    auto const& value = body[name];
    if (value.isset() && value.type() != ValueType::String)
    {
        throw Problem{.status = 422,
                      .code = "TYPE_MISMATCH",
                      .detail = '"' + std::string(name) + "\" has to be a text",
                      .errors = {{std::string("/") + name, "not a text"}}};
    }
    return std::string(value.get_text());
}

Activations::Request request_of(Call const& call, Value const& body)
{
    auto const key = call.field("idempotency-key");
    if (key.empty() || key.size() > longest_key)
    {
        throw Problem{.status = 400,
                      .code = "IDEMPOTENCY_KEY_REQUIRED",
                      .detail = "an activation needs an Idempotency-Key of its own, of 1 to 255 bytes, so that sent "
                                "again it is not made again"};
    }
    return {.who = call.caller.who, .key = key, .fingerprint = entry_tag(body)};
}

Wish wish_of(Call const& call)
{
    auto const body = call.object({"recipe", "plan", "verify", "note"});
    Wish wish{.request = request_of(call, body),
              .recipe = recipe_in(body),
              .hash = {},
              .note = text_in(body, "note"),
              .size = 0,
              .verify = flag_in(body, "verify", true),
              .is_async = boost::icontains(call.field("prefer"), "respond-async")};
    if (!wish.verify && !may(call.caller.role, Right::Edit))
    {
        throw Problem{.status = 403,
                      .code = "FORBIDDEN",
                      .detail = std::string("activating without verification is not for the role ") +
                                name_of(call.caller.role)};
    }
    return wish;
}

/// The hash of the plan that the activation is to follow, empty where it names none.
std::string planned_hash(Call const& call, Wish const& wish)
{
    auto const id = text_in(call.object(), "plan");
    if (id.empty())
    {
        return {};
    }
    auto const plan = call.parts.plans.find(call.caller.who, id);
    if (!plan || plan->recipe != wish.recipe)
    {
        throw Problem{.status = 409,
                      .code = "PLAN_EXPIRED",
                      .detail = "there is no such plan of yours for '" + wish.recipe +
                                "' any more; a plan is good for five minutes. Make another one and look at it"};
    }
    return plan->hash;
}

constexpr unsigned created = 201;
constexpr unsigned not_as_asked = 502;
constexpr unsigned not_stored = 507;

/// A machine does not wait for a disk: what can't be remembered is written all the same, and told of.
unsigned status_of(ActivationReport const& report)
{
    return report.succeeded()                                    ? created
           : report.error == RavikSrv::ErrorValue::STORAGE_STORE ? not_stored
                                                                 : not_as_asked;
}

/// An answer that tells the activation as well where it failed.
Response outcome_answer(Value const& activation, unsigned status)
{
    if (status == created)
    {
        Fields fields;
        if (activation["id"].isset())
        {
            fields.emplace_back("Location",
                                std::string(api_root) + "/activations/" + std::to_string(activation["id"].get_int64()));
        }
        return json_answer(activation, status, std::move(fields));
    }
    Problem problem{.status = status, .code = "FAIL", .detail = std::string(activation["text"].get_text())};
    problem.members = activation;
    return answer_of(problem);
}

Value record_activation(HistoryRecord const& record)
{
    Value value(ValueType::Map);
    value.insert("id", Value(record.id));
    value.insert("outcome", text_value(record.outcome));
    value.insert("text", text_value(record.text));
    value.insert("counts", record.body["counts"]);
    value.insert("rows", record.body["rows"]);
    return value;
}

HistoryRecord record_of(Call const& call, std::int64_t id)
{
    auto const found = call.parts.project.history_record(id);
    if (!found.succeeded())
    {
        throw problem_of(found.error, found.text);
    }
    return found.records.front();
}

/// The first answer once more.
Response repeated(Call const& call, std::int64_t id)
{
    auto const record = record_of(call, id);
    return outcome_answer(record_activation(record), record.outcome == Outcome::done ? created : not_as_asked);
}

/// The number, 0 as long as nothing was sent to a controller, lets whoever lost the first answer follow and cancel it.
Problem still_running(std::int64_t id)
{
    Problem problem{.status = 409,
                    .code = "STILL_RUNNING",
                    .detail = "the activation of this Idempotency-Key is still running" +
                              (id == 0 ? std::string() : ", as activation " + std::to_string(id))};
    if (id != 0)
    {
        problem.members = Value(ValueType::Map);
        problem.members.insert("id", Value(id));
    }
    return problem;
}

/// Answers a request that was made before; returns whether it was.
bool is_answered(Call const& call, Activations::Claim const& claim, Reply const& reply)
{
    switch (claim.kind)
    {
    case Activations::Claim::Kind::New:
        return false;
    case Activations::Claim::Kind::Known:
        reply(repeated(call, claim.id));
        return true;
    case Activations::Claim::Kind::Running:
        throw still_running(claim.id);
    case Activations::Claim::Kind::Other:
        break;
    }
    throw Problem{.status = 422,
                  .code = "IDEMPOTENCY_KEY_REUSED",
                  .detail = "this Idempotency-Key stands for another request; take a new key for this one"};
}

/// Releases a request that nothing came of, whatever happened.
class Claimed
{
public:
    Claimed(Activations& activations, Activations::Request request)
        : m_activations(activations), m_request(std::move(request))
    {
    }
    Claimed(Claimed const&) = delete;
    Claimed& operator=(Claimed const&) = delete;
    ~Claimed()
    {
        m_activations.finish(m_request);
        m_activations.release(m_request);
    }

private:
    Activations& m_activations;
    Activations::Request m_request;
};

/// Gives the answer once, be it early.
class Once
{
public:
    explicit Once(Reply reply) : m_reply(std::move(reply)) {}

    void operator()(Response response)
    {
        if (!m_done.exchange(true))
        {
            m_reply(std::move(response));
        }
    }

private:
    Reply m_reply;
    std::atomic<bool> m_done = false;
};

/// An activation that is listed as long as it lives, from its record on.
class Listed
{
public:
    Listed(Activations& activations, std::string recipe, std::string who) : m_activations(activations)
    {
        m_activation->recipe = std::move(recipe);
        m_activation->who = std::move(who);
    }
    Listed(Listed const&) = delete;
    Listed& operator=(Listed const&) = delete;
    ~Listed()
    {
        if (m_id != 0)
        {
            m_activations.end(m_id);
        }
    }

    void begin(std::int64_t id)
    {
        m_id = id;
        m_activations.begin(id, m_activation);
    }
    std::atomic<bool> const* stop() const noexcept { return &m_activation->stop; }
    void progress(std::size_t done, std::size_t total) const
    {
        m_activation->done = done;
        m_activation->total = total;
    }

private:
    Activations& m_activations;
    std::int64_t m_id = 0;
    std::shared_ptr<RunningActivation> m_activation = std::make_shared<RunningActivation>();
};

Response begun_answer(std::int64_t id)
{
    Value value(ValueType::Map);
    value.insert("id", Value(id));
    value.insert("outcome", text_value(Outcome::begun));
    return json_answer(value, 202, {{"Location", std::string(api_root) + "/activations/" + std::to_string(id)}});
}

/// What the record keeps of the request.
Value request_value(Call const& call, Activations::Request const& request)
{
    Value value(ValueType::Map);
    value.insert(address_key, text_value(call.head.address));
    if (!request.key.empty())
    {
        value.insert(Activations::key_name, text_value(request.key));
        value.insert(Activations::fingerprint_name, text_value(request.fingerprint));
    }
    return value;
}

Problem refused_activation(ActivationReport const& report)
{
    auto problem = problem_of(report);
    if (report.plan_changed)
    {
        problem.status = 409;
        problem.code = "PLAN_CHANGED";
    }
    return problem;
}

Response carry_out(Call const& call, Wish const& wish, Once& early)
{
    Listed listed(call.parts.activations, wish.recipe, call.caller.who);
    listed.progress(0, wish.size);
    ActivationOptions options;
    options.verify = wish.verify;
    options.note = wish.note;
    options.who = call.caller.who;
    options.plan = wish.hash;
    options.request = request_value(call, wish.request);
    options.stop = listed.stop();
    options.progress = [&listed](std::size_t done, std::size_t total) { listed.progress(done, total); };
    options.begun = [&](std::int64_t id)
    {
        if (id == 0)
        {
            return;
        }
        listed.begin(id);
        call.parts.activations.settle(wish.request, id);
        if (wish.is_async)
        {
            early(begun_answer(id));
        }
    };
    auto const report = call.parts.project.activate(wish.recipe, options);
    ++(report.succeeded() ? call.parts.metrics.activations_done : call.parts.metrics.activations_failed);
    if (!report.succeeded() && (report.plan_changed || is_refused(report)))
    {
        throw refused_activation(report);
    }
    return outcome_answer(activation_value(report, activation_states()), status_of(report));
}

std::int64_t number_of(Call const& call)
{
    std::int64_t id = 0;
    auto const [end, error] = std::from_chars(call.id.data(), call.id.data() + call.id.size(), id);
    if (error != std::errc() || end != call.id.data() + call.id.size())
    {
        throw Problem{.status = 404, .code = "ENTRY_NOT_FOUND", .detail = "'" + call.id + "' is no number of a record"};
    }
    return id;
}

} // namespace

void post_activation(Call call, Reply reply)
{
    auto wish = wish_of(call);
    auto const claim = call.parts.activations.claim(wish.request);
    if (is_answered(call, claim, reply))
    {
        return;
    }
    auto const claimed = std::make_shared<Claimed>(call.parts.activations, wish.request);
    wish.hash = planned_hash(call, wish);
    auto const rows = expected_rows(call, wish.recipe);
    wish.size = rows.size();
    auto const domains = domains_of(rows);
    auto const once = std::make_shared<Once>(std::move(reply));
    auto& devices = call.parts.devices;
    devices.write(
        domains,
        [call = std::move(call), wish, claimed, once]
        {
            auto answer = carry_out(call, wish, *once);
            call.parts.activations.finish(wish.request);
            return answer;
        },
        [once](Response response) { (*once)(std::move(response)); });
}

Response get_activation(Call& call)
{
    auto const id = number_of(call);
    if (auto const running = call.parts.activations.find(id))
    {
        Value value(ValueType::Map);
        value.insert("id", Value(id));
        value.insert("outcome", text_value(Outcome::begun));
        value.insert("recipe", text_value(running->recipe));
        value.insert("done", Value(static_cast<long>(running->done)));
        value.insert("total", Value(static_cast<long>(running->total)));
        return json_answer(value);
    }
    auto const record = record_of(call, id);
    if (record.body["rows"].type() != ValueType::Vector)
    {
        throw Problem{.status = 404,
                      .code = "ENTRY_NOT_FOUND",
                      .detail = "the record " + call.id + " is no activation; /history/" + call.id + " tells it"};
    }
    return json_answer(record_activation(record));
}

Response delete_activation(Call& call)
{
    auto const id = number_of(call);
    auto const running = call.parts.activations.find(id);
    if (!running)
    {
        static_cast<void>(record_of(call, id));
        throw Problem{.status = 409, .code = "FINISHED", .detail = "the activation has ended; it can be taken back"};
    }
    running->stop = true;
    return begun_answer(id);
}

// History
// --------------------------------------------------------------------------------------------------------------

namespace
{

/// Of an activation: what stood in the controllers before is written back.
Response write_back(Call const& call, HistoryRecord const& record, bool dry_run, bool force, std::string const& note)
{
    Listed listed(call.parts.activations, std::string(record.body["recipe"].get_text()), call.caller.who);
    WriteBackOptions options;
    options.dry_run = dry_run;
    options.force = force;
    options.note = note;
    options.who = call.caller.who;
    options.request = request_value(call, {});
    options.asked = "revert " + std::to_string(record.id);
    options.stop = listed.stop();
    options.progress = [&listed](std::size_t done, std::size_t total) { listed.progress(done, total); };
    options.begun = [&listed](std::int64_t id)
    {
        if (id != 0)
        {
            listed.begin(id);
        }
    };
    auto const report = call.parts.project.revert_activation(record.body, options);
    if (is_refused(report))
    {
        throw problem_of(report);
    }
    auto const value = activation_value(report, revert_states());
    return report.succeeded() || dry_run ? json_answer(value) : outcome_answer(value, status_of(report));
}

Response take_back(Call const& call, HistoryRecord const& record, bool dry_run, std::string const& note)
{
    return edit_answer(
        call.parts.project,
        call.parts.project.revert(record.id, {.dry_run = dry_run, .force = false, .origin = origin_of(call, note)}));
}

} // namespace

void post_revert(Call call, Reply reply)
{
    auto const record = record_of(call, number_of(call));
    auto const body = call.object({"dryRun", "force", "note"});
    auto const dry_run = flag_in(body, "dryRun");
    auto const force = flag_in(body, "force");
    auto const note = text_in(body, "note");
    auto const is_activation = !record.has_places() && record.body["rows"].type() == ValueType::Vector;
    auto const is_plain = is_activation && record.action != Action::symbol && !force;
    if (!is_plain && !may(call.caller.role, Right::Edit))
    {
        throw Problem{.status = 403,
                      .code = "FORBIDDEN",
                      .detail = std::string("the role ") + name_of(call.caller.role) +
                                " takes back activations alone, as long as the controllers hold what they wrote"};
    }
    if (!is_activation)
    {
        reply(answered([&] { return take_back(call, record, dry_run, note); }));
        return;
    }
    auto const domains = domains_of(rows_of(record.body));
    call.parts.watch.ask(domains);
    auto& devices = call.parts.devices;
    devices.write(
        domains,
        [call = std::move(call), record, dry_run, force, note]
        { return write_back(call, record, dry_run, force, note); },
        std::move(reply));
}

} // namespace Ravik::Service
