// SPDX-License-Identifier: Apache-2.0
// The socket through which a serving simulator is controlled.
#pragma once

#include "sim/control/Control.h"
#include "sim/loop/Connection.h"
#include "sim/loop/EventLoop.h"
#include "sim/loop/Listener.h"

#include <deque>
#include <string>

namespace Sim
{

/// Any number of requests a connection, one line each; the answers come in their order.
class ControlServer final : public Served
{
public:
    /// A longer line is answered with an error, and its client is left.
    static constexpr std::size_t kLongestLine = 65'536;

    /// Listens at `path`. Throws std::runtime_error.
    ControlServer(Bmc& bmc, const std::string& path);

    void addTo(std::vector<pollfd>& waiting) const override;
    bool serve() override;

private:
    struct Client {
        Connection connection;
        std::string input{};
        bool left = false;
    };

    void advance(Client& client);
    void answerLines(Client& client);

    Control control_;
    Listener listener_;
    std::deque<Client> clients_;
};

} // namespace Sim
