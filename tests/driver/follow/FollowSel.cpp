// SPDX-License-Identifier: Apache-2.0
// follow-sel NODE COMMAND...: follows a node's event log as a polling loop does, through its incremental reader. After
// each command it tells how many events were handled so far, and which records are known.
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "node/IpmiNode.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

int main(int argc, char** argv)
{
    using Ipmi::IpmiIfc;
    const int node = argc > 1 ? std::atoi(argv[1]) : 0;
    if (Ipmi::IpmiIfcOpenIpmiOpen(node) < 0 || Ipmi::IpmiIfcInitForCLI(node) != 0 ||
        Ipmi::IpmiIfcSelGetInfo(node, nullptr) != 0)
        return 1;
    Ipmi::_setState(node, IpmiIfc::IPMI_STATE_RUNNING);
    int handled = 0;
    IpmiIfc::registerSelEventHandler(
        node, [](void* count, Ipmi::IpmiSelData*) { ++*static_cast<int*>(count); }, &handled);
    for (int i = 2; i < argc; ++i) {
        sleep(1); // a newer time of addition, in seconds, tells that there is something new
        if (std::system(argv[i]) != 0)
            return 1;
        Ipmi::IpmiIfcSelGetInfo(node, nullptr);
        std::printf("%d handled, records", handled);
        for (const auto& record : IpmiIfc::getSelData(node))
            std::printf(" %u", record->recordId());
        std::puts("");
    }
    Ipmi::IpmiIfcCloseForCLI(node);
}
