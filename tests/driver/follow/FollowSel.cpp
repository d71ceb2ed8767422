// follow-sel COMMAND...: follows the event log of node 0 as a polling loop does, through its incremental reader. After
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
    if (Ipmi::IpmiIfcOpenIpmiOpen(0) < 0 || Ipmi::IpmiIfcInitForCLI(0) != 0 || Ipmi::IpmiIfcSelGetInfo(0, nullptr) != 0)
        return 1;
    Ipmi::_setState(0, IpmiIfc::IPMI_STATE_RUNNING);
    int handled = 0;
    IpmiIfc::registerSelEventHandler(
        0, [](void* count, Ipmi::IpmiSelData*) { ++*static_cast<int*>(count); }, &handled);
    for (int i = 1; i < argc; ++i) {
        sleep(1); // a newer time of addition, in seconds, tells that there is something new
        if (std::system(argv[i]) != 0)
            return 1;
        Ipmi::IpmiIfcSelGetInfo(0, nullptr);
        std::printf("%d handled, records", handled);
        for (const auto& record : IpmiIfc::getSelData(0))
            std::printf(" %u", record->recordId());
        std::puts("");
    }
    Ipmi::IpmiIfcCloseForCLI(0);
}
