#include "sdr/IpmiIfcSensor.h"

#include "ipmi/IpmiIfc.h"
#include "sdr/SdrBmc.h"

#include <climits>

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
        const char* name;
        Kind kind;
        std::vector<Case> cases;
        List list;
        int reads; ///< commands
        const char* log = nullptr;
    } rows[] = {
        {"full threshold", kFull, {{0x01}, {0x01, 0x22}}, threshold, 1},
        {"full discrete", kFull, {{0x02}, {0x0c}, {0x6f}, {0x70}, {0x7f}, {0x6f, 0}}, discrete, 1},
        {"full discrete of the BIOS", kFull, {{0x6f, 0x22}}, unlisted, 1},
        {"full of no type", kFull, {{0x00}, {0x0d}, {0x80}}, unlisted, 0},
        {"full 6Eh", kFull, {{0x6e}}, unlisted, 0, "dropping sdr, full event_type 6e (ID: 0, Type 1)\n"},
        {"compact threshold", kCompact, {{0x01}, {0x01, 0}}, threshold, 1},
        {"compact discrete", kCompact, {{0x03}, {0x6f, 0x2c}}, discrete, 1},
        {"compact discrete of none, the BIOS", kCompact, {{0x6f, 0}, {0x6f, 0x22}}, unlisted, 1},
        {"compact 0Dh", kCompact, {{0x0d}}, unlisted, 0, "dropping sdr, compact event_type 13, full event_type 13\n"},
        {"event-only threshold", kEventOnly, {{0x01}}, threshold, 0},
        {"event-only", kEventOnly, {{0x03, 7, 0x75}, {0x6f}, {0x6f, 0}}, discrete, 0},
        {"event-only OEM by its sharing byte", kEventOnly, {{0x0d, 7, 0x75}}, discrete, 0},
        {"event-only OEM by its type, of the BIOS", kEventOnly, {{0x75}, {0x6f, 0x22}}, unlisted, 0},
    };
    for (const auto& row : rows) {
        for (const auto& [eventType, entity, sharing] : row.cases) {
            SCOPED_TRACE(std::string(row.name) + ", type " + std::to_string(eventType));
            Bytes record = sensorRecord(row.kind, eventType, {{kEntityAt, entity}});
            if (row.kind == kEventOnly)
                record.at(13) = sharing;
            LoadedBmc node({record});
            const int thresholds = row.list == threshold ? 1 : 0;
            EXPECT_EQ(node.asked(kGetReading), row.reads);
            EXPECT_EQ(node.asked(kGetThresholds), thresholds);
            EXPECT_TRUE(!row.log || node.debugLines(row.log) == 1);
            ASSERT_EQ(node.sensors.size(), row.list == unlisted ? 0u : 1u);
            for (const auto& sensor : node.sensors) {
                EXPECT_EQ(sensor->isDiscrete(), row.list == discrete);
                EXPECT_EQ(sensor->getLastReading().valid, row.reads == 1);
                node.restart();
                EXPECT_EQ(IpmiIfcSensorUpdateReading(0), 0);
                EXPECT_EQ(node.asked(kGetReading), row.reads);
                EXPECT_EQ(node.asked(kGetThresholds), thresholds);
            }
        }
    }
    for (const std::uint8_t kind : Bytes{1, 2, 3}) // without a body
        EXPECT_TRUE(LoadedBmc({{1, 0, 0x51, kind, 0}}).sensors.empty());
}

TEST(SensorBuild, SkipsIoModulesOfOneMakersEarlyFirmware)
{
    static const struct {
        bool maker;
        int major, minor, skipped, logged;
    } rows[] = {{true, 1, 0x3f, 1, 1},
                {true, 0, 0x10, 1, 0},
                {true, 1, 0x40, 0, 0},
                {true, 2, 0, 0, 0},
                {false, 1, 0x3f, 0, 0}};
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
        {sensorRecord(Kind::eventOnly, 0x6f, {{10, kMemory}}), 1},        {sensorRecord(Kind::full, 0x01), 0},
        {sensorRecord(Kind::full, 0x0d, {{12, kMemory}, {14, 1}}), 1}}; // dropped all the same
    for (const auto& [record, flag] : rows) {
        SCOPED_TRACE(testing::PrintToString(record));
        LoadedBmc node({record});
        EXPECT_EQ(g_IpmiNode[0].memorySensor, flag);
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

TEST(SensorReading, FollowsTheAnswer)
{
    static const struct {
        const char* name;
        Sim::FaultAction action;
        unsigned result; ///< as kept
        int length;      ///< of the reading; 0: none
        bool present = true;
        int skips = 0; ///< of two refreshes
        const char* warning = nullptr;
    } rows[] = {
        {"good", {}, 0, 5},
        {"without states", cut(3), 0, 3},
        {"without a reading", cut(1), 0, 1},
        {"too long", lengthened(40), 0, 5},
        {"not present", code(0xcb), 0xcb, 0, false, 2},
        {"illegal", code(0xcd), 0xcd, 0, true, 2},
        {"late", code(0xc3), 0xc3, 0, true, 0, "IpmiIfcSensorGetReading: Sensor Number 0x1, failed send cc = 0xc3"},
        {"FFh", code(0xff), 0xff, 0, true, 0, "IpmiIfcSensorGetReading: Sensor Number 0x1, failed send cc = 0xff"},
        {"silence", kSilence, UINT_MAX, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        LoadedBmc node({sensorRecord(Kind::full, 0x6f)}, {fault(kGetReading, 1, 0, row.action)});
        const IpmiSensor::Reading reading = node.sensors.at(0)->getLastReading();
        EXPECT_EQ(node.sensors[0]->getLastReadResult(), row.result);
        EXPECT_EQ(reading.valid, row.length != 0);
        EXPECT_EQ(reading.present, row.present);
        EXPECT_EQ(reading.length, row.length);
        EXPECT_EQ(reading.flags, row.length > 2 ? 0xc0 : 0);
        EXPECT_EQ(reading.state2, row.length > 4 ? 0x80 : 0);
        EXPECT_EQ(node.complaints(), line(LOG_WARNING, row.warning));
        node.bmc.clearCounts();
        IpmiIfcSensorUpdateReading(0);
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
        EXPECT_EQ(node.sensors.at(0)->getLastThresholds().readable, row.requests ? 0x3f : 0);
        EXPECT_EQ(node.sensors.at(0)->getLastReading().valid, row.requests != 0);
        ipmiifc_sensor_reading_list entry;
        EXPECT_EQ(IpmiIfcSensorGetReading(0, nullptr), -2);
        EXPECT_EQ(IpmiIfcSensorGetReading(0, &entry), -2);
        EXPECT_EQ(node.debugLines("IpmiIfcSensorGetReading: sreading->sdr not valid"), 2);
        IpmiIfcSensorGetThresholds(0, nullptr, {});
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
    } rows[] = {{"all answer", kBmc, {}, 3, 3},
                {"a satellite", kSatellite, {}, 3, 3},
                {"a code", kBmc, {fault(kGetReading, 2, 1, code(0xd5))}, 3, 3},
                {"silence", kBmc, {fault(kGetReading, 2, 1, kSilence)}, 2, 1},
                {"system software", kSoftware, {}, 1, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        LoadedBmc node({sensorRecord(Kind::full, 1, {{kNumberAt, 1}}, 1),
                        sensorRecord(Kind::full, 1, {{kNumberAt, 2}, {kOwnerAt, row.owner}}, 2),
                        sensorRecord(Kind::full, 1, {{kNumberAt, 3}}, 3)});
        node.bmc.setRawReading({kBmc, 0, 3}, 99);
        node.bmc.setRawReading({kBmc, 0, 1}, 77);
        node.restart(row.faults);
        EXPECT_EQ(IpmiIfcSensorUpdateReading(0), 0);
        EXPECT_EQ(node.asked(kGetReading), row.readings);
        EXPECT_EQ(node.asked(kGetThresholds), row.thresholds);
        EXPECT_EQ(node.sensors.at(0)->getLastReading().raw, 99);
        EXPECT_EQ(node.sensors.at(2)->getLastReading().raw == 77, row.readings == 3);
        EXPECT_EQ(node.debugLines("IpmiIfcSensorUpdateReading: failed send to get reading."),
                  row.readings == 3 ? 0 : 1);
    }
}

// --- thresholds and hysteresis

TEST(SensorThresholds, AreKeptWhenTheBmcFails)
{
    static const struct {
        const char* name;
        Sim::FaultAction action;
        int first, last; ///< lower non-critical and upper non-recoverable afterwards
        const char* warning = nullptr;
    } rows[] = {
        {"no fault", {}, 11, 222},
        {"silence", kSilence, 10, 220, "IpmiIfcSensorGetThresholds: Sensor Number = 0x1, failed send cc = 0xff"},
        {"a code", code(0xcb), 10, 220, "IpmiIfcSensorGetThresholds: Sensor Number = 0x1, failed send cc = 0xcb"},
        {"code alone", cut(1), 10, 220, "IpmiIfcSensorGetThresholds: Sensor Number = 0x1, failed send cc = 0x0"},
        {"mask alone", cut(2), 0, 0},
        {"not all", cut(4), 11, 0},
        {"too long", lengthened(40), 11, 222},
    };
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
        EXPECT_EQ(node.complaints(), line(LOG_WARNING, row.warning));
    }
}

TEST(SensorHysteresis, IsCachedWhenTheRecordSaysThatItIsReadable)
{
    static const struct {
        const char* name;
        int support;
        Sim::FaultAction action;
        int asked, result, positive;
        const char* error = nullptr;
    } rows[] = {
        {"none", 0, {}, 0, -1, 0},
        {"readable", 1, {}, 1, 0, 4},
        {"settable", 2, {}, 1, 0, 4},
        {"fixed", 3, {}, 0, -1, 0},
        {"a code", 2, code(0xcd), 1, -1, 0, "IpmiIfcSensorGetThresholds: getHysteresis(0, 0, true) returned cc = 205"},
        {"silence", 1, kSilence, 1, -1, 0, "IpmiIfcSensorGetThresholds: getHysteresis(0, 0, true) returned cc = 255"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto capabilities = static_cast<std::uint8_t>(0x08 | row.support << 4);
        LoadedBmc node({sensorRecord(Kind::full, 0x01, {{kCapabilitiesAt, capabilities}, {42, 4}, {43, 6}})},
                       {fault(kGetHysteresis, 1, 0, row.action)});
        EXPECT_EQ(node.asked(kGetHysteresis), row.asked);
        unsigned char positive = 0, negative = 0;
        EXPECT_EQ(node.sensors.at(0)->getHysteresis(positive, negative, false) == 0, row.result == 0);
        EXPECT_EQ(positive, row.positive);
        EXPECT_EQ(node.complaints(), line(LOG_ERR, row.error));
        EXPECT_EQ(node.debugLines("IpmiIfcSensorGetThresholds: failed to cache hysteresis."), row.error ? 1 : 0);
    }
}

} // namespace
