// SPDX-License-Identifier: Apache-2.0
// A node of the library whose polling loop runs, in a thread of its own.
#pragma once

#include "ipmi/IpmiIfc.h"

#include <ctime>
#include <string>
#include <thread>

namespace Bench
{

/// Node 1, then 2, then 3: a node runs once per process, and node 0 is that of the measurements without a loop.
class RunningNode
{
public:
    /// Returns when the loop waits for its first cycle, which nothing but cycle() begins, or when there is an error.
    RunningNode();
    /// Ends the loop.
    ~RunningNode();
    RunningNode(const RunningNode&) = delete;
    RunningNode& operator=(const RunningNode&) = delete;

    /// Why the loop does not run; empty while it does.
    const std::string& error() const { return error_; }
    int number() const { return node_; }

    /// Wakes the loop, which waits, and returns when it waits again; what its thread wrote can then be read. At once
    /// where there is an error.
    void cycle(Ipmi::IpmiIfc::IPMI_POLL_TYPE type);
    /// Microseconds of processor time that the loop's thread has used.
    double processorTime() const;

private:
    void waitForCycleAfter(int count);

    int node_;
    std::string error_;
    std::thread thread_;
    clockid_t clock_{};
};

} // namespace Bench
