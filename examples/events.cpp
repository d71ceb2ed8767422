// SPDX-License-Identifier: Apache-2.0
// Prints the events of node 0, the BMC behind /dev/ipmi0, as they come: until Ctrl-C, or for as many seconds as the
// argument says. Run it as root.
#include <ipmi/ipmi.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>

using Ipmi::IpmiIfc;

namespace
{

std::string timeOf(const Ipmi::IpmiSelData& record)
{
    constexpr std::time_t kLastSinceStart = 0x20000000, kNone = 0xffffffff;
    const std::time_t time = record.messageTimeStamp();
    if (time <= kLastSinceStart || time == kNone)
        return "no date";
    char text[32];
    std::strftime(text, sizeof text, "%F %T", std::localtime(&time));
    return text;
}

/// Called in the node's thread; without a record at the end of a cycle.
void onEvent(void* /*argument*/, Ipmi::IpmiSelData* record)
{
    if (!record)
        return;
    const auto sensor = IpmiIfc::getSensor(0, record->getSensorNumber(), record->getGeneratorId());
    const std::string name = sensor ? sensor->getName() : "sensor " + std::to_string(record->getSensorNumber());
    std::printf("%s  %-24s %s\n", timeOf(*record).c_str(), name.c_str(), record->caption().c_str());
}

/// The node's thread: until IpmiIfc::stop.
void runNode()
{
    constexpr int kInterval = 1; // 16 seconds between two looks at the event log
    try {
        IpmiIfc::start(0, kInterval);
    } catch (const Ipmi::CmpiStatus& status) {
        std::fprintf(stderr, "node 0: code %d\n", static_cast<int>(status.rc()));
    }
}

} // namespace

int main(int argc, char** argv)
{
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr); // before there are threads, which inherit it
    std::setvbuf(stdout, nullptr, _IOLBF, 0);

    std::thread node(runNode);
    // start() drops the handlers registered before: wait until the node runs. It has read the repository by then.
    const int state = IpmiIfc::waitState(0, IpmiIfc::IPMI_STATE_RUNNING | IpmiIfc::IPMI_STATE_STOPPED);
    const bool runs = state == IpmiIfc::IPMI_STATE_RUNNING;
    if (runs) {
        IpmiIfc::registerSelEventHandler(0, onEvent, nullptr);
        std::printf("waiting for events of %zu sensors\n", IpmiIfc::getSensors(0).size());
        const timespec most{argc > 1 ? std::atol(argv[1]) : 0, 0};
        argc > 1 ? sigtimedwait(&ends, nullptr, &most) : sigwaitinfo(&ends, nullptr);
        IpmiIfc::stop(0); // what the node waits for is given up
    } else {
        std::fprintf(stderr, "node 0 does not run; the system log says why\n");
    }
    node.join();
    return runs ? 0 : 1;
}
