#include "Service/Client/ServedProject.h"
#include "Support/refusal.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <thread>

namespace Ravik::Test
{

namespace
{

using namespace std::chrono_literals;
using RavikSrv::Value;
using Wire::Channel;

/// What comes over a channel until its end, a letter for each message.
std::string told(Channel& channel)
{
    std::string kinds;
    try
    {
        while (auto const message = channel.receive(10s))
        {
            kinds += std::string("-hrcxbdof").at(static_cast<std::size_t>(message->kind));
        }
        return kinds + " and stays open";
    }
    catch (Wire::LinkLost const&)
    {
        return kinds;
    }
}

std::string head(int kind, std::uint32_t length)
{
    std::string bytes(1, static_cast<char>(kind));
    for (unsigned shift = 0; shift < 32; shift += 8)
    {
        bytes += static_cast<char>(length >> shift & 0xFFU);
    }
    return bytes;
}

std::string message(int kind, std::string const& content)
{
    return head(kind, static_cast<std::uint32_t>(content.size())) + content;
}

/// A call of the operation; the rest is its arguments as they stand on the wire.
std::string call(std::string const& name, std::string const& arguments = "")
{
    return message(3, static_cast<char>(name.size()) + name + arguments);
}

TEST(HostileBytes, are_answered_or_cut_off_and_hurt_nobody)
{
    ServedProject served;
    served.project.on_get = [](std::string const&) { return ConfigurationOutcome(); };
    served.project.on_set = [](Value const&, SetOptions const&) { return EditReport(); };
    served.project.on_call = [](RavikSrv::Session, Origin const&) { return FunctionOutcome(); };
    served.start();
    struct Case
    {
        char const* what;
        bool is_greeted;
        std::string bytes;
        char const* told;
        /// Whether nothing else is sent.
        bool hangs_up = false;
    };
    auto const set_up_to_condition = "\1A\1B" + std::string(5, '\0');
    std::string deep;
    for (int depth = 0; depth < 10'000; ++depth)
    {
        deep += "\5\1";
    }
    auto const old = ServedProject::hello({.mark = "ravik", .protocol = 0, .program = "0.9"});
    for (auto const& each : {
             Case{"another protocol", false, "GET / HTTP/1.1\r\nHost: a\r\n\r\n", ""},
             Case{"a hello that is too long", false, message(1, std::string(100'000, 'x')), ""},
             Case{"an empty hello", false, message(1, ""), ""},
             Case{"a call instead of a hello", false, call("domains"), ""},
             Case{"half a hello and nothing more", false, message(1, ServedProject::hello()).substr(0, 9), "", true},
             Case{"an older version", false, message(1, old) + call("domains"), "h"},
             Case{"another mark", false, message(1, ServedProject::hello({.mark = "x"})), "h"},
             Case{"an unknown operation", true, call("shutdown"), "f"},
             Case{"too few arguments", true, call("get", "\1A"), "f"},
             Case{"too many arguments", true, call("get", std::string("\1A\0\0", 4)), "f"},
             Case{"a list without end", true, call("set", "\1A\1B\5\xFF\xFF\xFF\xFF\xFF\x0F"), "f"},
             Case{"a value that is too deep", true, call("set", "\1A\1B" + deep), "f"},
             Case{"a condition of no kind", true, call("set", set_up_to_condition + "\x09" + '\0'), "f"},
             Case{"a condition of a kind", true, call("set", set_up_to_condition + "\x02" + '\0') + head(0, 0), "o"},
             Case{"a request of nobody's", true, call("call", "\x01\1A\1B" + std::string(5, '\0')), "f"},
             Case{"a message of no kind", true, message(0, ""), ""},
             Case{"a message of a later kind", true, message(99, "x"), ""},
             Case{"a call of 2 GiB", true, head(3, 0x7FFF'FFFF), ""},
             Case{"half a call and nothing more", true, call("domains").substr(0, 10), "", true},
             Case{"a cancel of nothing, a call, half a call", true,
                  message(4, "") + call("domains") + message(4, "x") + call("domains").substr(0, 3), "o", true},
         })
    {
        SCOPED_TRACE(each.what);
        auto channel = each.is_greeted ? served.greeted() : served.channel();
        ASSERT_EQ(::send(channel.descriptor(), each.bytes.data(), each.bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(each.bytes.size()));
        if (each.hangs_up)
        {
            ::shutdown(channel.descriptor(), SHUT_WR);
        }
        EXPECT_EQ(told(channel), each.told);
        EXPECT_EQ(served.connect()->domains(), std::vector<std::string>{"Line"});
    }
    EXPECT_FALSE(served.warned().empty());
}

TEST(Versions, that_differ_are_told_before_anything_is_asked)
{
    struct Case
    {
        std::string answer;
        char const* text;
    };
    for (auto const& each : {
             Case{message(1, ServedProject::hello({.mark = "ravik", .protocol = 99, .program = "7.1"}) + "more"),
                  "7.1"},
             Case{message(1, ServedProject::hello({.mark = "ravik", .protocol = 1, .program = "7.2"})), "7.2"},
             Case{message(1, ""), "another version"},
             Case{"HTTP/1.1 400 Bad Request\r\n\r\n", "another version"},
         })
    {
        TemporaryFolder const folder;
        folder.write("ravik.json", "{}");
        Wire::ListeningSocket const listening(folder.path(), "");
        std::thread service(
            [&]
            {
                auto const socket = listening.accept();
                ::send(socket.number(), each.answer.data(), each.answer.size(), MSG_NOSIGNAL);
                // Until the other side has read it and gone.
                char byte = 0;
                while (::recv(socket.number(), &byte, 1, 0) > 0)
                {
                }
            });
        auto const told = refusal([&] { RemoteProject::connect(folder.path(), {}); });
        service.join();
        EXPECT_NE(told.find(each.text), std::string::npos) << told;
        EXPECT_NE(told.find("restart the service"), std::string::npos) << told;
    }
}

TEST(Socket, is_taken_over_from_nobody_and_given_back)
{
    ServedProject served;
    auto const file = served.folder() / "ravik.sock";
    {
        // What a process that was killed leaves.
        Wire::ListeningSocket abandoned(served.folder(), "");
        std::filesystem::rename(file, served.folder() / "kept");
    }
    std::filesystem::rename(served.folder() / "kept", file);
    EXPECT_EQ(served.connect(), nullptr);
    served.start();
    struct stat status = {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_NE(served.connect(), nullptr);
    auto const second = refusal([&] { Wire::ListeningSocket const listening(served.folder(), ""); });
    EXPECT_NE(second.find("pid " + std::to_string(::getpid())), std::string::npos) << second;
    served.stop();
    EXPECT_FALSE(std::filesystem::exists(file));

    std::ofstream(file) << "mine";
    EXPECT_NE(refusal([&] { served.start(); }).find("is no socket"), std::string::npos);
    EXPECT_EQ(content_of(file), "mine");
    std::filesystem::remove(file);
    auto settings = served.settings();
    settings.group = "no such group";
    EXPECT_NE(refusal([&] { served.start(settings); }).find("no group \"no such group\""), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(Socket, stands_in_a_folder_however_deep)
{
    ServedProject served;
    auto deep = served.folder();
    for (int level = 0; level < 10; ++level)
    {
        deep /= std::string(50, 'd');
    }
    std::filesystem::create_directories(deep);
    std::filesystem::copy(served.folder() / "ravik.json", deep);
    served.start(served.settings(deep));
    auto const remote = RemoteProject::connect(deep, {});
    ASSERT_NE(remote, nullptr);
    EXPECT_EQ(remote->domains().size(), 1U);
}

TEST(Socket, has_a_bound_and_tells_of_it)
{
    ServedProject served;
    auto settings = served.settings();
    settings.connections = 2;
    served.start(settings);
    auto const first = served.connect();
    auto second = served.connect();
    EXPECT_NE(refusal([&] { served.connect(); }).find("2 connections open already"), std::string::npos);
    second.reset();
    // The place is free as soon as the service has seen the end of the connection.
    while (!refusal([&] { second = served.connect(); }).empty())
    {
    }
    EXPECT_EQ(second->domains().size(), 1U);
}

/// Runs `work` on a thread of its own as nobody, in the group of nobody.
template <typename Work> void as_nobody(Work const& work)
{
    std::thread(
        [&]
        {
            // The system's own calls concern one thread alone.
            constexpr long nobody = 65534;
            ASSERT_EQ(::syscall(SYS_setresgid, -1L, nobody, -1L), 0);
            ASSERT_EQ(::syscall(SYS_setresuid, -1L, nobody, -1L), 0);
            work();
        })
        .join();
}

TEST(Socket, of_another_user_is_not_trusted_and_another_user_is_who_he_is)
{
    if (::geteuid() != 0)
    {
        GTEST_SKIP() << "only root can be somebody else";
    }
    ServedProject served;
    ::chmod(served.folder().c_str(), 0711);
    {
        // Whoever begins to listen is the one who answers.
        auto const path = served.folder() / "ravik.sock";
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.string().copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
        Wire::Descriptor const socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        ASSERT_EQ(::bind(socket.number(), reinterpret_cast<sockaddr const*>(&address), sizeof address), 0);
        as_nobody([&] { ASSERT_EQ(::listen(socket.number(), 5), 0); });
        EXPECT_NE(refusal([&] { served.connect(); }).find("a process of another user answers there"),
                  std::string::npos);
    }
    std::string who;
    served.project.on_set = [&](Value const&, SetOptions const& options)
    {
        who = options.origin.who;
        return EditReport();
    };
    served.start();
    as_nobody([&] { EXPECT_NE(refusal([&] { served.connect(); }).find("Permission denied"), std::string::npos); });
    served.stop();
    auto settings = served.settings();
    settings.group = "nogroup";
    served.start(settings);
    as_nobody(
        [&]
        {
            auto const remote = served.connect();
            ASSERT_NE(remote, nullptr);
            EXPECT_TRUE(
                remote->set("Line", "a", Value(1), {.origin = {.who = "root", .asked = {}, .note = {}}}).succeeded());
        });
    EXPECT_EQ(who, "nobody");
}

} // namespace

} // namespace Ravik::Test
