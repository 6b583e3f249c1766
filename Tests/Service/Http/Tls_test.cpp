#include "TestServer.h"

#include "Service/Support/HttpClient.h"

#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <thread>

namespace Ravik::Test
{
namespace
{

using namespace Service;
using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr long day = 86'400;

/// Files of PEM with a key and a certificate of it, signed by itself and good for ten days.
class TlsTest : public testing::Test
{
protected:
    void make(long serial)
    {
        std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> const key(::EVP_EC_gen("P-256"), EVP_PKEY_free);
        std::unique_ptr<X509, decltype(&X509_free)> const certificate(::X509_new(), X509_free);
        ::X509_set_version(certificate.get(), 2);
        ::ASN1_INTEGER_set(::X509_get_serialNumber(certificate.get()), serial);
        ::X509_gmtime_adj(::X509_getm_notBefore(certificate.get()), 0);
        ::X509_gmtime_adj(::X509_getm_notAfter(certificate.get()), 10 * day);
        ::X509_set_pubkey(certificate.get(), key.get());
        ::X509_sign(certificate.get(), key.get(), ::EVP_sha256());
        write(m_files.certificate, [&](std::FILE* file) { ::PEM_write_X509(file, certificate.get()); });
        write(m_files.key,
              [&](std::FILE* file) { ::PEM_write_PrivateKey(file, key.get(), nullptr, nullptr, 0, nullptr, nullptr); });
    }

    HttpSettings settings(HttpLimits const& limits = {}) const
    {
        auto settings = TestServer::settings_of(limits);
        settings.tls = m_files;
        return settings;
    }

    TemporaryFolder m_folder;
    TlsFiles m_files{.certificate = m_folder.path() / "certificate.pem", .key = m_folder.path() / "key.pem"};

private:
    template <typename Content> static void write(std::string const& name, Content const& content)
    {
        std::unique_ptr<std::FILE, decltype(&std::fclose)> const file(std::fopen(name.c_str(), "w"), std::fclose);
        content(file.get());
    }
};

std::string get(std::string const& path)
{
    return "GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n";
}

TEST_F(TlsTest, serves_requests_and_streams)
{
    make(1);
    TestServer server(settings());
    EXPECT_THAT(server.address(), testing::StartsWith("https://127.0.0.1:"));
    HttpClient client(server.address());
    client.send(get("/echo") + get("/large"));
    EXPECT_EQ(client.read_answer().body, "GET /echo ");
    EXPECT_EQ(client.read_answer().body.size(), TestHandler::large);
    EXPECT_TRUE(server.handler.requests.take().value_or(RequestHead{}).secure);

    client.send(upgrade_request("/stream"));
    EXPECT_EQ(client.read_answer().status, 101);
    client.send(frame(Frame::text, "hello"));
    EXPECT_EQ(read_frame(client).payload, "heard hello");
    std::thread stopping([&] { server.server.stop("bye", 10s); });
    EXPECT_EQ(read_frame(client).close_code(), 1001);
    client.send(frame(Frame::closing, "\x03\xe9"));
    client.shut_down_sending();
    stopping.join();
}

TEST_F(TlsTest, lets_the_answer_be_seen_that_refuses_a_body)
{
    make(1);
    HttpLimits limits;
    limits.header_time = limits.rate_time = 60ms;
    TestServer server(settings(limits));
    HttpClient client(server.address());
    client.send("PUT /echo HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1000000\r\n\r\n" + std::string(100'000, 'x'));
    EXPECT_EQ(client.read_answer().status, 413);
    EXPECT_TRUE(client.is_closed_by_server());
    HttpClient slow(server.address());
    slow.send("PUT /echo HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10\r\n\r\n");
    EXPECT_EQ(slow.read_answer().status, 408);
    EXPECT_TRUE(slow.is_closed_by_server());
}

TEST_F(TlsTest, gives_up_what_is_no_handshake)
{
    make(1);
    HttpLimits limits;
    limits.header_time = 60ms;
    TestServer server(settings(limits));
    auto const plain = "http" + server.address().substr(5);
    HttpClient silent(plain);
    EXPECT_TRUE(silent.is_closed_by_server());
    HttpClient clear(plain);
    clear.send(get("/echo"));
    EXPECT_EQ(clear.read_answer().status, 0);
    EXPECT_TRUE(server.handler.requests.all().empty());
}

TEST_F(TlsTest, reads_both_files_again_or_neither)
{
    make(1);
    TestServer server(settings());
    EXPECT_NEAR(server.server.certificate_days().value_or(0), 10, 0.1);
    HttpClient before(server.address());
    EXPECT_EQ(before.serial(), 1);

    auto const first_key = content_of(m_files.key);
    make(2);
    auto const second_key = content_of(m_files.key);
    m_folder.write("key.pem", first_key);
    EXPECT_THAT(server.server.reload_tls(), HasSubstr("key.pem can't be used with the certificate"));
    EXPECT_EQ(HttpClient(server.address()).serial(), 1);

    m_folder.write("key.pem", second_key);
    EXPECT_EQ(server.server.reload_tls(), "");
    EXPECT_EQ(HttpClient(server.address()).serial(), 2);
    EXPECT_EQ(before.exchange(get("/echo")).status, 200);

    m_folder.write("certificate.pem", "nonsense");
    EXPECT_THAT(server.server.reload_tls(), HasSubstr("certificate.pem can't be used"));
    EXPECT_EQ(HttpClient(server.address()).serial(), 2);
    EXPECT_THROW(HttpServer(settings(), server.handler, server.log), std::runtime_error);
}

} // namespace
} // namespace Ravik::Test
