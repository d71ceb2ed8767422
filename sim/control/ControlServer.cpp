// SPDX-License-Identifier: Apache-2.0
// Lines from many clients, each answered in its turn.
#include "sim/control/ControlServer.h"

#include <sys/socket.h>

namespace Sim
{

namespace
{

constexpr std::size_t kMostClients = 16;

} // namespace

ControlServer::ControlServer(Bmc& bmc, const std::string& path) : control_(bmc), listener_(path, SOCK_STREAM) {}

void ControlServer::addTo(std::vector<pollfd>& waiting) const
{
    waiting.push_back({listener_.descriptor(), POLLIN, 0});
    for (const Client& client : clients_)
        client.connection.addTo(waiting);
}

bool ControlServer::serve()
{
    while (Descriptor socket = listener_.accept(SOCK_NONBLOCK)) {
        clients_.push_back({Connection(std::move(socket))});
        if (clients_.size() > kMostClients)
            clients_.pop_front(); // the one that is there for longest gives way
    }
    for (Client& client : clients_)
        advance(client);
    std::erase_if(clients_, [](const Client& client) {
        const bool done = client.left || client.connection.ended();
        return client.connection.broken() || (done && client.connection.kept() == 0);
    });
    return true;
}

/// A client takes its answers before it is read further.
void ControlServer::advance(Client& client)
{
    client.connection.flush();
    if (client.connection.kept() != 0 || client.left)
        return;
    client.input += client.connection.read(kLongestLine + 1 - client.input.size());
    answerLines(client);
    if (client.input.size() > kLongestLine && client.connection.kept() == 0) {
        client.connection.write("{\"error\":\"request: longer than 65536 bytes\"}\n");
        client.left = true;
    }
}

void ControlServer::answerLines(Client& client)
{
    std::size_t start = 0;
    for (std::size_t end; client.connection.kept() == 0; start = end + 1) {
        end = client.input.find('\n', start);
        if (end == std::string::npos)
            break;
        client.connection.write(control_.answer(std::string_view(client.input).substr(start, end - start)));
    }
    client.input.erase(0, start);
}

} // namespace Sim
