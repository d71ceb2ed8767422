// SPDX-License-Identifier: Apache-2.0
// Functions that take the number of a node: what they say of a number that is none, and that IpmiIfc's members without
// one mean node 0.
#include "ipmi/IpmiNodeControl.h"
#include "node/IpmiIfcSend.h"
#include "sdr/IpmiIfcSensor.h"
#include "sel/SelBmc.h"
#include "sim/machine/MachineFile.h"
#include "transport/Device.h"

#include <climits>

using namespace Ipmi;

namespace
{

/// A result in words; that of a function that fills in a number, with the number.
template <typename T, typename... Number> std::string told(const T& value, const Number&... number)
{
    if constexpr (sizeof...(number) != 0)
        return told(value) + ": " + told(number...);
    else if constexpr (std::is_convertible_v<T, std::string>)
        return value;
    else if constexpr (requires { value.size(); })
        return std::to_string(value.size());
    else if constexpr (requires { value.get(); })
        return value ? "one" : "null";
    else if constexpr (requires { value.version(); })
        return std::to_string(value.version());
    else if constexpr (requires { value.getName(); })
        return value.getName();
    else
        return std::to_string(+value);
}

constexpr int kAnyState = -1;
unsigned char maker[3], byte;
unsigned short word;

/// A member in its two forms, and what is told of a number that is none.
struct Member {
    const char* name;
    std::string (*of)(int node);
    std::string (*ofNode0)();
    const char* none;
};
#define MEMBER(none, name, ...)                                                                                        \
    {                                                                                                                  \
#name, [](int node) { return told(IpmiIfc::name(node __VA_OPT__(, ) __VA_ARGS__)); },                             \
     [] { return told(IpmiIfc::name(__VA_ARGS__)); }, none    \
    }
#define NUMBER(name, number)                                                                                           \
    {                                                                                                                  \
#name, [](int node) { return told(IpmiIfc::name(node, number), number); },                                        \
     [] { return told(IpmiIfc::name(number), number); }, "4: 0"    \
    }

const Member kMembers[] = {
    MEMBER("0", getState),
    MEMBER("0", waitState, kAnyState),
    MEMBER("0", timedWaitState, kAnyState, 1, 0),
    MEMBER("-1", getPollingInterval),
    MEMBER("255", sendCmd, 0x01, 0x06, 0, nullptr, nullptr, nullptr),
    MEMBER("4", getManufacturerId, maker, byte),
    MEMBER("", getManufacturerName),
    NUMBER(getProductId, word),
    NUMBER(getDeviceId, byte),
    NUMBER(getDeviceRevision, byte),
    MEMBER("", getFirmwareVersion),
    MEMBER("", getIpmiVersion),
    MEMBER("", getHostOsName),
    MEMBER("", getHostOsVersion),
    NUMBER(getSelfTest, word),
    MEMBER("", getSelfTestText),
    MEMBER("0", getSdr),
    MEMBER("0", getSensors),
    MEMBER("null", getSensor, 5, 0x20),
    MEMBER("null", getSel),
    MEMBER("0", getRawSelHeader),
    MEMBER("0", getSelData),
    MEMBER("0", getLastProcessedSELEntry),
    MEMBER("0", generatesMemoryEvents),
    MEMBER("0", selGetClock),
    MEMBER("0", getEntities),
    MEMBER("Unspecified", getEntityParent, 10, 1),
    MEMBER("-2", clearSel),
};

void ignore(void*, IpmiSelData*) {}

TEST(NodeNumber, ThatIsNoneIsRefusedAndNoNumberMeansNode0)
{
    SelTest::SdrBmc node(Sim::loadMachine("sample"));
    ASSERT_EQ(IpmiIfcSdrGetInfo(0) + IpmiIfcSelGetInfo(0, nullptr), 0);
    IpmiIfc::setPollingInterval(7);
    IpmiIfc::setLastProcessedSELEntry(2);
    for (const Member& one : kMembers) {
        SCOPED_TRACE(one.name);
        EXPECT_NE(one.of(0), one.none);
        EXPECT_EQ(one.of(0), one.ofNode0());
        for (const int bad : {-1, kNodeCount, INT_MAX, INT_MIN})
            EXPECT_EQ(one.of(bad), one.none);
    }
    EXPECT_EQ(IpmiIfc::getLan(), IpmiIfc::getLan(0));
    node.restart();
    ipmiifc_req req;
    ipmiifc_resp resp;
    for (const int bad : {-1, kNodeCount, INT_MAX, INT_MIN}) {
        resp.datalen = 15, resp.node = bad;
        for (const auto call : {IpmiIfcOpenIpmiOpen, IpmiIfcInitForCLI, IpmiIfcCloseForCLI})
            EXPECT_EQ(call(bad), -2);
        for (const auto call :
             {IpmiIfcOpenIpmiAddressSet, IpmiIfcSdrGetInfo, IpmiIfcSdrReserve, IpmiIfcSdrGetAll, IpmiIfcSdrGetHeaders,
              IpmiIfcSdrReadAll, IpmiIfcSelReserve, IpmiIfcSelReadAll, IpmiIfcSelGetAll, IpmiIfcSensorRefreshAll})
            EXPECT_EQ(call(bad), -1);
        for (const auto handle : {IpmiIfcRhSelInfoNoCount, IpmiIfcRhSelGetAllocInfo, IpmiIfcRhGetSdrInfo})
            EXPECT_EQ(handle(&resp), -1);
        for (const auto call : {IpmiIfcSdrCleanUpAll, IpmiIfcSensorInstantiateAll, IpmiIfcSensorUpdateReading})
            EXPECT_EQ(call(bad), 0);
        for (const auto call : {IpmiIfcOpenIpmiClose, IpmiIfcSetTimingParms, InitIpmiNode, IpmiIfcSdrCleanUpHeaders,
                                IpmiIfcSelCleanUpEventHandlers, IpmiIfc::stop, IpmiIfc::doPoll})
            call(bad);
        IpmiIfc::start(bad, 1);
        _setState(bad, IpmiIfc::IPMI_STATE_RUNNING);
        _changeState(bad, IpmiIfc::IPMI_STATE_IDLE, IpmiIfc::IPMI_STATE_RUNNING);
        IpmiIfc::setPollingInterval(bad, 1);
        IpmiIfc::setLastProcessedSELEntry(bad, 1);
        EXPECT_EQ(IpmiIfcSelGetInfo(bad, nullptr) + IpmiIfc::deleteSelEntry(bad, 1), -4);
        EXPECT_EQ(IpmiIfc::getLan(bad), nullptr);
        EXPECT_EQ(IpmiIfcSdrReadRecordId(bad, 1, nullptr, 0) + IpmiIfcSdrListAdd(bad, new ipmiifc_sdr_list) +
                      IpmiIfcSelReadNew(bad, 1),
                  -3);
        EXPECT_EQ(IpmiIfcSdrReservation(bad) + IpmiIfcSelGenerateEvents(bad, 0), 0);
        EXPECT_EQ(IpmiIfc::registerSelEventHandler(bad, ignore, nullptr), 5);
        EXPECT_EQ(IpmiIfc::unRegisterSelEventHandler(bad, ignore), 5);
        EXPECT_FALSE(IpmiIfc::OemIpmiIfcSend(bad, &req, 0) || IpmiIfcSendWresponse(bad, &req, 0, nullptr) ||
                     IpmiIfcSendCmd(bad, 1, 6, 0, 0, nullptr, 0));
    }
    EXPECT_EQ(node.bmc.count(), 0u);
    EXPECT_EQ(node.sim.calls(Support::SimNode::kOpen), 1);
}

} // namespace
