// Refreshing each sensor for itself.
#include "ipmi/IpmiIfc.h"
#include "node/IpmiIfcTransport.h"
#include "sdr/SdrBmc.h"

#include <string>

using namespace Ipmi;
using namespace SdrTest;
using namespace std::chrono_literals;

namespace
{

/// Six loaded sensors: 1 and 2 of the BMC, 3 of system software, 4 to 6 of a satellite. Commands without retries.
struct SixSensors : SdrBmc {
    SixSensors() : SdrBmc(machineOf(records()))
    {
        sim.device([](Sim::Device& device) { device.setIpmbTiming(0, 1s); });
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
        restart();
    }
    static std::vector<Bytes> records()
    {
        std::vector<Bytes> all;
        for (const std::uint8_t number : Bytes{6, 5, 4, 3, 2, 1}) // the lists turn their order
            all.push_back(sensorRecord(Kind::full, 0x6f,
                                       {{kNumberAt, number},
                                        {kOwnerAt, number < 3    ? kBmc
                                                   : number == 3 ? kSoftware
                                                                 : kSatellite}},
                                       number));
        return all;
    }
    /// One pass: the numbers of the sensors asked, "?" and the address for a Get Device ID; sensors without a reading.
    std::string pass()
    {
        bmc.keepLog(true);
        const int without = IpmiIfcSensorRefreshAll(0);
        std::string text;
        for (const Sim::Request& request : bmc.log())
            text += isOfMessages(request) ? ""
                    : request.cmd == 0x01 ? (request.address == kBmc ? "?b" : "?s")
                                          : std::to_string(request.data.at(0));
        return text + " " + std::to_string(without);
    }
    /// What the driver does for a request to a satellite.
    static bool isOfMessages(const Sim::Request& request)
    {
        return request.netfn == 0x06 && request.cmd >= 0x31 && request.cmd <= 0x34;
    }
    /// Which of the next `count` passes are like this.
    std::string passesLike(const std::string& like, int count)
    {
        std::string numbers;
        for (int i = 1; i <= count; ++i)
            numbers += pass() == like ? std::to_string(i) + " " : "";
        return numbers;
    }
    static std::string valid()
    {
        std::string numbers;
        for (const auto& sensor : IpmiIfc::getSensors(0))
            numbers += sensor->getLastReading().valid ? std::to_string(sensor->getSensorNumber()) : "";
        return numbers;
    }
};

Sim::FaultRule always(std::uint8_t address, Sim::FaultAction action, Bytes data = {})
{
    return {.address = address, .data = std::move(data), .action = std::move(action)};
}

TEST(SensorRefresh, AFailingSensorCostsItselfLessAndLessOften)
{
    for (const std::uint8_t cc : Bytes{0xcb, 0xc0, 0xc3}) {
        SixSensors node;
        node.restart({always(kBmc, code(cc), {1})});
        EXPECT_EQ(node.passesLike("12456 1", 100), "1 2 4 8 16 32 64 96 ") << int{cc};
        EXPECT_EQ(SixSensors::valid(), "2456");
        node.restart();
        EXPECT_EQ(node.passesLike("12456 0", 30), "28 29 30 ");
    }
}

TEST(SensorRefresh, ASilentControllerIsAskedAlone)
{
    SixSensors node;
    node.restart({always(kSatellite, kSilence)});
    EXPECT_EQ(node.pass(), "124?s 3");
    EXPECT_EQ(SixSensors::valid(), "12");
    EXPECT_EQ(node.passesLike("12?s 3", 70), "1 3 7 15 31 63 ");
    node.sim.clock().advance(5s);
    EXPECT_GE(IpmiIfc::getSensor(4, kSatellite)->getReadingAge(), 5000);
    EXPECT_EQ(IpmiIfc::getSensor(1, kBmc)->getReadingAge(), 5000);
    EXPECT_EQ(IpmiIfc::getSensor(3, kSoftware)->getReadingAge(), -1);

    node.restart();
    EXPECT_EQ(node.pass(), "12 3") << "its turn has not come";
    {
        const TargetScope satellite(0, kSatellite, 0, 0);
        sendCommand(0, 0x06, 0x01);
    }
    EXPECT_EQ(node.pass(), "12456 0") << "it has answered somebody";
}

TEST(SensorRefresh, ASilentBmcCostsTwoTimeoutsAndThenOne)
{
    SixSensors node;
    node.restart({{.action = kSilence}});
    const auto start = node.sim.clock().steadyTime();
    EXPECT_EQ(node.pass(), "1?b 5");
    EXPECT_EQ(node.sim.clock().steadyTime() - start, 60s);
    EXPECT_EQ(SixSensors::valid(), "");
    EXPECT_EQ(node.passesLike("?b 5", 30), "1 3 7 15 ") << "and nothing behind it is asked";
    node.restart();
    for (int i = 0; i < 2; ++i)
        node.pass(); // late answers, and its turn
    EXPECT_EQ(node.pass(), "12456 0");
}

TEST(SensorRefresh, NewReadingsOfTheRepositoryForgetFailures)
{
    SixSensors node;
    node.restart({always(kBmc, code(0xcb), {1})});
    node.passesLike("", 40);
    EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
    EXPECT_EQ(node.pass(), "12456 1");
    EXPECT_EQ(IpmiIfcSensorRefreshAll(-1), -1);
    EXPECT_EQ(IpmiIfcSensorRefreshAll(1), 0) << "a node without sensors";
}

} // namespace
