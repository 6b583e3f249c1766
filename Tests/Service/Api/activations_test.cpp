#include "ServedPlant.h"

#include "Controllers/Modbus/ScriptedDevice.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <future>
#include <mutex>

namespace Ravik::Test
{
namespace
{

std::string const bread = R"({"recipe":"Bread"})";
std::string const plate = R"({"recipe":"Plate"})";

std::string key(std::string const& name)
{
    return "Idempotency-Key: " + name + "\r\n";
}

std::string const async = "Prefer: respond-async\r\n";

/// A device whose writes wait at a gate as long as it is closed, and that may refuse the register 200.
class GatedDevice
{
public:
    GatedDevice()
        : device([this](ScriptedDevice& self, ScriptedDevice::Request const& request) { return answer(self, request); })
    {
    }
    GatedDevice(GatedDevice const&) = delete;
    GatedDevice& operator=(GatedDevice const&) = delete;
    ~GatedDevice() { open(); }

    void close()
    {
        std::lock_guard const lock(m_mutex);
        m_is_open = false;
    }
    void open()
    {
        std::lock_guard const lock(m_mutex);
        m_is_open = true;
        m_changed.notify_all();
    }
    /// Returns once a write waits.
    bool has_come()
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(10), [this] { return m_waits; });
    }

    std::atomic<bool> is_broken = false;

private:
    ScriptedDevice::Bytes answer(ScriptedDevice& self, ScriptedDevice::Request const& request)
    {
        auto const writes = request.function() == 6 || request.function() == 16;
        if (writes)
        {
            std::unique_lock lock(m_mutex);
            m_waits = !m_is_open;
            m_changed.notify_all();
            m_changed.wait(lock, [this] { return m_is_open; });
            m_waits = false;
        }
        return writes && is_broken && request.address() == 200 ? ScriptedDevice::exception(request, 4)
                                                               : self.right_answer(request);
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_is_open = true;
    bool m_waits = false;

public:
    ScriptedDevice device;
};

/// A plan's or activation's states with blanks between.
std::string states(Value const& answer)
{
    std::string text;
    auto const& rows = answer["rows"];
    for (auto row = rows.begin_vector(); row != rows.end_vector(); ++row)
    {
        text += (text.empty() ? "" : " ") + std::string((*row)["state"].get_text());
    }
    return text;
}

TEST(Activations, follow_the_plan_that_was_looked_at)
{
    ServedPlant const plant;
    auto client = plant.client("operator");
    auto const make = [](ApiClient& who, std::string const& body)
    { return text_in(who.send("POST", "/plans", body), "id"); };
    auto const follow =
        [&](ApiClient& who, std::string const& plan, std::string const& name, std::string const& recipe = "Bread")
    { return who.send("POST", "/activations", R"({"recipe":")" + recipe + R"(","plan":")" + plan + "\"}", key(name)); };

    auto const planned = client.send("POST", "/plans", bread);
    EXPECT_EQ(planned.status, 201U);
    EXPECT_EQ(states(json(planned)), "differs differs differs");
    auto const plan = text_in(planned, "id");
    auto other = plant.client("engineer");
    EXPECT_EQ(text_in(follow(other, plan, "theirs")), "PLAN_EXPIRED") << "somebody else's";
    EXPECT_EQ(text_in(follow(client, plan, "other", "Pizza")), "PLAN_EXPIRED") << "another recipe's";
    EXPECT_EQ(text_in(follow(client, "guessed", "guessed")), "PLAN_EXPIRED");

    // What it would write has changed: nothing is written.
    auto const recipe = "/recipe?name=Bread";
    ASSERT_EQ(other.send("PATCH", recipe, R"({"values":{"Speed":121}})", other.if_match(recipe)).status, 200U);
    auto const changed = follow(client, plan, "changed");
    EXPECT_EQ(changed.status, 409U);
    EXPECT_EQ(text_in(changed), "PLAN_CHANGED");
    EXPECT_EQ(client.read("/symbol?name=Line.Speed")["value"].get_double(), 0.0);

    // What the controllers hold besides may change.
    auto const good = make(client, bread);
    ASSERT_EQ(other.send("PUT", "/symbol?name=Line.Speed", R"({"value":7.5})").status, 200U);
    auto const done = follow(client, good, "good");
    EXPECT_EQ(done.status, 201U) << done.body;
    EXPECT_EQ(states(json(done)), "verified verified verified");
    EXPECT_EQ(client.read("/symbol?name=Line.Speed")["value"].get_double(), 121.0);

    // Ten a user.
    std::vector<std::string> plans;
    plans.reserve(11);
    for (int count = 0; count < 11; ++count)
    {
        plans.push_back(make(client, bread));
    }
    EXPECT_EQ(text_in(follow(client, plans[0], "eleventh")), "PLAN_EXPIRED");
    EXPECT_EQ(follow(client, plans[1], "tenth").status, 201U);
    EXPECT_EQ(client.send("POST", "/plans", R"({"recipe":"Nothing"})").status, 404U);
}

TEST(Activations, are_made_once_for_each_key)
{
    ServedPlant plant;
    auto client = plant.client("operator");
    auto const body = R"({"recipe":"Bread","note":"first of the day"})";
    auto const first = client.send("POST", "/activations", body, key("k"));
    ASSERT_EQ(first.status, 201U) << first.body;
    auto const id = json(first)["id"].get_int64();
    auto const location = "/api/v1/activations/" + std::to_string(id);
    EXPECT_EQ(first.field("location"), location);

    auto const expect_known = [&](char const* when)
    {
        SCOPED_TRACE(when);
        auto again = plant.client("operator");
        auto const same = again.send("POST", "/activations", body, key("k"));
        EXPECT_EQ(same.status, 201U);
        EXPECT_EQ(same.body, first.body);
        EXPECT_EQ(same.field("location"), location);
        auto const other = again.send("POST", "/activations", bread, key("k"));
        EXPECT_EQ(other.status, 422U);
        EXPECT_EQ(text_in(other), "IDEMPOTENCY_KEY_REUSED");
        EXPECT_EQ(again.read("/activations/" + std::to_string(id))["rows"].size(), 3U);
    };
    expect_known("at once");
    plant.restart();
    expect_known("by a service that was started anew");

    auto reader = plant.client("viewer");
    auto const record = reader.read("/history/" + std::to_string(id));
    EXPECT_EQ(std::string(record["who"].get_text()), "token:operator");
    EXPECT_EQ(std::string(record["note"].get_text()), "first of the day");
    EXPECT_EQ(std::string(record["body"]["request"]["address"].get_text()), "127.0.0.1");
    EXPECT_EQ(std::string(record["body"]["request"]["key"].get_text()), "k");
    auto const active = reader.read("/active")["active"];
    ASSERT_EQ(active.size(), 1U);
    EXPECT_EQ(std::string(active[0U]["recipe"].get_text()), "Bread");
    EXPECT_EQ(std::string(active[0U]["by"].get_text()), "token:operator");
    EXPECT_EQ(reader.read("/history?recipe=Bread")["items"].size(), 2U) << "the import and one activation";

    // Another user's key is another one, and one that came to nothing may be used again.
    EXPECT_NE(json(plant.client("engineer").send("POST", "/activations", body, key("k")))["id"].get_int64(), id);
    auto fresh = plant.client("operator");
    EXPECT_EQ(fresh.send("POST", "/activations", R"({"recipe":"Nothing"})", key("n")).status, 404U);
    EXPECT_EQ(fresh.send("POST", "/activations", bread, key("n")).status, 201U);
}

TEST(Activations, verification_is_left_out_by_engineers_alone)
{
    ServedPlant const plant;
    auto const body = R"({"recipe":"Bread","verify":false})";
    EXPECT_EQ(plant.client("operator").send("POST", "/activations", body, key("a")).status, 403U);
    auto const done = plant.client("engineer").send("POST", "/activations", body, key("a"));
    EXPECT_EQ(done.status, 201U);
    EXPECT_EQ(states(json(done)), "written written written");
}

TEST(Activations, that_fail_in_part_tell_which_part)
{
    GatedDevice gated;
    ServedPlant plant({.device = gated.device.port()});
    gated.is_broken = true;
    auto client = plant.client("operator");
    auto const failed = client.send("POST", "/activations", plate, key("f"));
    EXPECT_EQ(failed.status, 502U);
    EXPECT_EQ(failed.field("content-type"), "application/problem+json");
    auto const told = json(failed);
    EXPECT_EQ(states(told), "verified failed") << failed.body;
    EXPECT_EQ(told["counts"]["failed"].get_int32(), 1);
    EXPECT_EQ(std::string(told["outcome"].get_text()), "failed");
    EXPECT_EQ(client.send("POST", "/activations", plate, key("f")).status, 502U) << "it is not made again";
    auto const kept = client.read("/activations/" + std::to_string(told["id"].get_int64()));
    EXPECT_EQ(kept["rows"], told["rows"]);
    gated.is_broken = false;
    EXPECT_EQ(client.send("POST", "/activations", plate, key("g")).status, 201U);
}

TEST(Activations, that_run_are_told_of_and_hold_their_symbols)
{
    GatedDevice gated;
    ServedPlant plant({.device = gated.device.port()});
    gated.close();
    auto client = plant.client("operator");
    auto const begun = client.send("POST", "/activations", plate, key("slow") + async);
    ASSERT_EQ(begun.status, 202U) << begun.body;
    ASSERT_TRUE(gated.has_come());
    auto const target = begun.field("location").substr(std::string("/api/v1").size());
    auto const running = client.read(target);
    EXPECT_EQ(std::string(running["outcome"].get_text()), "begun");
    EXPECT_EQ(running["total"].get_int32(), 2);
    EXPECT_LT(running["done"].get_int32(), 2);

    // The same symbols, by another recipe and one by one.
    auto other = plant.client("engineer");
    for (auto const& refused : {other.send("POST", "/activations", R"({"recipe":"Bowl"})", key("bowl")),
                                other.send("PUT", "/symbol?name=Press.R1", R"({"value":9})")})
    {
        EXPECT_EQ(refused.status, 409U);
        EXPECT_EQ(text_in(refused), "SYMBOL_IN_USE");
        EXPECT_NE(text_in(refused, "detail").find("token:operator"), std::string::npos) << refused.body;
        EXPECT_NE(text_in(refused, "detail").find("since"), std::string::npos) << refused.body;
    }
    auto const again = client.send("POST", "/activations", plate, key("slow") + async);
    EXPECT_EQ(again.status, 409U);
    EXPECT_EQ(text_in(again), "STILL_RUNNING");
    EXPECT_TRUE(target.ends_with("/" + std::to_string(json(again)["id"].get_int64()))) << again.body;
    EXPECT_EQ(client.send("POST", "/activations", bread, key("free")).status, 201U) << "other symbols are free";
    EXPECT_EQ(plant.client("viewer").send("DELETE", target).status, 403U);

    // What was not tried yet is not written.
    EXPECT_EQ(client.send("DELETE", target).status, 202U);
    gated.open();
    auto stopped = client.read(target);
    while (std::string(stopped["outcome"].get_text()) == "begun")
    {
        stopped = client.read(target);
    }
    EXPECT_EQ(states(stopped).find("verified"), std::string::npos);
    EXPECT_NE(states(stopped).find("not tried"), std::string::npos) << states(stopped);
    EXPECT_EQ(gated.device.holding(200), 200);
    EXPECT_EQ(client.send("DELETE", target).status, 409U) << "it has ended";
    EXPECT_EQ(client.send("POST", "/activations", plate, key("slow")).status, 502U) << "the first one's answer";
}

TEST(Activations, that_hang_hold_up_nobody_else)
{
    GatedDevice gated;
    ServedPlant plant({.device = gated.device.port()});
    gated.close();
    auto const asked = [&] { return plant.client("operator").send("POST", "/activations", plate, key("slow")).status; };
    auto activation = std::async(std::launch::async, asked);
    ASSERT_TRUE(gated.has_come());
    // The device serves one connection: whoever reads it waits, two at a time a user.
    std::vector<std::future<unsigned>> readings;
    readings.reserve(3);
    for (int count = 0; count < 3; ++count)
    {
        readings.push_back(
            std::async(std::launch::async, [&] { return plant.client("viewer").get("/symbol?name=Press.R0").status; }));
    }
    auto client = plant.client("engineer");
    EXPECT_EQ(client.get("/recipe?name=Plate").status, 200U);
    EXPECT_EQ(client.send("POST", "/folder?name=Meanwhile").status, 201U);
    EXPECT_EQ(client.send("POST", "/activations", bread, key("b")).status, 201U);
    EXPECT_EQ(client.get("/comparison?recipe=Bread&with=controller").status, 200U);
    EXPECT_EQ(client.get("/comparison?recipe=Plate&with=Bowl").status, 200U) << "asks no controller";
    gated.open();
    EXPECT_EQ(activation.get(), 201U);
    for (auto& reading : readings)
    {
        EXPECT_EQ(reading.get(), 200U);
    }
}

} // namespace
} // namespace Ravik::Test
