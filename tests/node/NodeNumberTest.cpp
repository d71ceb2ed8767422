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

/// A result in words.
template <typename T> std::string told(const T& value)
{
    if constexpr (std::is_convertible_v<T, std::string>)
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

struct Member {
    const char* name;
    std::function<std::string(int node)> of;
    std::function<std::string()> ofNode0;
    std::string none; ///< what is told of a number that is none
};

template <typename Result, typename... Arguments>
Member member(const char* name, Result (*of)(int, Arguments...), Result (*ofNode0)(Arguments...), const char* none,
              std::type_identity_t<Arguments>... arguments)
{
    return {name, [=](int node) { return told(of(node, arguments...)); }, [=] { return told(ofNode0(arguments...)); },
            none};
}

/// One with a number to fill in.
template <typename T> Member number(const char* name, int (*of)(int, T&), int (*ofNode0)(T&), const char* none = "4: 0")
{
    const auto ask = [](const auto& get) {
        T value = 9;
        const int result = get(value);
        return std::to_string(result) + ": " + std::to_string(value);
    };
    return {name, [=](int node) { return ask([&](T& value) { return of(node, value); }); },
            [=] { return ask(ofNode0); }, none};
}

int lengthOfMaker(int node, unsigned char& length)
{
    unsigned char id[3];
    return IpmiIfc::getManufacturerId(node, id, length);
}

int lengthOfMaker(unsigned char& length)
{
    unsigned char id[3];
    return IpmiIfc::getManufacturerId(id, length);
}

using State = IpmiIfc::IPMI_STATE;
constexpr int kAnyState = -1;

// A member's name, and its forms with a number and without one.
#define BOTH(member) #member, IpmiIfc::member, IpmiIfc::member

const Member kMembers[] = {
    member(BOTH(getState), "0"),
    member<State, int>(BOTH(waitState), "0", kAnyState),
    member<State, int, long, long>(BOTH(timedWaitState), "0", kAnyState, 1, 0),
    member(BOTH(getPollingInterval), "-1"),
    member(BOTH(sendCmd), "255", 0x01, 0x06, 0, nullptr, nullptr, nullptr),
    number("getManufacturerId", lengthOfMaker, lengthOfMaker),
    member(BOTH(getManufacturerName), ""),
    number(BOTH(getProductId)),
    number(BOTH(getDeviceId)),
    number(BOTH(getDeviceRevision)),
    member(BOTH(getFirmwareVersion), ""),
    member(BOTH(getIpmiVersion), ""),
    member(BOTH(getHostOsName), ""),
    member(BOTH(getHostOsVersion), ""),
    number(BOTH(getSelfTest)),
    member(BOTH(getSelfTestText), ""),
    member(BOTH(getSdr), "0"),
    member(BOTH(getSensors), "0"),
    member(BOTH(getSensor), "null", 5, 0x20),
    member(BOTH(getSel), "null"),
    member(BOTH(getRawSelHeader), "0"),
    member(BOTH(getSelData), "0"),
    member(BOTH(getLastProcessedSELEntry), "0"),
    member(BOTH(generatesMemoryEvents), "0"),
    member(BOTH(selGetClock), "0"),
    member(BOTH(getEntities), "0"),
    member(BOTH(getEntityParent), "Unspecified", 10, 1),
    member(BOTH(clearSel), "-2"),
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
