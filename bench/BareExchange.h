// SPDX-License-Identifier: Apache-2.0
// The least that a program can do for one command: send, poll, receive.
#pragma once

namespace Bench
{

class BareExchange
{
public:
    /// Another user of /dev/ipmi0. Ends the program with a line when it cannot be opened.
    BareExchange();
    ~BareExchange();
    BareExchange(const BareExchange&) = delete;
    BareExchange& operator=(const BareExchange&) = delete;

    /// Get Device ID; true for completion code 00h.
    bool getDeviceId();

private:
    int fd_;
    long id_ = 0;
};

} // namespace Bench
