#include "Access/UserFile.h"

#include "Access/obstacles.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ravik::Test
{

namespace
{

using namespace Service;
using Kind = AccessRefusal::Kind;

constexpr auto password = "correct horse";

TEST(UserNames, are_what_one_sees_and_tells_apart)
{
    struct Case
    {
        std::string name;
        bool fits;
    };
    std::string long_name;
    for (int count = 0; count < 64; ++count)
    {
        long_name += "ä";
    }
    for (auto const& each : {
             Case{"anna", true},
             Case{"Anna Maria", true},
             Case{"安娜@werk-2", true},
             Case{long_name, true},
             Case{long_name + "x", false},
             Case{"", false},
             Case{"anna\u00A0", false},
             Case{"user:anna", false},
             Case{"a/b", false},
             Case{"a\nb", false},
             Case{"a\u202Eb", false}, // NOLINT(misc-misleading-bidirectional): an escape
             Case{"a\u200Bb", false},
             Case{"a\u2067b", false}, // NOLINT(misc-misleading-bidirectional): an escape
             Case{std::string("a\0b", 3), false},
             Case{"a\xFF", false},
         })
    {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(name_obstacle(each.name).empty(), each.fits) << name_obstacle(each.name);
    }
}

class UserFileTest : public testing::Test
{
protected:
    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (auto const& user : file.read().users)
        {
            found.push_back(user.name + " " + name_of(user.role));
        }
        return found;
    }

    std::string add_token(std::string const& name)
    {
        std::string token;
        EXPECT_EQ(file.add_token(name, Role::Operator, std::nullopt, token).text, "");
        return token;
    }

    TemporaryFolder folder;
    UserFile file{users_file_of(folder.path())};
};

TEST_F(UserFileTest, keeps_what_is_needed_to_check_and_nothing_else)
{
    EXPECT_TRUE(file.read().empty());
    ASSERT_EQ(file.add_user("anna", password, Role::Admin).text, "");
    std::string token;
    ASSERT_EQ(file.add_token("panel", Role::Operator, std::chrono::days{3}, token).text, "");
    auto const content = content_of(file.path());
    EXPECT_EQ(content.find(password), std::string::npos);
    EXPECT_EQ(content.find(token), std::string::npos);
    EXPECT_EQ(token.size(), std::string("ravik_").size() + 43);
    EXPECT_NE(content.find("$argon2id$v=19$m=19456,t=2,p=1$"), std::string::npos) << content;

    auto const list = file.read();
    ASSERT_EQ(list.tokens.size(), 1U);
    EXPECT_GT(list.tokens[0].expires, list.tokens[0].created);
    struct stat status = {};
    ASSERT_EQ(::stat(file.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(UserFileTest, refuses_what_would_leave_it_wrong)
{
    std::string token = "none";
    EXPECT_EQ(file.add_user("bert", password, Role::Viewer).kind, Kind::LastAdmin);
    EXPECT_FALSE(std::filesystem::exists(file.path()));
    ASSERT_EQ(file.add_user("anna", password, Role::Admin).text, "");
    ASSERT_EQ(file.add_user("bert", password, Role::Viewer).text, "");
    add_token("panel");
    struct Case
    {
        char const* what;
        Kind kind;
        std::function<AccessRefusal()> change;
    };
    for (auto const& each :
         std::vector<Case>{
             {"a name twice", Kind::Exists, [&] { return file.add_user("bert", password, Role::Admin); }},
             {"no name", Kind::Unfit, [&] { return file.add_user("be:rt", password, Role::Viewer); }},
             {"a short password", Kind::Unfit, [&] { return file.add_user("carl", "äöüäöüä", Role::Viewer); }},
             {"a long password", Kind::Unfit, [&] { return file.set_password("bert", std::string(1025, 'x')); }},
             {"nobody's password", Kind::Unknown, [&] { return file.set_password("carl", password); }},
             {"nobody", Kind::Unknown, [&] { return file.remove_user("carl"); }},
             {"the last admin", Kind::LastAdmin, [&] { return file.remove_user("anna"); }},
             {"a token twice", Kind::Exists, [&] { return file.add_token("panel", Role::Viewer, {}, token); }},
             {"the start's token", Kind::Unfit, [&] { return file.add_token("start", Role::Viewer, {}, token); }},
             {"too long a time", Kind::Unfit,
              [&] { return file.add_token("x", Role::Viewer, std::chrono::days{36501}, token); }},
             {"no token", Kind::Unknown, [&] { return file.remove_token("anna"); }},
         })
    {
        SCOPED_TRACE(each.what);
        auto const before = content_of(file.path());
        auto const refusal = each.change();
        EXPECT_EQ(refusal.kind, each.kind);
        EXPECT_FALSE(refusal.text.empty());
        EXPECT_EQ(content_of(file.path()), before);
    }
    EXPECT_EQ(token, "");

    EXPECT_FALSE(file.set_role("bert", Role::Admin));
    EXPECT_FALSE(file.remove_user("anna"));
    EXPECT_FALSE(file.remove_token("panel"));
    EXPECT_EQ(names(), std::vector<std::string>{"bert admin"});
}

TEST_F(UserFileTest, never_takes_a_file_that_it_can_not_trust_for_an_empty_one)
{
    constexpr auto head = R"({"version":1,"tokens":[],"users":[)";
    constexpr auto good =
        R"({"name":"a","role":"viewer","created":"2026-11-21T08:30:00.000Z","hash":"$argon2id$v=19$m=19456,t=2,p=1$MhlsLRnQWlsw/IaAMzKBPA$pZHuqhkWLWqJ2x4ARpe5yLBRp2tJvN2MYWVSNLUqMY8"})";
    auto const path = file.path();
    auto const content = [&](std::string const& text)
    {
        return [path, text]
        {
            std::ofstream(path) << text;
            std::filesystem::permissions(path, std::filesystem::perms{0600});
        };
    };
    auto const replaced = [&](std::string text, std::string const& what, std::string const& by)
    { return content(head + text.replace(text.find(what), what.size(), by) + "]}"); };
    struct Case
    {
        char const* message;
        std::function<void()> make;
    };
    for (auto const& each :
         std::vector<Case>{
             {"1:1: ", content("")},
             {"1:35: ", content(std::string(head) + "x")},
             {"\"version\" is missing", content("{}")},
             {"newer ravik", content(R"({"version":2,"users":[],"tokens":[]})")},
             {"unknown here", content(R"({"version":1,"users":[],"tokens":[],"more":1})")},
             {"a role belongs here", replaced(good, "viewer", "boss")},
             {"no hash of a password", replaced(good, "m=19456", "m=99999999")},
             {"no hash of a password", replaced(good, "$argon2id", "$argon2i")},
             {"second time", content(head + std::string(good) + ',' + good + "]}")},
             {"a time belongs here", replaced(good, "2026-11-21T", "yesterday")},
             {"':'", replaced(good, R"("a")", R"("a:b")")},
             {"too large", [&] { content("")(), std::filesystem::resize_file(path, 17 << 20); }},
             {"chmod 600", [&] { content(head + std::string("]}"))(), ::chmod(path.c_str(), 0640); }},
             {"symbolic link", [&] { std::filesystem::create_symlink(folder.write("other", "{}"), path); }},
             {"no regular file", [&] { std::filesystem::create_directory(path); }},
         })
    {
        SCOPED_TRACE(each.message);
        std::filesystem::remove_all(path);
        each.make();
        try
        {
            static_cast<void>(file.read());
            ADD_FAILURE() << "it was read";
        }
        catch (std::runtime_error const& error)
        {
            EXPECT_NE(std::string(error.what()).find(each.message), std::string::npos) << error.what();
            EXPECT_TRUE(std::string(error.what()).starts_with(path.string() + ":")) << error.what();
        }
        auto const before = file.identity();
        std::string token;
        EXPECT_EQ(file.add_token("new", Role::Viewer, {}, token).kind, Kind::Storage);
        EXPECT_EQ(file.identity(), before);
    }
    std::filesystem::remove_all(path);
    content(std::string(head) + good + "]}")();
    EXPECT_EQ(file.read().users.size(), 1U);
}

TEST_F(UserFileTest, belongs_to_whoever_may_change_it)
{
    if (::geteuid() != 0)
    {
        GTEST_SKIP() << "only root can give files away";
    }
    constexpr uid_t owner = 12345;
    auto const owner_of = [](std::filesystem::path const& path)
    {
        struct stat status = {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_uid;
    };
    auto const lock = file.path().string() + ".lock";
    add_token("panel");
    ASSERT_EQ(::chown(file.path().c_str(), owner, owner), 0);
    EXPECT_THROW(static_cast<void>(file.read()), std::runtime_error);
    ASSERT_EQ(::chown(folder.path().c_str(), owner, owner), 0);
    EXPECT_EQ(file.read().tokens.size(), 1U);
    std::filesystem::remove(lock);
    add_token("other");
    EXPECT_EQ(owner_of(file.path()), owner);
    EXPECT_EQ(owner_of(lock), owner);

    // Nothing else can be had from root by this.
    auto const secret = folder.write("secret", "");
    std::filesystem::remove(lock);
    std::filesystem::create_hard_link(secret, lock);
    add_token("third");
    EXPECT_EQ(owner_of(secret), 0U);
}

/// Runs the work in another process.
template <typename Work> pid_t elsewhere(Work const& work)
{
    auto const child = ::fork();
    if (child == 0)
    {
        work();
        ::_exit(0);
    }
    return child;
}

TEST_F(UserFileTest, is_changed_by_several_processes_at_once)
{
    constexpr int processes = 3;
    constexpr int tokens = 10;
    std::vector<pid_t> children;
    children.reserve(processes);
    for (int process = 0; process < processes; ++process)
    {
        children.push_back(elsewhere(
            [&]
            {
                for (int number = 0; number < tokens; ++number)
                {
                    add_token(std::to_string(process) + '-' + std::to_string(number));
                }
            }));
    }
    for (auto const child : children)
    {
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    }
    EXPECT_EQ(file.read().tokens.size(), std::size_t{processes} * tokens);
}

TEST_F(UserFileTest, is_held_by_nobody_who_was_killed)
{
    std::array<int, 2> held{};
    ASSERT_EQ(::pipe(held.data()), 0);
    auto const child = elsewhere(
        [&]
        {
            auto const lock = ::open((file.path().string() + ".lock").c_str(), O_CREAT | O_RDWR, 0600);
            std::ofstream(file.path().string() + ".new") << "half a li";
            static_cast<void>(::flock(lock, LOCK_EX) == 0 && ::write(held[1], "x", 1) == 1);
            ::pause();
        });
    char byte = 0;
    ASSERT_EQ(::read(held[0], &byte, 1), 1);
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    add_token("panel");
    EXPECT_EQ(file.read().tokens.size(), 1U);
    EXPECT_FALSE(std::filesystem::exists(file.path().string() + ".new"));
}

} // namespace

} // namespace Ravik::Test
