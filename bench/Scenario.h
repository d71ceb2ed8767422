// SPDX-License-Identifier: Apache-2.0
// A machine on /dev/ipmi0 with the library's node 0 open on it.
#pragma once

#include "BigMachine.h"
#include "SimDevice.h"

namespace Bench
{

/// The library's node 0, open on the simulated device.
class OpenNode
{
public:
    /// Ends the program with a line when it cannot be opened.
    OpenNode();
    ~OpenNode();
    OpenNode(const OpenNode&) = delete;
    OpenNode& operator=(const OpenNode&) = delete;
};

class Scenario
{
public:
    explicit Scenario(unsigned records) : records_(records), bmc_(records), device_(bmc_) {}

    const BigBmc& bmc() const { return bmc_; }
    /// Reads everything; ends the program with a line unless there are then `records` sensors.
    void load() const;

private:
    unsigned records_;
    BigBmc bmc_;
    SimDevice device_;
    OpenNode node_;
};

} // namespace Bench
