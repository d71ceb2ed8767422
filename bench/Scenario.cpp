// SPDX-License-Identifier: Apache-2.0
// Opening node 0 on a machine, and loading it.
#include "Scenario.h"

#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"

#include <cstdio>
#include <cstdlib>

namespace Bench
{

namespace
{

void demand(bool fine, const char* what)
{
    if (fine)
        return;
    std::fprintf(stderr, "trx-bench: %s\n", what);
    std::exit(1);
}

} // namespace

OpenNode::OpenNode()
{
    demand(Ipmi::IpmiIfcOpenIpmiOpen(0) >= 0, "the simulated /dev/ipmi0 cannot be opened");
    demand(Ipmi::IpmiIfcInitForCLI(0) == 0, "node 0 cannot be prepared");
    demand(Sim::Shim::served() > 0, "the library has not reached the simulated device");
}

OpenNode::~OpenNode()
{
    Ipmi::IpmiIfcCloseForCLI(0);
}

void Scenario::load() const
{
    Ipmi::IpmiIfcSdrGetInfo(0);
    demand(Ipmi::IpmiIfc::getSensors().size() == records_, "not every sensor was read");
}

} // namespace Bench
