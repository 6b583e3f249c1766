#include "Client/operations.h"

#include <map>

namespace Ravik::Wire
{

namespace
{

using Handler = void (*)(Project&, ByteReader&, ServiceSide&, ByteWriter&);
using Handlers = std::map<std::string_view, Handler>;

template <std::size_t position>
void handle(Project& project, ByteReader& bytes, ServiceSide& service, ByteWriter& result)
{
    auto const outcome = std::get<position>(Operations::all).carry_out(project, bytes, service);
    if constexpr (std::is_same_v<decltype(outcome), RavikSrv::Session const>)
    {
        service.begun(outcome);
    }
    Encoder(result).write(outcome);
}

template <std::size_t... positions> Handlers handlers_of(std::index_sequence<positions...> /*all*/)
{
    return {{std::get<positions>(Operations::all).name, &handle<positions>}...};
}

} // namespace

void carry_out(std::string_view name, Project& project, ByteReader& bytes, ServiceSide& service, ByteWriter& result)
{
    static auto const handlers = handlers_of(std::make_index_sequence<std::tuple_size_v<decltype(Operations::all)>>());
    auto const found = handlers.find(name);
    if (found == handlers.end())
    {
        throw BrokenMessage("there is no operation of that name");
    }
    found->second(project, bytes, service, result);
}

} // namespace Ravik::Wire
