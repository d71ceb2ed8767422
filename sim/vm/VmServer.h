// SPDX-License-Identifier: Apache-2.0
// The BMC of an emulated machine: serves QEMU's ipmi-bmc-extern device over TCP.
#pragma once

#include "sim/bus/SystemInterface.h"
#include "sim/loop/Connection.h"
#include "sim/loop/EventLoop.h"
#include "sim/loop/Listener.h"
#include "sim/vm/VmFrame.h"

#include <cstdint>
#include <optional>

namespace Sim
{

/// One virtual machine at a time; a new connection replaces the old one.
class VmServer final : public Served
{
public:
    /// Listens on 127.0.0.1; port 0: any free one. `bmc` must outlive it. Throws std::runtime_error.
    VmServer(SystemInterface& bmc, Now now, std::uint16_t port);

    std::uint16_t port() const { return listener_.port(); }
    void addTo(std::vector<pollfd>& waiting) const override;
    std::optional<std::chrono::milliseconds> nextDue() const override;
    bool serve() override;

private:
    struct Pending {
        VmRequest request;
        std::vector<std::uint8_t> answer;
        std::chrono::milliseconds asked{0};
        std::chrono::milliseconds due{0};
    };

    void acceptMachine();
    void readMachine();
    void ask(const VmRequest& request);
    void advance();
    void sendAnswer();
    void send(const std::vector<std::uint8_t>& bytes);

    SystemInterface& bmc_;
    Now now_;
    Listener listener_;
    std::optional<Connection> machine_;
    VmDecoder decoder_;
    std::optional<Pending> pending_;
    bool attention_ = false; ///< as the machine was told
};

} // namespace Sim
