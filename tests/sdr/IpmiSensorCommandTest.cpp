// The commands that sensors send by themselves: what goes out, to whom, and what becomes of the answer.
#include "node/IpmiIfcTransport.h"
#include "sdr/SensorRecords.h"
#include "support/ScriptedBmc.h"
#include "support/SimNode.h"

#include <gtest/gtest.h>

namespace
{

using namespace Support;
using Ipmi::IpmiDiscreteSensor;
using Ipmi::IpmiSensor;
using Ipmi::IpmiThresholdSensor;

class IpmiSensorCommand : public testing::Test
{
protected:
    void SetUp() override
    {
        sim.device([](Sim::Device& device) { device.setIpmbChannels(1U << 0 | 1U << 6); });
        ASSERT_GE(Ipmi::IpmiIfcOpenIpmiOpen(0), 0);
        bmc.expect({0x06, 0x01}, {0xc1}); // who are you, asked once
        ASSERT_EQ(Ipmi::IpmiIfcInitForCLI(0), 0);
    }
    void TearDown() override { Ipmi::IpmiIfcCloseForCLI(0); }

    /// Sensor 12h of the controller at 2Ch, LUN 1, channel 6; it has readable hysteresis.
    static Bytes record(std::uint8_t type, std::uint8_t owner = 0x2c)
    {
        return sensorRecord(type, {{0, 7}, {5, owner}, {6, 0x61}, {7, 0x12}, {11, 0x10}});
    }
    void expect(const Bytes& request, const Bytes& answer) { bmc.expect(request, answer).to(0x2c, 1, 6); }

    ScriptedBmc bmc;
    SimNode sim{bmc};
    IpmiThresholdSensor analog = sensor<IpmiThresholdSensor>(record(kFull));
    IpmiDiscreteSensor discrete = sensor<IpmiDiscreteSensor>(record(kCompact));
    const std::vector<IpmiSensor*> both{&analog, &discrete};
};

TEST_F(IpmiSensorCommand, StateIsReadNow)
{
    using Row = std::tuple<Bytes, int, int, int>; // answer, result, state of the analog sensor, of the discrete one
    const std::vector<Row> rows({Row{{0x00, 0x50, 0xc0, 0xc9, 0x80}, 0, 0x09, 0x00c9},
                                 Row{{0x00, 0x50, 0xc0, 0xff, 0xff}, 0, 0x3f, 0x7fff},
                                 Row{{0x00, 0x50, 0x60, 0xff, 0xff}, 0, 0, 0}, Row{{0x00, 0x50, 0xc0}, 0, 0, 0},
                                 Row{{0xcb}, 0xcb, 0, 0}, Row{{0xff}, 0xff, 0, 0}});
    for (const auto& [answer, result, ofAnalog, ofDiscrete] : rows) {
        for (IpmiSensor* made : both) {
            SCOPED_TRACE(testing::PrintToString(answer));
            expect({0x04, 0x2d, 0x12}, answer);
            int state = 99;
            EXPECT_EQ(made->getSensorState(state), result);
            EXPECT_EQ(state, made->isDiscrete() ? ofDiscrete : ofAnalog);
            EXPECT_EQ(made->getLastReadResult(), static_cast<unsigned int>(result));
            EXPECT_EQ(made->getLastReading().valid, result == 0);
            EXPECT_EQ(made->getLastReading().present, result != 0xcb);
        }
    }
}

TEST_F(IpmiSensorCommand, StateTextReadsOnDemandAndTheFirstTime)
{
    expect({0x04, 0x2d, 0x12}, {0x00, 0x50, 0xc0, 0x02});
    EXPECT_EQ(analog.getState(false), "lower critical") << "never read before";
    EXPECT_EQ(analog.getState(false), "lower critical");
    expect({0x04, 0x2d, 0x12}, {0x00, 0x50, 0xc0, 0x10});
    EXPECT_EQ(analog.getState(true), "upper critical");
    expect({0x04, 0x2d, 0x12}, {0xce});
    EXPECT_EQ(analog.getState(true), "");
    EXPECT_EQ(analog.getState(false), "");
    auto eventOnly = sensor<IpmiDiscreteSensor>(record(kEventOnly));
    EXPECT_EQ(eventOnly.getState(false), "") << "cannot be read";
}

TEST_F(IpmiSensorCommand, EventsAreRearmed)
{
    expect({0x04, 0x2a, 0x12, 0x00}, {0x00});
    EXPECT_EQ(analog.rearmEvents(0, 0), 0);
    expect({0x04, 0x2a, 0x12, 0x80, 0xff, 0x0f, 0x34, 0x02}, {0xcb});
    EXPECT_EQ(analog.rearmEvents(0xffff, 0xf234), 0xcb);
    expect({0x04, 0x2a, 0x12, 0x80, 0xff, 0x7f, 0x00, 0x00}, {0x00});
    EXPECT_EQ(discrete.rearmEvents(0xffff, 0), 0);
}

TEST_F(IpmiSensorCommand, EventEnables)
{
    using Row = std::tuple<Bytes, int, int, int, int, int>; // answer, result, flags, analog, discrete, deassertions
    const std::vector<Row> rows({Row{{0x00, 0xc0, 0xff, 0xff, 0x34, 0x02}, 0, 0xc0, 0x0fff, 0x7fff, 0x0234},
                                 Row{{0x00, 0x40}, 0, 0x40, 0, 0, 0}, Row{{0x00}, 0, 0, 0, 0, 0},
                                 Row{{0xcb, 0xc0, 0xff}, 0xcb, 0, 0, 0, 0}});
    for (const auto& [answer, result, flagBits, ofAnalog, ofDiscrete, deassertions] : rows) {
        for (IpmiSensor* made : both) {
            expect({0x04, 0x29, 0x12}, answer);
            unsigned char flags = 99;
            unsigned short on = 99, off = 99;
            EXPECT_EQ(made->getEventEnable(flags, on, off), result);
            EXPECT_EQ(on, made->isDiscrete() ? ofDiscrete : ofAnalog);
            EXPECT_TRUE(flags == flagBits && off == deassertions) << testing::PrintToString(answer);
        }
    }
    expect({0x04, 0x28, 0x12, 0xd0, 0xff, 0x0f, 0x01, 0x00}, {0x00});
    EXPECT_EQ(analog.setEventEnable(0xdf, 0xffff, 0x0001), 0);
    expect({0x04, 0x28, 0x12, 0x20, 0xff, 0x7f, 0x00, 0x00}, {0xc9});
    EXPECT_EQ(discrete.setEventEnable(0x20, 0xffff, 0), 0xc9);
}

TEST_F(IpmiSensorCommand, HysteresisIsAskedOnce)
{
    using Row = std::tuple<bool, Bytes, int, int, int>; // refresh, answer (empty: nothing is asked), result, up, down
    const std::vector<Row> rows({Row{false, {0xc3}, 0xc3, 0, 0}, Row{false, {0x00, 3, 4}, 0, 3, 4},
                                 Row{false, {}, 0, 3, 4}, Row{true, {0x00, 5}, 0, 5, 0}});
    unsigned char up = 99, down = 99;
    for (const auto& [refresh, answer, result, expectedUp, expectedDown] : rows) {
        if (!answer.empty())
            expect({0x04, 0x25, 0x12, 0xff}, answer);
        EXPECT_EQ(analog.getHysteresis(up, down, refresh), result);
        EXPECT_TRUE(up == expectedUp && down == expectedDown) << testing::PrintToString(answer);
    }
    for (const unsigned int support : {0x00U, 0x30U}) {
        auto without = sensor<IpmiThresholdSensor>(sensorRecord(kFull, {{5, 0x2c}, {11, support}}));
        EXPECT_EQ(without.getHysteresis(up, down, true), -1);
    }
}

TEST_F(IpmiSensorCommand, NoAnswerAndNobodyToAsk)
{
    auto software = sensor<IpmiThresholdSensor>(record(kFull, 0x41));
    auto nowhere = IpmiThresholdSensor(48, record(kFull).data(), 99);
    Ipmi::IpmiIfcOpenIpmiClose(0);
    for (IpmiSensor* made : std::initializer_list<IpmiSensor*>{&software, &nowhere, &analog}) {
        int state = 99;
        unsigned char flags = 99, up = 99, down = 99;
        unsigned short on = 99, off = 99;
        for (const int result :
             {made->getSensorState(state), made->rearmEvents(0, 0), made->getEventEnable(flags, on, off),
              made->setEventEnable(0xc0, 0, 0), made->getHysteresis(up, down, true)})
            EXPECT_EQ(result, -1);
        EXPECT_EQ(made->getLastReadResult(), ~0U);
        EXPECT_EQ(made->getState(true), "");
        EXPECT_EQ(state + flags + on + off + up + down, 0);
    }
}

} // namespace
