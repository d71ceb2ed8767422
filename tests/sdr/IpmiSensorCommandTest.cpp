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
};

TEST_F(IpmiSensorCommand, StateIsReadNow)
{
    const struct {
        Bytes answer;
        int result, analog, discrete;
    } rows[] = {
        {{0x00, 0x50, 0xc0, 0xc9, 0x80}, 0, 0x09, 0x00c9},
        {{0x00, 0x50, 0xc0, 0xff, 0xff}, 0, 0x3f, 0x7fff},
        {{0x00, 0x50, 0x60, 0xff, 0xff}, 0, 0, 0},
        {{0x00, 0x50, 0xc0}, 0, 0, 0},
        {{0x00}, 0, 0, 0},
        {{0xcb}, 0xcb, 0, 0},
        {{0xc3}, 0xc3, 0, 0},
        {{0xff}, 0xff, 0, 0},
    };
    for (const auto& row : rows) {
        for (IpmiSensor* made : {static_cast<IpmiSensor*>(&analog), static_cast<IpmiSensor*>(&discrete)}) {
            expect({0x04, 0x2d, 0x12}, row.answer);
            int state = 99;
            EXPECT_EQ(made->getSensorState(state), row.result) << "row " << &row - rows;
            EXPECT_EQ(state, made->isDiscrete() ? row.discrete : row.analog) << "row " << &row - rows;
            EXPECT_EQ(made->getLastReadResult(), static_cast<unsigned int>(row.result));
            EXPECT_EQ(made->getLastReading().valid, row.result == 0);
            EXPECT_EQ(made->getLastReading().present, row.result != 0xcb);
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
    expect({0x04, 0x2d, 0x12}, {0x00, 0x00, 0xc0, 0x02, 0x80});
    EXPECT_EQ(discrete.getState(true), "1");
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
    const struct {
        Bytes answer;
        int result, flags, analog, discrete, deassertions;
    } rows[] = {
        {{0x00, 0xc0, 0xff, 0xff, 0x34, 0x02}, 0, 0xc0, 0x0fff, 0x7fff, 0x0234},
        {{0x00, 0x40}, 0, 0x40, 0, 0, 0},
        {{0x00}, 0, 0, 0, 0, 0},
        {{0xcb, 0xc0, 0xff}, 0xcb, 0, 0, 0, 0},
    };
    for (const auto& row : rows) {
        for (const IpmiSensor* made : {static_cast<IpmiSensor*>(&analog), static_cast<IpmiSensor*>(&discrete)}) {
            expect({0x04, 0x29, 0x12}, row.answer);
            unsigned char flags = 99;
            unsigned short on = 99, off = 99;
            EXPECT_EQ(made->getEventEnable(flags, on, off), row.result);
            EXPECT_EQ(flags, row.flags);
            EXPECT_EQ(on, made->isDiscrete() ? row.discrete : row.analog);
            EXPECT_EQ(off, row.deassertions);
        }
    }
    expect({0x04, 0x28, 0x12, 0xd0, 0xff, 0x0f, 0x01, 0x00}, {0x00});
    EXPECT_EQ(analog.setEventEnable(0xdf, 0xffff, 0x0001), 0);
    expect({0x04, 0x28, 0x12, 0x20, 0xff, 0x7f, 0x00, 0x00}, {0xc9});
    EXPECT_EQ(discrete.setEventEnable(0x20, 0xffff, 0), 0xc9);
}

TEST_F(IpmiSensorCommand, HysteresisIsAskedOnce)
{
    unsigned char up = 99, down = 99;
    expect({0x04, 0x25, 0x12, 0xff}, {0xc3});
    EXPECT_EQ(analog.getHysteresis(up, down, false), 0xc3);
    EXPECT_EQ(up + down, 0);
    expect({0x04, 0x25, 0x12, 0xff}, {0x00, 3, 4});
    EXPECT_EQ(analog.getHysteresis(up, down, false), 0);
    EXPECT_EQ(analog.getHysteresis(up, down, false), 0);
    EXPECT_EQ(up, 3);
    EXPECT_EQ(down, 4);
    expect({0x04, 0x25, 0x12, 0xff}, {0x00, 5});
    EXPECT_EQ(analog.getHysteresis(up, down, true), 0);
    EXPECT_EQ(up, 5);
    EXPECT_EQ(down, 0) << "not sent";
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
    for (IpmiSensor* made :
         {static_cast<IpmiSensor*>(&software), static_cast<IpmiSensor*>(&nowhere), static_cast<IpmiSensor*>(&analog)}) {
        int state = 99;
        unsigned char flags = 99, up = 99, down = 99;
        unsigned short on = 99, off = 99;
        EXPECT_EQ(made->getSensorState(state), -1);
        EXPECT_EQ(made->getLastReadResult(), ~0U);
        EXPECT_EQ(state, 0);
        EXPECT_EQ(made->getState(true), "");
        EXPECT_EQ(made->rearmEvents(0, 0), -1);
        EXPECT_EQ(made->getEventEnable(flags, on, off), -1);
        EXPECT_EQ(flags + on + off, 0);
        EXPECT_EQ(made->setEventEnable(0xc0, 0, 0), -1);
        EXPECT_EQ(made->getHysteresis(up, down, true), -1);
        EXPECT_EQ(up + down, 0);
    }
}

} // namespace
