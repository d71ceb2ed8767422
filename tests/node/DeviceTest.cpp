// Opening, closing and setting up a node's device; a node's use without a polling loop.
#include "ipmi/CmpiStatus.h"
#include "node/NodeFixture.h"
#include "node/SignalPipe.h"
#include "sdr/IpmiIfcSdr.h"
#include "sdr/IpmiIfcSensor.h"

#include <fcntl.h>
#include <linux/ipmi.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

using namespace Ipmi;

namespace
{

using Device = NodeFixture;
using Lines = std::vector<Support::LogLine>;

bool isOpen(int fd)
{
    return fcntl(fd, F_GETFD) != -1;
}

TEST_F(Device, opensAndClosesWithoutLosingDescriptors)
{
    EXPECT_EQ(node.deviceOpen, 1);
    EXPECT_NE(fcntl(node.fd, F_GETFD) & FD_CLOEXEC, 0);
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(IpmiIfcOpenIpmiOpen(0), node.fd); // closes the one before
    const int last = node.fd;
    EXPECT_LT(last, 50);
    for (int i = 0; i < 2; ++i)
        IpmiIfcOpenIpmiClose(0);
    EXPECT_FALSE(isOpen(last));
    EXPECT_EQ(node.fd, -1);
    EXPECT_EQ(node.deviceOpen, 0);

    sim.remove();
    EXPECT_EQ(IpmiIfcOpenIpmiOpen(0), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(
        sim.log().has(LOG_ERR, "IpmiIfcOpenIpmiOpen: open(/dev/ipmi0, RDWR) failed 2 No such file or directory"));

    ASSERT_TRUE(isOpen(0)); // descriptor 0, as a record says before it is initialised, is the program's
    IpmiIfcOpenIpmiClose(3);
    closeSignalPipe(3);
    EXPECT_EQ(IpmiIfcCloseForCLI(3), 0);
    EXPECT_TRUE(isOpen(0));
}

TEST_F(Device, numbersOfNoNodeAreSafe)
{
    static ipmiifc_req req;
    using Call = int (*)(int node);
    const std::pair<int, std::vector<Call>> rows[] = {
        {-2,
         {IpmiIfcOpenIpmiOpen, IpmiIfcInitForCLI, IpmiIfcCloseForCLI,
          [](int bad) { return IpmiIfcSensorGetReading(bad, nullptr); }}},
        {-1,
         {IpmiIfcOpenIpmiAddressSet, IpmiIfcSdrGetInfo, IpmiIfcSdrReserve, IpmiIfcSdrGetAll, IpmiIfcSdrGetHeaders,
          IpmiIfcSdrReadAll, [](int bad) { return IpmiIfcSdrReadRecordId(bad, 1, nullptr, 0); },
          [](int bad) { return IpmiIfcSdrListAdd(bad, new ipmiifc_sdr_list); }}},
        {0,
         {IpmiIfcSdrCleanUpAll, IpmiIfcSensorInstantiateAll, IpmiIfcSensorUpdateReading,
          [](int bad) { return int{IpmiIfcSdrReservation(bad)}; }, [](int bad) { return +IpmiIfc::getState(bad); },
          [](int bad) { return +IpmiIfc::waitState(bad, 0); },
          [](int bad) { return +IpmiIfc::timedWaitState(bad, 0, 1, 0); },
          [](int bad) { return int{IpmiIfc::getSdr(bad).version()}; },
          [](int bad) { return static_cast<int>(IpmiIfc::getSensors(bad).size()); },
          [](int bad) { return int{bool(IpmiIfc::getSensor(bad, 5, 0x20))}; },
          [](int bad) { return int{IpmiIfcSendWresponse(bad, &req, 0, nullptr) != nullptr}; },
          [](int bad) { return int{IpmiIfcSendCmd(bad, 1, 6, 0, 0, nullptr, 0) != nullptr}; },
          [](int bad) { return int{IpmiIfc::OemIpmiIfcSend(bad, &req, 0) != nullptr}; },
          [](int bad) { return int{bool(sendCommand(bad, 6, 1))}; }}},
        {0xff, {[](int bad) { return +IpmiIfc::sendCmd(bad, 1, 6, 0, nullptr, nullptr, nullptr); }}},
    };
    for (const int bad : {-1, kNodeCount, INT_MAX, INT_MIN}) {
        for (const auto& [result, calls] : rows)
            for (const Call& call : calls)
                EXPECT_EQ(call(bad), result) << &call - calls.data() << " of " << result;
        for (const auto call : {IpmiIfcOpenIpmiClose, IpmiIfcSetTimingParms, InitIpmiNode, IpmiIfcSdrCleanUpHeaders})
            call(bad);
        _setState(bad, IpmiIfc::IPMI_STATE_RUNNING);
        EXPECT_NO_THROW(_changeState(bad, IpmiIfc::IPMI_STATE_IDLE, IpmiIfc::IPMI_STATE_RUNNING));
    }
    EXPECT_EQ(IpmiIfcSendWresponse(0, nullptr, 0, nullptr), nullptr);
    ipmiifc_resp* none = nullptr;
    for (const int result : {IpmiIfcRespNew(nullptr), IpmiIfcRespReuse(nullptr), IpmiIfcRespDel(nullptr),
                             IpmiIfcRespDel(&none), IpmiIfcSdrGetInfo(3)}) // never opened
        EXPECT_EQ(result, -1);
    EXPECT_EQ(sim.calls(Support::SimNode::kOpen), 1); // the device has not seen it
}

TEST_F(Device, timingComesFromTheEnvironment)
{
    constexpr unsigned int kGet = IPMICTL_GET_TIMING_PARMS_CMD, kSet = IPMICTL_SET_TIMING_PARMS_CMD;
    const Support::LogLine defaults{LOG_NOTICE, "IPMI default timing parms: retries=-1, retry_time=0(ms)"};
    const struct {
        const char *retries, *time; ///< null: not set
        unsigned int failing;       ///< this ioctl
        Lines log;
    } rows[] = {
        {nullptr, nullptr, 0, {}},
        {"-3", "", 0, {}},
        {"4294967297", "2147483648", 0, {}},
        {"3", nullptr, 0, {defaults, {LOG_NOTICE, "IPMI timing parms have been set to: retries=3, retry_time=0(ms)"}}},
        {nullptr, "9", 0, {defaults, {LOG_NOTICE, "IPMI timing parms have been set to: retries=-1, retry_time=9(ms)"}}},
        {"2", "9", kGet, {{LOG_WARNING, "Can not get IPMI default timing parms, they will not be changed."}}},
        {"2", "9", kSet, {defaults, {LOG_WARNING, "Can not set IPMI timing parms."}}},
    };
    const auto set = [](const char* name, const char* value) { value ? setenv(name, value, 1) : unsetenv(name); };
    for (const auto& row : rows) {
        ASSERT_GT(IpmiIfcOpenIpmiOpen(0), 0); // driver defaults again
        set("CIM_IPMI_RETRIES", row.retries);
        set("CIM_IPMI_RETRY_TIME", row.time);
        if (row.failing)
            sim.fail(row.failing, EIO);
        const int sets = sim.calls(kSet);
        IpmiIfcSetTimingParms(0);
        EXPECT_EQ(sim.calls(kSet) - sets, row.log.size() == 2 ? 1 : 0);
        EXPECT_EQ(sim.log().lines(), row.log);
        sim.log().clear();
    }
}

TEST_F(Device, ownAddressAndEventDelivery)
{
    constexpr unsigned int kAddress = IPMICTL_SET_MY_ADDRESS_CMD, kEvents = IPMICTL_SET_GETS_EVENTS_CMD;
    const int calls = sim.calls(kAddress);
    node.myAddress = 0; // nothing to set
    EXPECT_EQ(IpmiIfcOpenIpmiAddressSet(0), 0);
    EXPECT_EQ(sim.calls(kAddress), calls);
    node.myAddress = 0x24;
    EXPECT_EQ(IpmiIfcOpenIpmiAddressSet(0), 0);
    unsigned int address = 0;
    EXPECT_EQ(ioctl(node.fd, IPMICTL_GET_MY_ADDRESS_CMD, &address), 0);
    EXPECT_EQ(address, 0x24U);
    int off = 0;
    EXPECT_EQ(IpmiIfcOpenIpmiEventEnable(0, &off), 0);
    EXPECT_EQ(IpmiIfcOpenIpmiEventEnable(0, nullptr), -1);
    EXPECT_EQ(IpmiIfcOpenIpmiEventEnable(7, &off), -1);
    sim.fail(kAddress, EIO);
    sim.fail(kEvents, EIO);
    EXPECT_EQ(IpmiIfcOpenIpmiAddressSet(0), -1);
    EXPECT_EQ(IpmiIfcOpenIpmiEventEnable(0, &off), -1);
    const Lines expected{
        {LOG_ERR, "Node 0: IpmiIfcOpenIpmiAddressSet failed ioctl call returning -1"},
        {LOG_ERR, "Node 0: IpmiIfcOpenIpmiEventEnable failed ioctl call rc = 0xffffffff returning -1"}};
    EXPECT_EQ(sim.log().complaints(), expected);
}

TEST_F(Device, isInitialisedAndClosedAgainAndAgain)
{
    const int readEnd = node.signalCmdPipeFds[FD_READ], writeEnd = node.signalCmdPipeFds[FD_WRITE];
    EXPECT_EQ(fcntl(readEnd, F_GETFL) & O_NONBLOCK, 0); // its reader only may block
    EXPECT_NE(fcntl(writeEnd, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(fcntl(readEnd, F_GETFD) & FD_CLOEXEC, 0);
    init();
    EXPECT_TRUE(node.signalCmdPipeFds[FD_READ] == readEnd && node.signalCmdPipeFds[FD_WRITE] == writeEnd); // reused
    EXPECT_EQ(node.state, IpmiIfc::IPMI_STATE_CLI);
    EXPECT_EQ(node.myAddress, 0x20U);
    EXPECT_EQ(IpmiIfcCloseForCLI(0), 0);
    EXPECT_FALSE(isOpen(readEnd) || isOpen(writeEnd));
    EXPECT_EQ(IpmiIfcInitForCLI(0), -2); // the device is not open
    EXPECT_EQ(node.signalCmdPipeFds[FD_READ], -1);
    EXPECT_EQ(node.state, IpmiIfc::IPMI_STATE_IDLE);

    ASSERT_GT(IpmiIfcOpenIpmiOpen(0), 0);
    init();
    node.state = IpmiIfc::IPMI_STATE_RUNNING;
    EXPECT_THROW(IpmiIfcInitForCLI(0), CmpiStatus);
    EXPECT_EQ(node.state, IpmiIfc::IPMI_STATE_RUNNING);
    IpmiIfcCloseForCLI(0);
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none{0, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_EQ(IpmiIfcInitForCLI(0), -1);
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_TRUE(sim.log().has(LOG_ERR, "CmpiStatus error 100 UnnamedPipe::UnnamedPipe: pipe failed"));
}

} // namespace
