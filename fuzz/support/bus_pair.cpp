#include "fuzz/support/bus_pair.hpp"

#include "fuzz/support/require.hpp"

#include <array>
#include <sys/socket.h>

namespace
{

sd_bus* start(int socket, bool is_server)
{
    sd_bus* connection = nullptr;
    require_success(sd_bus_new(&connection));
    require_success(sd_bus_set_fd(connection, socket, socket));
    require_success(sd_bus_set_server(connection, is_server, sd_id128_t{}));
    require_success(sd_bus_set_anonymous(connection, true));
    require_success(sd_bus_start(connection));
    return connection;
}

} // namespace

BusPair::BusPair()
{
    std::array<int, 2> sockets{};
    require_success(
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, sockets.data()));
    local = start(sockets[0], false);
    peer = start(sockets[1], true);
    while (sd_bus_is_ready(local) == 0 || sd_bus_is_ready(peer) == 0)
    {
        require_success(sd_bus_process(local, nullptr));
        require_success(sd_bus_process(peer, nullptr));
    }
}

BusPair::~BusPair()
{
    sd_bus_close_unref(local);
    sd_bus_close_unref(peer);
}

void seal(sd_bus_message* message)
{
    require(sd_bus_message_seal(message, 1, 0) >= 0, "a message is complete");
    require(sd_bus_message_rewind(message, true) >= 0, "a message has a beginning");
}
