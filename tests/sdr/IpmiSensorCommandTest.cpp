// SPDX-License-Identifier: Apache-2.0
// The commands that sensors send by themselves: what goes out, to whom, and what becomes of the answer.
#include "node/NodeFixture.h"
#include "sdr/SdrBmc.h"

namespace
{

using namespace SdrTest;
using namespace Support;
using Ipmi::IpmiDiscreteSensor;
using Ipmi::IpmiSensor;
using Ipmi::IpmiThresholdSensor;

struct IpmiSensorCommand : Ipmi::NodeFixture {
    IpmiSensorCommand()
    {
        sim.device([](Sim::Device& device) { device.setIpmbChannels(1U << 0 | 1U << 9); });
        Ipmi::IpmiIfcOpenIpmiClose(0); // the channels are told at opening
        EXPECT_GT(Ipmi::IpmiIfcOpenIpmiOpen(0), 0);
    }
    /// Sensor 12h of the controller at 2Ch, LUN 1, channel 9; it has readable hysteresis.
    static Bytes record(std::uint8_t type, std::uint8_t owner = 0x2c, unsigned int hysteresis = 1)
    {
        return zeroRecord(type, {{0, 7}, {5, owner}, {6, 0x91}, {7, 0x12}, {11, hysteresis << 4}});
    }
    void expect(const Bytes& request, const Bytes& answer) { bmc.expect(request, answer).to(0x2c, 1, 9); }

    IpmiThresholdSensor analog = sensor<IpmiThresholdSensor>(record(kFull));
    IpmiDiscreteSensor discrete = sensor<IpmiDiscreteSensor>(record(kCompact));
    const std::vector<IpmiSensor*> both{&analog, &discrete};
};

TEST_F(IpmiSensorCommand, StateIsReadNow)
{
    constexpr unsigned char kScans = 0x40, kScansWithEvents = 0xc0, kUnavailable = 0x60, kDisabled = 0x00;
    // Answer: completion code, raw value, flags, states; repeats of the code; state and text of the analog sensor, and
    // of the discrete one.
    using Row = std::tuple<Bytes, unsigned, int, std::string, int, std::string>;
    const std::vector<Row> rows({
        Row{{0x00, 1, kScans, 0x00, 0x00}, 1, 0, "ok", 0, "none"},
        Row{{0x00, 2, kScans, 0x01, 0x00}, 2, 0x01, "lower non-critical", 0x01, "0"},
        Row{{0x00, 3, kScans, 0x1b, 0x00}, 3, 0x1b, "lower critical", 0x1b, "0,1,3,4"}, // the lower one comes first
        Row{{0x00, 5, kScans, 0x19, 0x00}, 4, 0x19, "upper critical", 0x19, "0,3,4"},
        Row{{0x00, 6, kScans, 0x23, 0x00}, 5, 0x23, "upper non-recoverable", 0x23, "0,1,5"},
        Row{{0x00, 7, kScans, 0x3f, 0x00}, 6, 0x3f, "lower non-recoverable", 0x3f, "0,1,2,3,4,5"},
        // the top bits are reserved
        Row{{0x00, 8, kScansWithEvents, 0xc8, 0xc1, 9}, 7, 8, "upper non-critical", 0x41c8, "3,6,7,8,14"},
        Row{{0xcb}, 0, 0, "", 0, ""},
        Row{{0xff}, 0, 0, "", 0, ""},
        Row{{0x00, 9, kUnavailable, 0xff, 0xff}, 0, 0, "", 0, ""},
        Row{{0x00, 10, kDisabled, 0xff, 0xff}, 1, 0, "", 0, ""},
        Row{{0x00, 11, kScansWithEvents, 0x80}, 2, 0, "ok", 0x80, "7"},
        Row{{0x00, 13}, 3, 0, "", 0, ""},
        Row{{0x00}, 4, 0, "", 0, ""},
    });
    for (IpmiSensor* made : both) {
        Bytes kept(6);
        EXPECT_FALSE(made->getLastReading().present || made->scanningDisabled() || made->hasReadingTime());
        for (const auto& [answer, repeats, level, levelText, states, statesText] : rows) {
            SCOPED_TRACE(testing::PrintToString(answer));
            const int result = answer[0];
            expect({0x04, 0x2d, 0x12}, answer);
            int state = 99;
            EXPECT_EQ(made->getSensorState(state), result);
            EXPECT_EQ(state, made->isDiscrete() ? states : level);
            EXPECT_EQ(made->getState(false), made->isDiscrete() ? statesText : levelText);
            EXPECT_EQ(made->getLastReadResult(), answer[0]);
            EXPECT_EQ(made->getReadResultRepeats(), repeats);
            if (result == 0) { // what is read stays when nothing else is
                kept = answer;
                kept.resize(5);
                kept.push_back(static_cast<std::uint8_t>(std::min<std::size_t>(answer.size(), 5)));
            }
            const IpmiSensor::Reading now = made->getLastReading();
            EXPECT_EQ((Bytes{now.cc, now.raw, now.flags, now.state1, now.state2, now.length}), kept);
            EXPECT_EQ(now.valid, result == 0);
            EXPECT_EQ(now.present, result != 0xcb);
            EXPECT_EQ(made->readingStateUnavailable(), result != 0 || (now.flags & 0x20) != 0);
            EXPECT_EQ(made->scanningDisabled(), result == 0 && (now.flags & 0x40) == 0);
        }
    }
}

TEST_F(IpmiSensorCommand, StateTextReadsOnDemandAndTheFirstTime)
{
    sim.clock().setWallTime(std::chrono::seconds(1'767'225'599) + std::chrono::microseconds(999'999));
    expect({0x04, 0x2d, 0x12}, {0x00, 0x50, 0xc0, 0x02});
    EXPECT_EQ(analog.getState(false), "lower critical") << "never read before";
    EXPECT_EQ(analog.getState(false), "lower critical");
    std::string time;
    analog.getReadingTime(time);
    EXPECT_EQ(time, "2025-12-31T23:59:59Z");
    expect({0x04, 0x2d, 0x12}, {0x00, 0x50, 0xc0, 0x10});
    EXPECT_EQ(analog.getState(true), "upper critical");
    expect({0x04, 0x2d, 0x12}, {0xce});
    EXPECT_EQ(analog.getState(true), "");
    EXPECT_EQ(analog.getState(false), "");
    EXPECT_EQ(sensor<IpmiDiscreteSensor>(record(kEventOnly)).getState(false), "") << "cannot be read";
}

TEST_F(IpmiSensorCommand, EventsAreRearmed)
{
    expect({0x04, 0x2a, 0x12, 0x00}, {0x00});
    EXPECT_EQ(analog.rearmEvents(0, 0), 0);
    expect({0x04, 0x2a, 0x12, 0x80, 0x00, 0x00, 0x00, 0x00}, {0x00});
    EXPECT_EQ(analog.rearmEvents(0xf000, 0), 0);
    expect({0x04, 0x2a, 0x12, 0x80, 0xff, 0x0f, 0x34, 0x02}, {0xcb});
    EXPECT_EQ(analog.rearmEvents(0xffff, 0xf234), 0xcb);
    expect({0x04, 0x2a, 0x12, 0x80, 0xff, 0x7f, 0x00, 0x00}, {0x00});
    EXPECT_EQ(discrete.rearmEvents(0xffff, 0), 0);
}

TEST_F(IpmiSensorCommand, EventEnables)
{
    using Row = std::tuple<Bytes, int, int, int, int>; // answer; flags; assertions, of discrete ones; deassertions
    for (const auto& [answer, flags, ofAnalog, ofDiscrete, deassertions] :
         {Row{{0x00, 0xc0, 0xff, 0xff, 0x34, 0x02}, 0xc0, 0x0fff, 0x7fff, 0x0234}, Row{{0x00, 0x40}, 0x40, 0, 0, 0},
          Row{{0x00}, 0, 0, 0, 0}, Row{{0xcb, 0xc0, 0xff}, 0, 0, 0, 0}})
        for (IpmiSensor* made : both) {
            expect({0x04, 0x29, 0x12}, answer);
            unsigned char enabled = 99;
            unsigned short on = 99, off = 99;
            EXPECT_EQ(made->getEventEnable(enabled, on, off), answer[0]);
            EXPECT_EQ(facts("flags on off", enabled, on, off),
                      facts("flags on off", flags, made->isDiscrete() ? ofDiscrete : ofAnalog, deassertions));
        }
    expect({0x04, 0x28, 0x12, 0xd0, 0xff, 0x0f, 0x01, 0x00}, {0x00});
    EXPECT_EQ(analog.setEventEnable(0xdf, 0xffff, 0x0001), 0);
    expect({0x04, 0x28, 0x12, 0x20, 0xff, 0x7f, 0x00, 0x00}, {0xc9});
    EXPECT_EQ(discrete.setEventEnable(0x20, 0xffff, 0), 0xc9);
}

TEST_F(IpmiSensorCommand, HysteresisIsAskedOnce)
{
    using Row = std::tuple<bool, Bytes, int, int>; // whether to refresh; answer, none if nothing is asked; up, down
    unsigned char up = 99, down = 99;
    for (const auto& [refresh, answer, expectedUp, expectedDown] :
         {Row{false, {0xc3}, 0, 0}, Row{false, {0x00, 3, 4}, 3, 4}, Row{false, {}, 3, 4}, Row{true, {0x00, 5}, 5, 0}}) {
        if (!answer.empty())
            expect({0x04, 0x25, 0x12, 0xff}, answer);
        EXPECT_EQ(analog.getHysteresis(up, down, refresh), answer.empty() ? 0 : answer[0]);
        EXPECT_EQ(facts("up down", up, down), facts("up down", expectedUp, expectedDown));
    }
    for (const unsigned int support : {0U, 3U})
        EXPECT_EQ(sensor<IpmiThresholdSensor>(record(kFull, 0x2c, support)).getHysteresis(up, down, true), -1);
}

TEST_F(IpmiSensorCommand, NoAnswerAndNobodyToAsk)
{
    auto software = sensor<IpmiThresholdSensor>(record(kFull, 0x41));
    auto nowhere = sensor<IpmiThresholdSensor>(record(kFull), 99);
    for (auto* made : {&software, &nowhere, &analog}) {
        if (made == &analog)
            Ipmi::IpmiIfcOpenIpmiClose(0);
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
