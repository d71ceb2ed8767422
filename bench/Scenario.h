// A machine on /dev/ipmi0 with the library's node 0 open on it.
#pragma once

#include "BigMachine.h"
#include "SimDevice.h"

namespace Bench
{

class Scenario
{
public:
    /// Ends the program with a line when the node cannot be opened.
    explicit Scenario(unsigned records);
    ~Scenario();
    Scenario(const Scenario&) = delete;
    Scenario& operator=(const Scenario&) = delete;

    const BigBmc& bmc() const { return bmc_; }
    /// Reads everything; ends the program with a line unless there are then `records` sensors.
    void load() const;

private:
    unsigned records_;
    BigBmc bmc_;
    SimDevice device_;
};

} // namespace Bench
