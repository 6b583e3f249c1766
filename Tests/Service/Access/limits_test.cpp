#include "Access/Access.h"
#include "Access/Attempts.h"
#include "Access/CheckThreads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <future>
#include <latch>
#include <mutex>

namespace Ravik::Test
{

namespace
{

using namespace Service;
using std::chrono::seconds;

TEST(Attempts, wait_longer_after_each_wrong_one_and_forget)
{
    struct Case
    {
        char const* what;
        /// What passes before the next wrong one, and how long is to be waited after it.
        seconds pause;
        seconds wait;
    };
    Attempts attempts(10);
    Attempts::Time now{};
    for (auto const& each : {
             Case{"1", seconds{0}, seconds{0}},
             Case{"2", seconds{9}, seconds{0}},
             Case{"3", seconds{0}, seconds{0}},
             Case{"4", seconds{0}, seconds{0}},
             Case{"5", seconds{0}, seconds{1}},
             Case{"6", seconds{1}, seconds{2}},
             Case{"7", seconds{2}, seconds{4}},
             Case{"8", seconds{4}, seconds{8}},
             Case{"9", seconds{8}, seconds{16}},
             Case{"10", seconds{16}, seconds{32}},
             Case{"11", seconds{32}, seconds{60}},
             Case{"12", seconds{60}, seconds{60}},
             Case{"not yet", seconds{119}, seconds{60}},
             Case{"forgotten", seconds{120}, seconds{0}},
         })
    {
        SCOPED_TRACE(each.what);
        now += each.pause;
        EXPECT_EQ(attempts.wait("anna", now), seconds{0});
        attempts.wrong("anna", now);
        EXPECT_EQ(attempts.wait("anna", now), each.wait);
    }
    EXPECT_EQ(attempts.wait("bert", now), seconds{0});
    attempts.forget_old(now + seconds{120});
    EXPECT_EQ(attempts.size(), 0U);
}

TEST(Attempts, of_more_than_are_kept_lose_the_oldest)
{
    Attempts attempts(3);
    Attempts::Time const now{};
    for (auto const* const key : {"a", "b", "c", "a", "d"})
    {
        attempts.wrong(key, now);
    }
    EXPECT_EQ(attempts.size(), 3U);
    for (int count = 0; count < 3; ++count)
    {
        attempts.wrong("a", now);
    }
    EXPECT_EQ(attempts.wait("a", now), seconds{1}) << "it was forgotten in the place of another";
    attempts.right("a");
    EXPECT_EQ(attempts.wait("a", now), seconds{0});
}

TEST(Attempts, of_one_host_count_together)
{
    auto const key = attempts_key_of_address;
    EXPECT_EQ(key("2001:db8:1:2::1"), key("2001:db8:1:2:ffff::9"));
    EXPECT_NE(key("2001:db8:1:2::1"), key("2001:db8:1:3::1"));
    EXPECT_EQ(key("::ffff:10.0.0.1"), key("10.0.0.1"));
    EXPECT_NE(key("::ffff:10.0.0.1"), key("::ffff:10.0.0.2"));
    EXPECT_EQ(key("not an address"), "not an address");
}

TEST(CheckThreads, run_two_while_twenty_wait)
{
    constexpr int most = 22;
    std::latch release(1);
    std::atomic<int> running = 0;
    std::atomic<int> most_running = 0;
    std::latch all(most);
    auto const check = [&]
    {
        auto const now = ++running;
        most_running = std::max(most_running.load(), now);
        release.wait();
        --running;
        all.count_down();
    };
    CheckThreads threads;
    for (int count = 0; count < most; ++count)
    {
        EXPECT_TRUE(threads.add(check)) << count;
    }
    EXPECT_FALSE(threads.add(check));
    release.count_down();
    all.wait();
    EXPECT_LE(most_running, 2);
}

} // namespace

} // namespace Ravik::Test
