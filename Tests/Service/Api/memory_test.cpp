#include "Access/UserFile.h"
#include "ApiClient.h"

#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace Ravik::Test
{
namespace
{

/// `ravik serve` as a process of its own, on a free port.
class ServingProcess
{
public:
    explicit ServingProcess(std::string const& project)
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe(ends.data()), 0);
        m_process = ::fork();
        if (m_process == 0)
        {
            ::dup2(ends[1], STDERR_FILENO);
            ::execl(RAVIK_PROGRAM, "ravik", "--project", project.c_str(), "serve", "--listen", "127.0.0.1:0", "--trust",
                    nullptr);
            ::_exit(EXIT_FAILURE);
        }
        ::close(ends[1]);
        m_errors = ends[0];
        wait_for_address();
    }
    ServingProcess(ServingProcess const&) = delete;
    ServingProcess& operator=(ServingProcess const&) = delete;
    ~ServingProcess()
    {
        ::kill(m_process, SIGTERM);
        ::waitpid(m_process, nullptr, 0);
        ::close(m_errors);
    }

    std::string const& address() const { return m_address; }

    /// The most memory that it has had so far, in MiB.
    long peak() const
    {
        std::ifstream status("/proc/" + std::to_string(m_process) + "/status");
        for (std::string word; status >> word;)
        {
            if (word == "VmHWM:")
            {
                long kilobytes = 0;
                status >> kilobytes;
                return kilobytes / 1024;
            }
        }
        return -1;
    }

private:
    void wait_for_address()
    {
        std::string text;
        for (char byte = 0; ::read(m_errors, &byte, 1) == 1;)
        {
            if (byte != '\n')
            {
                text += byte;
                continue;
            }
            if (auto const begin = text.find("http://"); begin != std::string::npos)
            {
                m_address = text.substr(begin);
                return;
            }
            text.clear();
        }
        ADD_FAILURE() << "it does not listen: " << text;
    }

    pid_t m_process = 0;
    int m_errors = -1;
    std::string m_address;
};

constexpr std::size_t most_bytes = 64U << 20U;
/// Of brackets and commas; each list here has one of both. A sanitizer takes memory and time of its own, so that only
/// the answers are looked at there.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool is_measured = false;
constexpr std::size_t most_values = 199'000;
#else
constexpr bool is_measured = true;
constexpr std::size_t most_values = 3'999'000;
#endif

/// So many elements, as long as there is room, from `begin` to `end`.
std::string filled(std::string const& begin, std::string const& end, std::size_t count, std::string const& element)
{
    auto text = begin + element;
    for (std::size_t index = 1; index < count && text.size() + 32 < most_bytes; ++index)
    {
        text.append(1, ',').append(element);
    }
    return text + end;
}

TEST(Memory, of_a_service_that_imports_rubbish_has_a_bound)
{
    TemporaryFolder const folder;
    folder.write("ravik.json",
                 R"({"extensions":[{"domain":"RavikRecipeManagement","library":")" RECIPE_MANAGEMENT_LIBRARY
                 R"("}],"symbols":{}})");
    std::string token;
    Service::UserFile file(Service::users_file_of(folder.path()));
    ASSERT_EQ(file.add_token("t", Service::Role::Engineer, std::nullopt, token).text, "");
    ServingProcess const service(folder.path().string());

    // Mistakes, each of which is to be told with its place.
    std::string mistakes = R"({"recipeList":{"first":7)";
    for (int index = 0; index < 20'000; ++index)
    {
        mistakes += ",\"k" + std::to_string(index) + "\":0";
    }
    struct Case
    {
        char const* name;
        std::string body;
        unsigned status;
    };
    for (auto const& each : std::vector<Case>{
             {"lists", filled("[", "]", most_bytes, "[]"), 413},
             {"an open list", filled("[", ",", most_bytes, "[]"), 413},
             {"as many lists as there may be", filled("[", "]", most_values / 2, "[]"), 422},
             {"as many numbers", filled(R"({"recipeList":{"a":[)", "]}}", most_values, "1"), 422},
             {"mistakes", mistakes + "}}", 422},
         })
    {
        SCOPED_TRACE(each.name);
        ApiClient client(service.address(), "Authorization: Bearer " + token + "\r\n");
        auto const answer = client.send("POST", "/imports", each.body);
        EXPECT_EQ(answer.status, each.status) << answer.body.substr(0, 300);
        EXPECT_LE(is_measured ? service.peak() : 0, 512);
        EXPECT_EQ(client.get("/healthz").status, 200U);
    }
}

} // namespace
} // namespace Ravik::Test
