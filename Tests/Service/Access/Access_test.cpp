#include "Access/Access.h"

#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <set>
#include <sys/stat.h>

namespace Ravik::Test
{

namespace
{

using namespace Service;
using namespace std::chrono_literals;
using Outcome = SignIn::Outcome;

constexpr auto password = "correct horse";
constexpr auto here = "10.0.0.1";

class AccessTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(file.add_user("anna", password, Role::Admin).text, "");
        ASSERT_EQ(file.add_token("panel", Role::Operator, std::nullopt, panel).text, "");
        access = make_access();
    }

    std::unique_ptr<Access> make_access()
    {
        return std::make_unique<Access>(
            file.path(),
            AccessClocks{.steady = [this] { return std::chrono::steady_clock::time_point(now.load()); },
                         .wall = [this] { return std::chrono::system_clock::time_point(start + now.load()); }});
    }

    SignIn sign_in(std::string const& user, std::string const& with, std::string const& address = here)
    {
        std::promise<SignIn> done;
        access->sign_in(user, with, address, [&](SignIn result) { done.set_value(std::move(result)); });
        return done.get_future().get();
    }

    /// The cookie of a new session.
    std::string cookie_of_anna() { return sign_in("anna", password).session.value().cookie; }
    std::string cookie_of_panel() { return access->sign_in_by_token(panel, here).session.value().cookie; }

    bool is_open(std::string const& cookie) { return access->visitor(cookie, "").has_value(); }

    void pass(std::chrono::nanoseconds time) { now = now.load() + time; }

    TemporaryFolder folder;
    /// What other processes do with the file.
    UserFile file{users_file_of(folder.path())};
    std::string panel;
    std::atomic<std::chrono::nanoseconds> now{1h};
    std::chrono::system_clock::duration const start = std::chrono::system_clock::now().time_since_epoch();
    std::unique_ptr<Access> access;
};

TEST_F(AccessTest, lets_in_who_knows_the_password_or_a_token)
{
    auto const anna = sign_in("anna", password);
    ASSERT_EQ(anna.outcome, Outcome::Done);
    EXPECT_EQ(anna.session->identity.who, "user:anna");
    EXPECT_EQ(anna.session->identity.role, Role::Admin);
    auto const by_token = access->sign_in_by_token(panel, here);
    ASSERT_EQ(by_token.outcome, Outcome::Done);
    EXPECT_EQ(by_token.session->identity.who, "token:panel");
    EXPECT_EQ(by_token.session->identity.role, Role::Operator);
    std::set<std::string> const secrets{anna.session->cookie, anna.session->csrf, by_token.session->cookie,
                                        by_token.session->csrf};
    EXPECT_EQ(secrets.size(), 4U);

    auto const found = access->visitor(anna.session->cookie, anna.session->csrf);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->identity.who, "user:anna");
    EXPECT_TRUE(found->is_proven);
    for (auto const& csrf : {std::string(), by_token.session->csrf, anna.session->cookie})
    {
        EXPECT_FALSE(access->visitor(anna.session->cookie, csrf).value().is_proven);
    }
    EXPECT_FALSE(is_open(anna.session->csrf));
    EXPECT_FALSE(is_open(""));
    EXPECT_EQ(access->bearer(panel).value().who, "token:panel");
    EXPECT_FALSE(access->bearer(panel + "x"));
    EXPECT_FALSE(access->bearer(anna.session->cookie));

    access->end_session(anna.session->cookie);
    EXPECT_FALSE(is_open(anna.session->cookie));
    EXPECT_TRUE(is_open(by_token.session->cookie));
}

TEST_F(AccessTest, counts_what_is_wrong_for_a_user_from_wherever_it_comes)
{
    std::vector<std::promise<SignIn>> done(8);
    for (std::size_t number = 0; number < done.size(); ++number)
    {
        // As many as there are addresses, and all at once.
        access->sign_in("anna", "wrong guess", "10.0.1." + std::to_string(number),
                        [&, number](SignIn result) { done[number].set_value(std::move(result)); });
    }
    int looked_at = 0;
    for (auto& each : done)
    {
        looked_at += each.get_future().get().outcome == Outcome::Wrong ? 1 : 0;
    }
    EXPECT_GE(looked_at, 5);
    EXPECT_LE(looked_at, 6) << "two run at once";
    EXPECT_EQ(sign_in("anna", password).outcome, Outcome::TooMany);
    pass(2s);
    EXPECT_EQ(sign_in("anna", password).outcome, Outcome::Done);
    EXPECT_EQ(sign_in("anna", "wrong guess").outcome, Outcome::Wrong) << "the count begins anew";
    std::promise<SignIn> checked;
    access->check_password("anna", password, here, [&](SignIn result) { checked.set_value(std::move(result)); });
    auto const check = checked.get_future().get();
    EXPECT_EQ(check.outcome, Outcome::Done);
    EXPECT_FALSE(check.session);
}

TEST_F(AccessTest, ends_sessions_by_time_but_those_of_tokens)
{
    auto const idle = cookie_of_anna();
    auto const busy = sign_in("anna", password).session.value();
    auto const unproven = cookie_of_anna();
    auto const kept = cookie_of_panel();
    int ended = 0;
    auto const watch = access->watch_session(idle, [&] { ++ended; });
    for (auto time = 0min; time < 12h; time += 29min)
    {
        EXPECT_TRUE(access->visitor(busy.cookie, busy.csrf)) << time.count();
        EXPECT_EQ(is_open(unproven), time < 30min) << "what any page can send keeps no session";
        pass(29min);
        access->refresh();
    }
    EXPECT_EQ(ended, 1);
    EXPECT_FALSE(is_open(idle));
    EXPECT_FALSE(is_open(busy.cookie));
    pass(24h * 365);
    access->refresh();
    EXPECT_TRUE(is_open(kept));

    std::string brief;
    ASSERT_EQ(access->users().add_token("brief", Role::Viewer, std::chrono::days{400}, brief).text, "");
    pass(24h);
    auto const brief_session = access->sign_in_by_token(brief, here).session.value();
    EXPECT_LT(brief_session.lifetime, 24h * 35);
    auto const of_brief = brief_session.cookie;
    std::vector<std::shared_ptr<void>> const watches{access->watch_session(of_brief, [&] { ++ended; }),
                                                     access->watch_token(brief, [&] { ++ended; })};
    pass(24h * 36);
    EXPECT_FALSE(access->bearer(brief));
    EXPECT_FALSE(is_open(of_brief));
    access->refresh();
    EXPECT_EQ(ended, 3);
}

TEST_F(AccessTest, ends_what_a_change_takes_the_ground_from)
{
    struct Case
    {
        char const* what;
        std::function<AccessRefusal(UserFile&)> change;
        bool ends_user;
        bool ends_token;
    };
    ASSERT_EQ(file.add_user("bert", password, Role::Admin).text, "");
    pass(1s);
    for (auto const& each :
         std::vector<Case>{
             {"another's role", [](UserFile& users) { return users.set_role("bert", Role::Viewer); }, false, false},
             {"the password", [](UserFile& users) { return users.set_password("anna", password); }, true, false},
             {"the token", [](UserFile& users) { return users.remove_token("panel"); }, false, true},
             {"an admin", [](UserFile& users) { return users.set_role("bert", Role::Admin); }, false, true},
             {"the role", [](UserFile& users) { return users.set_role("anna", Role::Viewer); }, true, true},
             {"the user", [](UserFile& users) { return users.remove_user("anna"); }, true, true},
         })
    {
        SCOPED_TRACE(each.what);
        auto const has_token = access->bearer(panel).has_value();
        auto const user = cookie_of_anna();
        std::atomic<int> user_ended = 0;
        std::atomic<int> token_ended = 0;
        auto const watch = access->watch_session(user, [&] { ++user_ended; });
        auto const token_watch = access->watch_token(panel, [&] { ++token_ended; });
        EXPECT_EQ(token_ended, has_token ? 0 : 1);
        access->watch_session(user, [] { ADD_FAILURE() << "nobody watches any more"; });
        // By the service itself, at once; or by another process, a moment later.
        auto const is_own = each.ends_user;
        ASSERT_EQ(each.change(is_own ? access->users() : file).text, "");
        pass(is_own ? 0ms : 250ms);
        EXPECT_EQ(is_open(user), !each.ends_user);
        EXPECT_EQ(access->bearer(panel).has_value(), !each.ends_token);
        EXPECT_EQ(user_ended, each.ends_user ? 1 : 0);
        EXPECT_EQ(token_ended, each.ends_token ? 1 : 0);
        EXPECT_EQ(user_ended, each.ends_user ? 1 : 0);
    }
    EXPECT_EQ(sign_in("anna", password).outcome, Outcome::Wrong);
}

TEST_F(AccessTest, knows_the_session_of_a_token_again_after_a_restart)
{
    auto const session = access->sign_in_by_token(panel, here).session.value();
    auto const other = access->sign_in_by_token(panel, here).session.value();
    auto const restart = [&] { access = make_access(); };
    restart();
    auto const visitor = access->visitor(session.cookie, session.csrf).value();
    EXPECT_EQ(visitor.identity.who, "token:panel");
    EXPECT_EQ(visitor.identity.role, Role::Operator);
    EXPECT_TRUE(visitor.is_proven);
    EXPECT_EQ(visitor.lifetime, 24h * 400) << "browsers keep none for longer";
    for (auto const& csrf : {std::string(), other.csrf, session.cookie, panel})
    {
        EXPECT_FALSE(access->visitor(session.cookie, csrf).value().is_proven) << csrf;
    }
    // Neither half, nor the file of users, opens anything by itself.
    auto const mark = session.cookie.substr(0, session.cookie.find('.'));
    auto const stored = file.read().tokens.front().hash;
    for (auto const& cookie : {std::string("."), '.' + mark, stored + '.' + mark, session.csrf, panel})
    {
        EXPECT_FALSE(access->visitor(cookie, session.csrf)) << cookie;
    }
    for (auto const& secret : {session.cookie, session.csrf, stored})
    {
        EXPECT_FALSE(access->bearer(secret));
        EXPECT_EQ(secret.find(panel), std::string::npos);
        EXPECT_EQ(access->sign_in_by_token(secret, "10.0.0.9").outcome, Outcome::Wrong);
    }

    int ended = 0;
    auto const signed_out = access->watch_session(other.cookie, [&] { ++ended; });
    auto watch = access->watch_session(session.cookie, [&] { ++ended; });
    access->end_session(other.cookie);
    EXPECT_EQ(ended, 1);
    ASSERT_EQ(access->users().set_token_role("panel", Role::Viewer).text, "");
    EXPECT_EQ(ended, 2);
    EXPECT_FALSE(is_open(session.cookie));
    restart();
    EXPECT_FALSE(is_open(session.cookie));
    auto const as_viewer = cookie_of_panel();
    restart();
    EXPECT_TRUE(is_open(as_viewer));
    watch = access->watch_session(as_viewer, [&] { ++ended; });
    ASSERT_EQ(access->users().remove_token("panel").text, "");
    EXPECT_EQ(ended, 3);
    EXPECT_FALSE(is_open(as_viewer));
}

TEST_F(AccessTest, keeps_a_hundred_sessions_of_each)
{
    constexpr std::size_t one_too_many = 101;
    std::filesystem::remove(file.path());
    access = make_access();
    auto const next = [&]
    { return access->sign_in_by_token(access->make_start_token().value(), here).session.value().cookie; };
    std::vector<std::string> cookies;
    cookies.reserve(one_too_many);
    int ended = 0;
    for (std::size_t count = 0; count < one_too_many; ++count)
    {
        cookies.push_back(next());
    }
    EXPECT_FALSE(is_open(cookies[0]));
    auto const watch = access->watch_session(cookies[1], [&] { ++ended; });
    access->end_session(cookies[50]);
    next();
    EXPECT_EQ(ended, 0);
    next();
    EXPECT_EQ(ended, 1);
    EXPECT_FALSE(is_open(cookies[1]));
    EXPECT_TRUE(is_open(cookies[2]));
}

TEST_F(AccessTest, starts_with_a_token_while_there_is_nobody)
{
    EXPECT_TRUE(access->has_anybody());
    EXPECT_FALSE(access->make_start_token());
    access.reset();
    std::filesystem::remove(file.path());
    access = make_access();
    EXPECT_FALSE(access->has_anybody());

    auto const replaced = access->make_start_token().value();
    auto const token = access->make_start_token().value();
    EXPECT_EQ(access->sign_in_by_token(replaced, here).outcome, Outcome::Wrong);
    auto const session = access->sign_in_by_token(token, here).session.value();
    EXPECT_EQ(session.identity.who, "token:start");
    EXPECT_EQ(session.identity.role, Role::Admin);
    EXPECT_EQ(access->sign_in_by_token(token, here).outcome, Outcome::Wrong) << "it is good once";
    EXPECT_FALSE(access->bearer(token));

    auto const late = access->make_start_token().value();
    pass(10min);
    EXPECT_EQ(access->sign_in_by_token(late, here).outcome, Outcome::Wrong);
    auto const last = access->make_start_token().value();
    EXPECT_TRUE(is_open(session.cookie));
    int ended = 0;
    auto const watch = access->watch_session(session.cookie, [&] { ++ended; });
    ASSERT_EQ(file.add_token("first", Role::Viewer, std::nullopt, panel).text, "");
    pass(250ms);
    EXPECT_FALSE(is_open(session.cookie));
    EXPECT_EQ(ended, 1);
    std::filesystem::remove(file.path());
    pass(250ms);
    EXPECT_EQ(access->sign_in_by_token(last, here).outcome, Outcome::Wrong) << "it is over for good";
}

TEST_F(AccessTest, trusts_what_it_read_last_for_a_minute)
{
    auto const user = cookie_of_anna();
    auto const token = cookie_of_panel();
    int ended = 0;
    auto watch = access->watch_session(token, [&] { ++ended; });
    auto const content = content_of(file.path());
    folder.write("ravik.users", content.substr(0, content.size() / 2));
    access->refresh();
    EXPECT_NE(access->problem().find("ravik.users:"), std::string::npos) << access->problem();
    EXPECT_TRUE(is_open(user));
    EXPECT_TRUE(access->bearer(panel));
    EXPECT_TRUE(access->has_anybody());
    EXPECT_EQ(access->users().set_role("anna", Role::Viewer).kind, AccessRefusal::Kind::Storage);

    pass(1min);
    access->refresh();
    EXPECT_EQ(ended, 1);
    EXPECT_FALSE(is_open(user));
    EXPECT_FALSE(access->bearer(panel));
    EXPECT_EQ(sign_in("anna", password).outcome, Outcome::Wrong);
    EXPECT_EQ(access->sign_in_by_token(panel, here).outcome, Outcome::Wrong);
    EXPECT_TRUE(access->has_anybody());
    EXPECT_FALSE(access->make_start_token());

    folder.write("ravik.users", content);
    pass(250ms);
    EXPECT_TRUE(is_open(user));
    EXPECT_TRUE(is_open(token));
    EXPECT_EQ(access->problem(), "");

    ::chmod(file.path().c_str(), 0644);
    EXPECT_THROW(Access(file.path()), std::runtime_error);
}

} // namespace

} // namespace Ravik::Test
