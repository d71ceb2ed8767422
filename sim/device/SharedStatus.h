// SPDX-License-Identifier: Apache-2.0
// The page in which a device's users see its status.
#pragma once

#include "sim/device/Frame.h"

namespace Sim
{

/// Memory, not messages: a user looks at it before each command, when an answer may still wait in its socket.
class SharedStatus
{
public:
    /// Throws std::system_error.
    SharedStatus();
    ~SharedStatus();
    SharedStatus(const SharedStatus&) = delete;
    SharedStatus& operator=(const SharedStatus&) = delete;

    /// Relaxed, so that ThreadSanitizer sees no order between users that a device does not give.
    void setBusy(bool busy) { page_->busy.store(busy ? 1 : 0, std::memory_order_relaxed); }
    /// Sends the hello with the page's descriptor to a user.
    void greet(int user, Frame::Header hello) const;

private:
    int fd_;
    Frame::Status* page_;
};

} // namespace Sim
