// SPDX-License-Identifier: Apache-2.0
// Where clients connect: a socket in a folder, or a port of this machine.
#pragma once

#include "sim/loop/Descriptor.h"

#include <cstdint>
#include <string>

namespace Sim
{

/// Listens while it lives. Its descriptors are close-on-exec, and accept() does not wait.
class Listener
{
public:
    /// A socket at `path`, removed at the end; `type` is SOCK_STREAM or SOCK_SEQPACKET. Throws std::runtime_error.
    Listener(const std::string& path, int type);
    /// 127.0.0.1, any free port when it is 0. Throws std::runtime_error.
    explicit Listener(std::uint16_t port);
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    int descriptor() const { return socket_.get(); }
    std::uint16_t port() const;
    /// The next client, blocking or not as `flags` say (SOCK_NONBLOCK); empty when nobody waits.
    Descriptor accept(int flags) const;

private:
    Descriptor socket_;
    std::string path_;
};

} // namespace Sim
