// SPDX-License-Identifier: Apache-2.0
// Reading and writing without blocking, with what is still to go.
#include "sim/loop/Connection.h"

#include <sys/socket.h>

#include <cerrno>

namespace Sim
{

namespace
{

bool later(int error)
{
    return error == EAGAIN || error == EINTR;
}

} // namespace

std::string Connection::read(std::size_t most)
{
    std::string bytes(most, '\0');
    const ssize_t got = most == 0 || ended_ ? 0 : ::recv(socket_.get(), bytes.data(), bytes.size(), 0);
    ended_ = ended_ || (got == 0 && most != 0) || (got < 0 && !later(errno));
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
}

void Connection::write(std::string_view bytes)
{
    kept_ += bytes;
    flush();
}

void Connection::flush()
{
    while (!kept_.empty() && !broken_) {
        const ssize_t sent = ::send(socket_.get(), kept_.data(), kept_.size(), MSG_NOSIGNAL);
        if (sent < 0 && later(errno))
            return;
        broken_ = sent < 0;
        kept_.erase(0, sent > 0 ? static_cast<std::size_t>(sent) : 0);
    }
}

void Connection::addTo(std::vector<pollfd>& waiting) const
{
    const bool writing = !kept_.empty();
    if (writing || !ended_)
        waiting.push_back({socket_.get(), static_cast<short>(writing ? POLLOUT : POLLIN), 0});
}

} // namespace Sim
