#include "sdr/IpmiIfcSensor.h"

#include "ipmi/IpmiIfc.h"
#include "sdr/SdrBmc.h"

using namespace Ipmi;
using namespace SdrTest;

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
};

// --- building

TEST(SensorBuild, KeepsAndDropsByTypeAndEntity)
{
    enum List { unlisted, discrete, threshold };
    struct Case {
        std::uint8_t eventType, entity = 7, sharing = 0;
    };
    constexpr Kind kFull = Kind::full, kCompact = Kind::compact, kEventOnly = Kind::eventOnly;
    static const struct {
        Kind kind;
        List list;
        int reads; ///< commands
        std::vector<Case> cases;
        const char* log = nullptr;
    } rows[] = {
        {kFull, threshold, 1, {{0x01}, {0x01, 0x22}}},
        {kFull, discrete, 1, {{0x02}, {0x0c}, {0x6f, 0}, {0x7f}}},
        {kFull, unlisted, 1, {{0x6f, 0x22}}}, // of the BIOS
        {kFull, unlisted, 0, {{0x00}, {0x0d}, {0x80}}},
        {kFull, unlisted, 0, {{0x6e}}, "dropping sdr, full event_type 6e (ID: 0, Type 1)\n"},
        {kCompact, threshold, 1, {{0x01}, {0x01, 0}}},
        {kCompact, discrete, 1, {{0x03}, {0x6f, 0x2c}}},
        {kCompact, unlisted, 1, {{0x6f, 0}, {0x6f, 0x22}}},
        {kCompact, unlisted, 0, {{0x0d}}, "dropping sdr, compact event_type 13, full event_type 13\n"},
        {kEventOnly, threshold, 0, {{0x01}}},
        {kEventOnly, discrete, 0, {{0x03, 7, 0x75}, {0x6f, 0}, {0x0d, 7, 0x75}}}, // the last by its sharing byte
        {kEventOnly, unlisted, 0, {{0x75}, {0x6f, 0x22}}},
    };
    for (const auto& row : rows) {
        for (const auto& [eventType, entity, sharing] : row.cases) {
            SCOPED_TRACE(std::to_string(int(row.kind)) + ", type " + std::to_string(eventType));
            Bytes record = sensorRecord(row.kind, eventType, {{kEntityAt, entity}});
            if (row.kind == kEventOnly)
                record.at(13) = sharing;
            LoadedBmc node({record});
            EXPECT_EQ(node.asked(kGetReading), row.reads);
            EXPECT_EQ(node.asked(kGetThresholds), row.list == threshold ? 1 : 0);
            EXPECT_TRUE(!row.log || node.debugLines(row.log) == 1);
            ASSERT_EQ(node.sensors.size(), row.list == unlisted ? 0u : 1u);
            EXPECT_EQ(!node.sensors.empty() && node.sensors[0]->isDiscrete(), row.list == discrete);
        }
    }
}

TEST(SensorBuild, SkipsIoModulesOfOneMakersEarlyFirmware)
{
    static const struct {
        bool maker;
        int major, minor, skipped, logged;
    } rows[] = {{true, 1, 0x3f, 1, 1}, {true, 0, 0x10, 1, 0}, {true, 1, 0x40, 0, 0}, {false, 1, 0x3f, 0, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.major * 256 + row.minor);
        SdrBmc node({sensorRecord(Kind::compact, 0x6f, {{kEntityAt, 0x2c}})});
        IpmiIfc::hpe_bmc = row.maker, IpmiIfc::maj = row.major, IpmiIfc::min = row.minor;
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
        EXPECT_EQ(IpmiIfc::getSensors(0).size(), row.skipped ? 0u : 1u);
        EXPECT_EQ(node.asked(kGetReading), 1);
        EXPECT_EQ(node.debugLines("skip sensor HPE 44 for firmware version 1.3f"), row.logged);
        IpmiIfc::hpe_bmc = false;
    }
}

TEST(SensorBuild, FlagsMemorySensorsThatReport)
{
    constexpr std::uint8_t kMemory = 0x0c;
    static const std::pair<Bytes, int> rows[] = {
        {sensorRecord(Kind::full, 0x6f, {{12, kMemory}, {15, 1}}), 1},    // asserts
        {sensorRecord(Kind::compact, 0x6f, {{12, kMemory}, {17, 1}}), 1}, // deasserts
        {sensorRecord(Kind::compact, 0x6f, {{12, kMemory}}), 0},          // neither
        {sensorRecord(Kind::eventOnly, 0x6f, {{10, kMemory}}), 1},
        {sensorRecord(Kind::full, 0x0d, {{12, kMemory}, {14, 1}}), 1}}; // dropped all the same
    for (const auto& [record, flag] : rows) {
        const LoadedBmc node({record});
        EXPECT_EQ(g_IpmiNode[0].memorySensor, flag) << testing::PrintToString(record);
    }
}

TEST(SensorBuild, ListsFullThenCompactThenEventOnlyNewestFirst)
{
    LoadedBmc node({sensorRecord(Kind::eventOnly, 0x6f, {{kNumberAt, 0x10}}, 1),
                    sensorRecord(Kind::compact, 0x6f, {{kNumberAt, 0x40}, {23, 2}}, 2),
                    sensorRecord(Kind::full, 0x6f, {{kNumberAt, 0x12}}, 3),
                    sensorRecord(Kind::full, 0x6f, {{kNumberAt, 0x13}}, 4),
                    sensorRecord(Kind::compact, 0x6f, {{kNumberAt, 0x14}}, 5)});
    std::vector<int> numbers;
    for (const auto& sensor : node.sensors)
        numbers.push_back(sensor->getSensorNumber());
    ASSERT_EQ(numbers, (std::vector<int>{0x13, 0x12, 0x14, 0x41, 0x40, 0x10}));

    EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0); // a rebuild makes new sensors; the old ones live on
    EXPECT_NE(IpmiIfc::getSensors(0).at(0).get(), node.sensors[0].get());
    EXPECT_EQ(node.sensors[0]->getSensorNumber(), 0x13);
}

TEST(SensorLookup, TakesTheFirstOfTheOwnerOnChannelAndLunZero)
{
    const auto sensor = [](std::uint16_t id, std::uint8_t number, std::uint8_t owner, std::uint8_t lunByte) {
        return sensorRecord(Kind::compact, 0x6f, {{kOwnerAt, owner}, {kLunAt, lunByte}, {kNumberAt, number}}, id);
    };
    LoadedBmc node(
        {sensor(1, 6, kBmc, 0x10), sensor(2, 5, kBmc, 0), sensor(3, 5, kBmc, 1), sensor(4, 5, kSatellite, 0)});
    for (const unsigned owner : {0x20u, 0x1120u}) {
        for (const unsigned none : {0x105u, 6u, 7u})
            EXPECT_FALSE(IpmiIfc::getSensor(0, none, owner));
        ASSERT_TRUE(IpmiIfc::getSensor(0, 5, owner));
        EXPECT_EQ(IpmiIfc::getSensor(5, owner)->getSensorRecordNumber(), 2);
    }
    EXPECT_EQ(IpmiIfc::getSensors().size(), 4u);
}

// --- readings

constexpr const char* kSkipping = "Skipping reading update for previous failed sensor 0x1";

TEST(SensorReading, SaysWhatWentWrongAndSkipsWhatIsNotThere)
{
    static const struct {
        const char* name;
        Sim::FaultAction action;
        unsigned result; ///< as kept
        int skips = 0;   ///< of two refreshes
        const char* warning = nullptr;
    } rows[] = {
        {"without states", cut(3), 0},
        {"not present", code(0xcb), 0xcb, 2},
        {"illegal", code(0xcd), 0xcd, 2},
        {"FFh", code(0xff), 0xff, 0, "IpmiIfcSensorGetReading: Sensor Number 0x1, failed send cc = 0xff"},
        {"silence", kSilence, UINT_MAX},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        LoadedBmc node({sensorRecord(Kind::full, 0x6f)}, {fault(kGetReading, 1, 0, row.action)});
        const IpmiSensor& sensor = *node.sensors.at(0);
        EXPECT_EQ(sensor.getLastReadResult(), row.result);
        EXPECT_EQ(sensor.getLastReading().valid, row.result == 0);
        EXPECT_EQ(node.complaints(), line(LOG_WARNING, row.warning));
        node.bmc.clearCounts();
        for (int i = 0; i < 2; ++i)
            IpmiIfcSensorUpdateReading(0);
        EXPECT_EQ(node.asked(kGetReading), 2 - row.skips);
        EXPECT_EQ(node.debugLines(kSkipping), row.skips);
    }
}

TEST(SensorReading, IsAskedOfTheOwnerAndNeverOfSoftware)
{
    static const struct {
        std::uint8_t owner, lunByte, channel, lun;
        std::size_t requests; ///< thresholds, hysteresis, reading
    } rows[] = {{kBmc, 0, 0x0f, 0, 3}, {kSatellite, 0, 0, 0, 3}, {kSatellite, 3, 0, 3, 3}, {kSoftware, 0, 0, 0, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.owner + row.lunByte);
        LoadedBmc node(
            {sensorRecord(Kind::full, 0x01, {{kOwnerAt, row.owner}, {kLunAt, row.lunByte}, {kCapabilitiesAt, 0x18}})});
        IpmiIfcSdrReserve(0); // to the BMC again
        auto requests = node.bmc.log();
        EXPECT_EQ(requests.back().address, kBmc);
        std::erase_if(requests, [](const Sim::Request& request) { return request.netfn != netfnOf(kGetReading); });
        EXPECT_EQ(requests.size(), row.requests);
        for (const Sim::Request& request : requests) {
            EXPECT_EQ(request.address, row.owner);
            EXPECT_EQ(request.channel, row.channel);
            EXPECT_EQ(request.lun, row.lun);
            EXPECT_EQ(request.data.at(0), 1);
        }
    }
}

// --- refresh

TEST(SensorRefresh, GivesUpOnASensorThatTimesOutFourTimes)
{
    LoadedBmc node({sensorRecord(Kind::full, 0x01)}, {fault(kGetReading, 1, 0, code(0xc3))});
    for (const unsigned repeats : {1u, 2u, 3u}) {
        EXPECT_EQ(IpmiIfcSensorUpdateReading(0), 0);
        EXPECT_EQ(node.sensors.at(0)->getReadResultRepeats(), repeats);
    }
    EXPECT_EQ(node.debugLines("Entering IpmiIfcSensorUpdateReading"), 3);
    EXPECT_EQ(node.debugLines(kSkipping), 0);
    node.restart(); // healthy again, and not asked
    for (int i = 0; i < 2; ++i)
        IpmiIfcSensorUpdateReading(0);
    EXPECT_EQ(node.bmc.count(), 0u);
    EXPECT_EQ(node.debugLines(kSkipping), 2);
    EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0); // until the next build
    EXPECT_TRUE(IpmiIfc::getSensors(0).at(0)->getLastReading().available());
}

TEST(SensorRefresh, EndsAtTheFirstSensorWithoutAnAnswer)
{
    static const struct {
        const char* name;
        std::uint8_t owner; ///< of the second sensor asked
        Faults faults;
        int readings, thresholds;
    } rows[] = {{"all answer", kSatellite, {}, 3, 3},
                {"a code", kBmc, {fault(kGetReading, 2, 1, code(0xd5))}, 3, 3},
                {"silence", kBmc, {fault(kGetReading, 2, 1, kSilence)}, 2, 1},
                {"system software", kSoftware, {}, 1, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        LoadedBmc node({sensorRecord(Kind::full, 1, {{kNumberAt, 1}}, 1),
                        sensorRecord(Kind::full, 1, {{kNumberAt, 2}, {kOwnerAt, row.owner}}, 2),
                        sensorRecord(Kind::full, 1, {{kNumberAt, 3}}, 3)});
        node.restart(row.faults);
        EXPECT_EQ(IpmiIfcSensorUpdateReading(0), 0);
        EXPECT_EQ(node.asked(kGetReading), row.readings);
        EXPECT_EQ(node.asked(kGetThresholds), row.thresholds);
        EXPECT_EQ(node.debugLines("IpmiIfcSensorUpdateReading: failed send to get reading."), row.readings < 3 ? 1 : 0);
    }
}

// --- thresholds and hysteresis

TEST(SensorThresholds, AreKeptWhenTheBmcFails)
{
    static const struct {
        const char* name;
        Sim::FaultAction action;
        int first, last; ///< lower non-critical and upper non-recoverable afterwards
        const char* cc = nullptr;
    } rows[] = {{"no fault", {}, 11, 222},
                {"silence", kSilence, 10, 220, "0xff"},
                {"a code", code(0xcb), 10, 220, "0xcb"},
                {"mask alone", cut(2), 0, 0},
                {"not all", cut(4), 11, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        LoadedBmc node({sensorRecord(Kind::full, 0x01)});
        node.bmc.change(
            [](Sim::Machine& machine) { machine.sensors.begin()->second.thresholds = {11, 5, 1, 200, 210, 222}; });
        node.restart({fault(kGetThresholds, 1, 0, row.action)});
        IpmiIfcSensorUpdateReading(0);
        const IpmiSensor::Thresholds thresholds = node.sensors.at(0)->getLastThresholds();
        EXPECT_EQ(thresholds.readable, 0x3f);
        EXPECT_EQ(thresholds.raw[0], row.first);
        EXPECT_EQ(thresholds.raw[5], row.last);
        const std::string text = "IpmiIfcSensorGetThresholds: Sensor Number = 0x1, failed send cc = ";
        EXPECT_EQ(node.complaints(), row.cc ? line(LOG_WARNING, (text + row.cc).c_str()) : Lines{});
    }
}

TEST(SensorHysteresis, IsCachedWhenTheRecordSaysThatItIsReadable)
{
    const Lines failed = line(LOG_ERR, "IpmiIfcSensorGetThresholds: getHysteresis(0, 0, true) returned cc = 205");
    for (const int support : {0, 1, 2, 3}) {
        for (const bool fails : {false, true}) {
            const bool readable = support == 1 || support == 2;
            const auto capabilities = static_cast<std::uint8_t>(0x08 | support << 4);
            LoadedBmc node({sensorRecord(Kind::full, 0x01, {{kCapabilitiesAt, capabilities}, {42, 4}, {43, 6}})},
                           fails ? Faults{fault(kGetHysteresis, 1, 0, code(0xcd))} : Faults{});
            EXPECT_EQ(node.asked(kGetHysteresis), readable ? 1 : 0);
            unsigned char positive = 0, negative = 0;
            node.sensors.at(0)->getHysteresis(positive, negative, false);
            EXPECT_EQ(positive * 256 + negative, readable && !fails ? 0x406 : 0);
            EXPECT_EQ(node.complaints(), readable && fails ? failed : Lines{});
        }
    }
}

} // namespace
