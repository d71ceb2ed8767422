// SPDX-License-Identifier: Apache-2.0
// Building sensors, and refreshing them from BMCs that fail.
#include "sdr/IpmiIfcSensor.h"

#include "sdr/SdrBmc.h"
#include "transport/Answer.h"
#include "transport/TargetScope.h"

using namespace Ipmi;
using namespace SdrTest;
using namespace std::chrono_literals;

namespace
{

/// A loaded node: what it asked while loading is counted, too.
struct LoadedBmc : SdrBmc {
    explicit LoadedBmc(std::vector<Bytes> records, Faults faults = {})
        : SdrBmc(machineOf(std::move(records)), std::move(faults))
    {
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
        sensors = IpmiIfc::getSensors(0);
    }
    std::vector<TRX::Reference<IpmiSensor>> sensors; ///< as first built

    /// What was asked, and forgotten with that: sensors' numbers for their readings, with "t" for their thresholds and
    /// "h" for their hysteresis; "?" and "b" or "s", for BMC or satellite, for a Get Device ID.
    std::string questions()
    {
        std::string text;
        for (const Sim::Request& request : bmc.log())
            if (request.netfn == netfnOf(kGetReading))
                text += (request.cmd == kGetThresholds   ? "t"
                         : request.cmd == kGetHysteresis ? "h"
                                                         : "") +
                        std::to_string(request.data.at(0)) + ' ';
            else if (request.netfn == 0x06 && request.cmd == 0x01)
                text += request.address == kBmc ? "?b " : request.channel == 0 ? "?s " : "?s1 ";
        bmc.keepLog(true);
        return text;
    }
};

// --- building

TEST(SensorBuild, KeepsAndDropsByTypeAndEntity)
{
    // Type of record; event/reading types; changes; how it is listed (Threshold or Discrete), what is asked of it, and
    // whether it makes the node one with memory sensors.
    using Row = std::tuple<Kind, Bytes, Changes, std::string>;
    constexpr Kind kFull = Kind::full, kCompact = Kind::compact, kEventOnly = Kind::eventOnly;
    const Changes noEntity{{kEntityAt, 0}}, ofBios{{kEntityAt, 0x22}};
    const std::vector<Row> full(
        {Row{kFull, {0x01}, {}, "T t1 1 "}, Row{kFull, {0x01}, ofBios, "T t1 1 "},
         Row{kFull, {0x02, 0x0c, 0x7f}, {}, "D 1 "}, Row{kFull, {0x6f}, noEntity, "D 1 "},
         Row{kFull, {0x6f}, ofBios, " 1 "}, Row{kFull, {0x00, 0x0d, 0x6e, 0x80}, {}, " "},
         Row{kFull, {0x6f}, {{12, 0x0c}, {15, 1}}, "D 1 M"}, Row{kFull, {0x0d}, {{12, 0x0c}, {14, 1}}, " M"},
         Row{kFull, {0x01}, {{kOwnerAt, kSoftware}}, "T "}, Row{kFull, {0x01}, {{kCapabilitiesAt, 0x18}}, "T t1 h1 1 "},
         Row{kFull, {0x01}, {{kCapabilitiesAt, 0x28}}, "T t1 h1 1 "},
         Row{kFull, {0x01}, {{kCapabilitiesAt, 0x38}}, "T t1 1 "}});
    const std::vector<Row> others(
        {Row{kCompact, {0x01}, noEntity, "T t1 1 "}, Row{kCompact, {0x03}, {}, "D 1 "},
         Row{kCompact, {0x6f}, {{kEntityAt, 0x2c}}, "D 1 "}, Row{kCompact, {0x6f}, noEntity, " 1 "},
         Row{kCompact, {0x6f}, ofBios, " 1 "}, Row{kCompact, {0x0d}, {}, " "},
         Row{kCompact, {0x6f}, {{12, 0x0c}, {17, 1}}, "D 1 M"}, Row{kCompact, {0x6f}, {{12, 0x0c}}, "D 1 "},
         Row{kEventOnly, {0x01}, {}, "T t1 "}, Row{kEventOnly, {0x6f}, noEntity, "D "},
         Row{kEventOnly, {0x03, 0x0d}, {{13, 0x75}}, "D "}, // OEM by its sharing byte
         Row{kEventOnly, {0x75}, {}, " "}, Row{kEventOnly, {0x6f}, ofBios, " "},
         Row{kEventOnly, {0x6f}, {{10, 0x0c}}, "D M"}});
    for (const auto* rows : {&full, &others})
        for (const auto& [kind, eventTypes, changes, facts] : *rows)
            for (const std::uint8_t eventType : eventTypes) {
                SCOPED_TRACE(testing::Message() << int(kind) << ", type " << int{eventType} << ": " << facts);
                LoadedBmc node({sensorRecord(kind, eventType, changes)});
                ASSERT_LE(node.sensors.size(), 1u);
                const std::string listed = node.sensors.empty() ? "" : node.sensors[0]->isDiscrete() ? "D" : "T";
                EXPECT_EQ(node.priorities().size(), kind == kEventOnly && eventType == 0x01) << "unknown thresholds";
                EXPECT_EQ(listed + ' ' + node.questions() + (IpmiIfc::generatesMemoryEvents() ? "M" : ""), facts);
            }
}

TEST(SensorBuild, SkipsIoModulesOfOneMakersEarlyFirmware)
{
    using Row = std::tuple<bool, int, int, std::size_t, int>; // of the maker, version, sensors kept, lines
    for (const auto& [maker, major, minor, kept, lines] :
         {Row{true, 1, 0x3f, 0, 1}, Row{true, 0, 0x10, 0, 0}, Row{true, 1, 0x40, 1, 0}, Row{false, 1, 0x3f, 1, 0}}) {
        LoadedBmc node({sensorRecord(Kind::compact, 0x6f, {{kEntityAt, 0x2c}})});
        IpmiIfc::hpe_bmc = maker, IpmiIfc::maj = major, IpmiIfc::min = minor;
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
        EXPECT_EQ(IpmiIfc::getSensors(0).size(), kept) << major << '.' << minor;
        EXPECT_EQ(node.questions(), "1 1 ");
        EXPECT_EQ(node.debugLines("skip sensor HPE 44 for firmware version 1.3f"), lines);
        IpmiIfc::hpe_bmc = false;
    }
}

TEST(SensorList, IsFullThenCompactThenEventOnlyNewestFirst)
{
    const auto two = [](std::uint16_t id, unsigned number, unsigned owner, unsigned lunByte) { // sensors of a record
        return sensorRecord(Kind::compact, 0x6f, {{kOwnerAt, owner}, {kLunAt, lunByte}, {kNumberAt, number}, {23, 2}},
                            id);
    };
    LoadedBmc node({two(1, 6, kBmc, 0x10), two(2, 4, kBmc, 0), two(3, 4, kBmc, 1), two(4, 4, kSatellite, 0),
                    sensorRecord(Kind::eventOnly, 0x6f, {{kNumberAt, 0x10}}, 5),
                    sensorRecord(Kind::full, 0x6f, {{kNumberAt, 0x12}}, 6),
                    sensorRecord(Kind::full, 0x6f, {{kNumberAt, 0x13}}, 7), sensorRecord(Kind::full, 0x6e, {}, 8),
                    sensorRecord(Kind::compact, 0x0d, {}, 9)});
    std::vector<int> numbers;
    for (const auto& sensor : IpmiIfc::getSensors())
        numbers.push_back(sensor->getSensorNumber());
    ASSERT_EQ(numbers, (std::vector<int>{0x13, 0x12, 5, 4, 5, 4, 5, 4, 7, 6, 0x10}));
    for (const char* line : {"dropping sdr, full event_type 6e (ID: 8, Type 1)\n",
                             "dropping sdr, compact event_type 13, full event_type 13\n"})
        EXPECT_EQ(node.debugLines(line), 1);

    for (const unsigned owner : {0x20u, 0x1120u}) { // the first of the owner on channel and LUN 0
        for (const unsigned none : {0x105u, 6u, 8u})
            EXPECT_FALSE(IpmiIfc::getSensor(0, none, owner));
        ASSERT_TRUE(IpmiIfc::getSensor(0, 5, owner));
        EXPECT_EQ(IpmiIfc::getSensor(5, owner)->getSensorRecordNumber(), 2);
    }
    EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0); // a rebuild makes new sensors; the old ones live on
    EXPECT_NE(IpmiIfc::getSensors(0).at(0).get(), node.sensors[0].get());
    IpmiIfcCloseForCLI(0);
    EXPECT_TRUE(IpmiIfc::getSensors(0).empty());
    EXPECT_EQ(node.sensors[0]->getSensorNumber(), 0x13);
}

// --- readings

TEST(SensorReading, SaysWhatWentWrongAndGivesUp)
{
    using Row =
        std::tuple<Sim::FaultAction, unsigned, int, Priorities>; // action, result, asked in 5 refreshes, complaints
    for (const auto& [action, result, asked, complaints] :
         {Row{cut(3), 0, 5, {}}, Row{code(0xcb), 0xcb, 0, {}}, Row{code(0xcd), 0xcd, 0, {}},
          Row{code(0xc3), 0xc3, 3, {LOG_WARNING}}, Row{code(0xff), 0xff, 5, {LOG_WARNING}},
          Row{kSilence, UINT_MAX, 5, {}}}) {
        SCOPED_TRACE(result);
        LoadedBmc node({sensorRecord(Kind::full, 0x6f)}, {fault(kGetReading, 1, 0, action)});
        const IpmiSensor& sensor = *node.sensors.at(0);
        EXPECT_EQ(sensor.getLastReadResult(), result);
        EXPECT_EQ(sensor.getLastReading().valid, result == 0);
        EXPECT_EQ(node.priorities(), complaints);
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(IpmiIfcSensorUpdateReading(0), 0);
        EXPECT_EQ(node.asked(kGetReading), 1 + asked);
        EXPECT_EQ(node.debugLines("Skipping reading update for previous failed sensor 0x1"), 5 - asked);
        node.restart(); // healthy again, but until the next build those that are skipped are not asked
        EXPECT_EQ(IpmiIfcSensorUpdateReading(0), 0);
        EXPECT_EQ(node.questions(), asked == 5 ? "1 " : "");
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
        EXPECT_TRUE(IpmiIfc::getSensors(0).at(0)->getLastReading().available());
    }
}

TEST(SensorReading, RefreshEndsAtTheFirstSensorWithoutAnAnswer)
{
    using Row = std::tuple<std::uint8_t, Faults, std::string>; // owner of the second sensor asked, faults, questions
    for (const auto& [owner, faults, questions] :
         {Row{kSatellite, {}, "3 t3 2 t2 1 t1 "}, Row{kBmc, {fault(kGetReading, 2, 1, code(0xd5))}, "3 t3 2 t2 1 t1 "},
          Row{kBmc, {fault(kGetReading, 2, 1, kSilence)}, "3 t3 2 "}, Row{kSoftware, {}, "3 t3 "}}) {
        LoadedBmc node({sensorRecord(Kind::full, 1, {{kNumberAt, 1}}, 1),
                        sensorRecord(Kind::full, 1, {{kNumberAt, 2}, {kOwnerAt, owner}}, 2),
                        sensorRecord(Kind::full, 1, {{kNumberAt, 3}}, 3)});
        node.restart(faults);
        EXPECT_EQ(IpmiIfcSensorUpdateReading(0), 0);
        EXPECT_EQ(node.questions(), questions);
        EXPECT_EQ(node.debugLines("IpmiIfcSensorUpdateReading: failed send to get reading."), questions.size() < 9);
    }
}

TEST(SensorThresholds, AreKeptWithHysteresisWhenTheBmcFails)
{
    // What goes wrong; lower non-critical and upper non-recoverable afterwards; complaints.
    using Row = std::tuple<std::uint8_t, Sim::FaultAction, int, int, Priorities>;
    for (const auto& [cmd, action, first, last, complaints] :
         {Row{kGetThresholds, {}, 11, 222, {}}, Row{kGetThresholds, kSilence, 10, 220, {LOG_WARNING}},
          Row{kGetThresholds, code(0xcb), 10, 220, {LOG_WARNING}}, Row{kGetThresholds, cut(2), 0, 0, {}},
          Row{kGetThresholds, cut(4), 11, 0, {}}, Row{kGetHysteresis, code(0xcd), 11, 222, {LOG_ERR}}}) {
        SCOPED_TRACE(testing::Message() << first << ' ' << last);
        LoadedBmc node({sensorRecord(Kind::full, 0x01, {{kCapabilitiesAt, 0x18}, {42, 4}, {43, 6}})});
        node.bmc.change(
            [](Sim::Machine& machine) { machine.sensors.begin()->second.thresholds = {11, 5, 1, 200, 210, 222}; });
        node.restart({fault(cmd, 1, 0, action)});
        IpmiIfcSensorUpdateReading(0);
        const IpmiSensor::Thresholds thresholds = node.sensors.at(0)->getLastThresholds();
        unsigned char up = 0, down = 0;
        EXPECT_EQ(node.sensors.at(0)->getHysteresis(up, down, false), 0);
        EXPECT_EQ(
            facts("readable first last up down", thresholds.readable, thresholds.raw[0], thresholds.raw[5], up, down),
            facts("readable first last up down", 0x3f, first, last, 4, 6));
        EXPECT_EQ(node.priorities(), complaints);
    }
}

// --- refreshing each sensor for itself

/// Six loaded sensors: 1 and 2 of the BMC, 3 of system software, 4 to 6 of a satellite. Commands without retries.
struct SixSensors : LoadedBmc {
    SixSensors() : LoadedBmc(records())
    {
        sim.device([](Sim::Device& device) { device.setIpmbTiming(0, 1s); });
        restart();
    }
    static std::vector<Bytes> records()
    {
        std::vector<Bytes> all;
        for (const std::uint8_t number : Bytes{6, 5, 4, 3, 2, 1}) { // the lists turn their order
            const std::uint8_t owner = number < 3 ? kBmc : number == 3 ? kSoftware : kSatellite;
            all.push_back(sensorRecord(Kind::full, 0x6f, {{kNumberAt, number}, {kOwnerAt, owner}}, number));
        }
        return all;
    }
    /// One pass: what was asked, and sensors without a reading.
    std::string pass()
    {
        questions();
        const int without = IpmiIfcSensorRefreshAll(0);
        return questions() + std::to_string(without);
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

TEST(SensorRefreshAll, AFailingSensorCostsItselfLessAndLessOften)
{
    for (const std::uint8_t cc : Bytes{0xcb, 0xc0, 0xc3}) {
        SixSensors node;
        node.restart({always(kBmc, code(cc), {1})});
        EXPECT_EQ(node.passesLike("1 2 4 5 6 1", 100), "1 2 4 8 16 32 64 96 ") << int{cc};
        EXPECT_EQ(SixSensors::valid(), "2456");
        node.restart();
        EXPECT_EQ(node.passesLike("1 2 4 5 6 0", 30), "28 29 30 ");
        node.restart({always(kBmc, code(cc), {1})});
        EXPECT_EQ(node.passesLike("1 2 4 5 6 1", 40), "1 2 4 8 16 32 ");
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0); // forgets failures
        EXPECT_EQ(node.pass(), "1 2 4 5 6 1");
    }
    EXPECT_EQ(IpmiIfcSensorRefreshAll(-1), -1);
    EXPECT_EQ(IpmiIfcSensorRefreshAll(1), 0) << "a node without sensors";
}

TEST(SensorRefreshAll, ASilentControllerIsAskedAlone)
{
    SixSensors node;
    node.restart({always(kSatellite, kSilence)});
    EXPECT_EQ(node.pass(), "1 2 4 ?s 3");
    EXPECT_EQ(SixSensors::valid(), "12");
    EXPECT_EQ(node.passesLike("1 2 ?s 3", 70), "1 3 7 15 31 63 ");
    node.sim.clock().advance(5s);
    EXPECT_GE(IpmiIfc::getSensor(4, kSatellite)->getReadingAge(), 5000);
    EXPECT_EQ(IpmiIfc::getSensor(1, kBmc)->getReadingAge(), 5000);
    EXPECT_EQ(IpmiIfc::getSensor(3, kSoftware)->getReadingAge(), -1);

    const auto answerSomebody = [&node] {
        node.restart();
        EXPECT_EQ(node.pass(), "1 2 3") << "its turn has not come";
        const TargetScope satellite(0, kSatellite, 0, 0);
        ask(0, wire::kGetDeviceId);
    };
    answerSomebody();
    EXPECT_EQ(node.pass(), "1 2 4 5 6 0");
    node.restart({always(kSatellite, code(0xcb), {4})});
    EXPECT_EQ(node.passesLike("1 2 4 5 6 1", 9), "1 2 4 8 ");
    node.restart({always(kSatellite, kSilence)});
    EXPECT_EQ(node.passesLike("1 2 5 ?s 3", 2), "1 ");
    answerSomebody();
    EXPECT_EQ(node.pass(), "1 2 4 5 6 0") << "whatever failed before its silence";
}

TEST(SensorRefreshAll, ControllersAtOneAddressOfTwoChannelsAreTwo)
{
    const Changes first{{kNumberAt, 1}, {kOwnerAt, kSatellite}},
        second{{kOwnerAt, kSatellite}, {kLunAt, 0x10}, {kNumberAt, 2}};
    LoadedBmc node({sensorRecord(Kind::full, 0x6f, second, 2), sensorRecord(Kind::full, 0x6f, first, 1)});
    node.sim.device([](Sim::Device& device) {
        device.setIpmbChannels(1U << 0 | 1U << 1);
        device.setIpmbTiming(0, 1s);
    });
    EXPECT_GT(IpmiIfcOpenIpmiOpen(0), 0); // the channels are told at opening
    node.restart({always(kSatellite, kSilence)});
    EXPECT_EQ(IpmiIfcSensorRefreshAll(0), 2);
    EXPECT_EQ(node.questions(), "1 ?s 2 ?s1 ");
}

TEST(SensorRefreshAll, ASilentBmcCostsTwoTimeoutsAndThenOne)
{
    SixSensors node;
    node.restart({{.action = kSilence}});
    const auto start = node.sim.clock().steadyTime();
    EXPECT_EQ(node.pass(), "1 ?b 5");
    EXPECT_EQ(node.sim.clock().steadyTime() - start, 60s);
    EXPECT_EQ(SixSensors::valid(), "");
    EXPECT_EQ(IpmiIfc::getSensor(2, kBmc)->getLastReadResult(), ~0U);
    EXPECT_EQ(node.passesLike("?b 5", 30), "1 3 7 15 ") << "and nothing behind it is asked";
    node.restart();
    for (int i = 0; i < 2; ++i)
        node.pass(); // late answers, and its turn
    EXPECT_EQ(node.pass(), "1 2 4 5 6 0");
}

} // namespace
