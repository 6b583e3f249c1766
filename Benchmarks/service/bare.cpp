// A bare HTTP server for comparison: what Beast alone costs a request.
//
// usage: benchmark_service_bare FILE
//
// Answers every request on 127.0.0.1 with the answer in FILE, header and body, on one thread, and stays connected.
// Knows no routes, users, limits, deadlines or log. Writes where it listens on standard error.

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>

#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

namespace
{

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::ip::tcp;
using Answer = http::response<http::string_body>;

class Connection : public std::enable_shared_from_this<Connection>
{
public:
    Connection(tcp::socket socket, Answer const& answer) : m_socket(std::move(socket)), m_answer(answer)
    {
        m_socket.set_option(tcp::no_delay(true));
    }

    void read()
    {
        m_request = {};
        http::async_read(m_socket, m_input, m_request,
                         [self = shared_from_this()](beast::error_code error, std::size_t /*count*/)
                         {
                             if (!error)
                             {
                                 self->write();
                             }
                         });
    }

private:
    void write()
    {
        http::async_write(m_socket, m_answer,
                          [self = shared_from_this()](beast::error_code error, std::size_t /*count*/)
                          {
                              if (!error)
                              {
                                  self->read();
                              }
                          });
    }

    tcp::socket m_socket;
    Answer const& m_answer;
    beast::flat_buffer m_input;
    http::request<http::string_body> m_request;
};

Answer answer_in(char const* name)
{
    std::ifstream file(name, std::ios::binary);
    std::string const text{std::istreambuf_iterator<char>(file), {}};
    http::response_parser<http::string_body> parser;
    parser.eager(true);
    beast::error_code error;
    parser.put(asio::buffer(text), error);
    if (error || !parser.is_done())
    {
        throw std::runtime_error(std::string(name) + " holds no whole answer");
    }
    return parser.release();
}

void accept(tcp::acceptor& acceptor, Answer const& answer)
{
    acceptor.async_accept(
        [&](beast::error_code error, tcp::socket socket)
        {
            if (!error)
            {
                std::make_shared<Connection>(std::move(socket), answer)->read();
            }
            accept(acceptor, answer);
        });
}

} // namespace

int main(int count, char** arguments)
{
    try
    {
        if (count != 2)
        {
            throw std::runtime_error("usage: benchmark_service_bare FILE");
        }
        auto const answer = answer_in(arguments[1]);
        asio::io_context io(1);
        tcp::acceptor acceptor(io, {asio::ip::make_address("127.0.0.1"), 0});
        std::fprintf(stderr, "Listening on http://127.0.0.1:%u/\n", unsigned{acceptor.local_endpoint().port()});
        accept(acceptor, answer);
        io.run();
    }
    catch (std::exception const& error)
    {
        std::fprintf(stderr, "benchmark_service_bare: %s\n", error.what());
        return 1;
    }
}
