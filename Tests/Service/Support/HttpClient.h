#pragma once

#include <openssl/ssl.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace Ravik::Test
{

/// An answer as it came: nothing of it is taken for granted.
struct Answer
{
    unsigned status = 0;
    /// Names in lower case.
    std::multimap<std::string, std::string> fields;
    std::string body;

    /// The field's value, empty where it does not stand there exactly once.
    std::string field(std::string const& name) const;
};

/// A client of plain sockets, with TLS for "https": it sends whatever bytes it is given.
class HttpClient
{
public:
    /// Connects to "http://127.0.0.1:8420/", an IPv6 address too. A small receive buffer makes a client that does not
    /// read a burden soon.
    explicit HttpClient(std::string const& address, int receive_buffer = 0);
    HttpClient(HttpClient const&) = delete;
    HttpClient& operator=(HttpClient const&) = delete;
    ~HttpClient();

    /// False where the server has closed.
    bool send(std::string_view bytes);
    /// An answer; its status is 0 where the connection ended, or nothing came for long, before it was whole.
    Answer read_answer(bool has_body = true);
    Answer exchange(std::string_view request);
    /// Whether the server ends the connection with nothing more to read.
    bool is_closed_by_server();
    /// Whether the server breaks the connection off, whatever of it has not been read.
    bool is_cut_off();
    /// Exactly so many bytes, fewer where the connection ends.
    std::string read(std::size_t size);
    void shut_down_sending();
    /// Breaks the connection off with a reset.
    void hang_up();
    /// The serial number of the server's certificate.
    long serial() const;

private:
    bool receive();
    void start_tls();

    int m_socket;
    std::unique_ptr<SSL, decltype(&SSL_free)> m_tls{nullptr, SSL_free};
    std::string m_input;
};

/// A frame of a WebSocket as it came from the server.
struct Frame
{
    unsigned opcode = 0;
    std::string payload;

    static constexpr unsigned text = 1;
    static constexpr unsigned closing = 8;
    static constexpr unsigned ping = 9;
    static constexpr unsigned pong = 10;

    /// The status of a close frame.
    unsigned close_code() const;
};

/// A request for a WebSocket; `more` are further lines of the header, each with its end.
std::string upgrade_request(std::string const& path, std::string const& more = "");
/// A masked frame.
std::string frame(unsigned opcode, std::string_view payload, bool is_last = true);
/// The next frame; its opcode is 0 where the connection ends.
Frame read_frame(HttpClient& client);

} // namespace Ravik::Test
