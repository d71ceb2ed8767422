#include "sdr/IpmiIfcSensor.h"

#include "ipmi/IpmiIfc.h"
#include "sdr/SdrBmc.h"

#include <climits>
#include <optional>

using namespace Ipmi;
using namespace SdrTest;

namespace
{

constexpr std::uint8_t kBmc = 0x20, kSatellite = 0x2c;

// --- records

/// Threshold sensor 1 of the BMC, full record.
Sim::SensorRecord fullRecord()
{
    Sim::SensorRecord record;
    record.key.number = 1;
    record.entityId = 7;
    record.capabilities = 0x08; // thresholds readable and settable
    record.masks[2] = 0x3f3f;
    record.thresholds = {10, 5, 1, 200, 210, 220};
    record.id = Sim::encodeIdString("Temp", Sim::IdEncoding::latin1);
    return record;
}

Sim::SensorRecord recordOf(Kind kind, std::uint8_t eventType, std::uint8_t entity = 7)
{
    Sim::SensorRecord record = fullRecord();
    record.kind = kind;
    record.eventType = eventType;
    record.entityId = entity;
    return record;
}

Bytes write(const Sim::SensorRecord& record, std::uint16_t id = 1)
{
    return Sim::writeSensorRecord(id, record);
}

/// A loaded node: what it asked while loading is counted, what it does from here on is logged.
struct LoadedBmc : SdrBmc {
    explicit LoadedBmc(std::vector<Bytes> records, std::vector<Sim::FaultRule> faults = {})
        : SdrBmc(std::move(records), std::move(faults))
    {
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
    }
    const IpmiSensor& only()
    {
        sensors = IpmiIfc::getSensors(0);
        EXPECT_EQ(sensors.size(), 1u);
        return *sensors.at(0);
    }
    std::vector<TRX::Reference<IpmiSensor>> sensors;
};

// --- building

struct BuildRow {
    const char* name;
    Bytes record;
    bool listed;
    bool discrete = false;
    int reads = 1, thresholds = 0; ///< commands
    std::optional<LogLine> log = {};
};

LogLine droppedFull(const char* type)
{
    return {LOG_DEBUG, std::string("dropping sdr, full event_type ") + type + " (ID: 0, Type 1)\n"};
}

LogLine droppedCompact(int type)
{
    const std::string number = std::to_string(type);
    return {LOG_DEBUG, "dropping sdr, compact event_type " + number + ", full event_type " + number + "\n"};
}

TEST(SensorBuild, KeepsAndDropsByTypeAndEntity)
{
    const auto eventOnly = [](std::uint8_t type, std::uint8_t sharing, std::uint8_t entity = 7) {
        return patched(write(recordOf(Kind::eventOnly, type, entity)), {{13, sharing}});
    };
    const BuildRow rows[] = {
        {"full threshold", write(fullRecord()), true, false, 1, 1},
        {"full threshold of the BIOS", write(recordOf(Kind::full, 0x01, 0x22)), true, false, 1, 1},
        {"full generic, first", write(recordOf(Kind::full, 0x02)), true, true},
        {"full generic, last", write(recordOf(Kind::full, 0x0c)), true, true},
        {"full sensor-specific", write(recordOf(Kind::full, 0x6f)), true, true},
        {"full OEM, first", write(recordOf(Kind::full, 0x70)), true, true},
        {"full OEM, last", write(recordOf(Kind::full, 0x7f)), true, true},
        {"full discrete of no entity", write(recordOf(Kind::full, 0x6f, 0x00)), true, true},
        {"full discrete of the BIOS", write(recordOf(Kind::full, 0x6f, 0x22)), false},
        {"full of type 00h", write(recordOf(Kind::full, 0x00)), false, false, 0, 0, droppedFull("0")},
        {"full of type 0Dh", write(recordOf(Kind::full, 0x0d)), false, false, 0, 0, droppedFull("d")},
        {"full of type 6Eh", write(recordOf(Kind::full, 0x6e)), false, false, 0, 0, droppedFull("6e")},
        {"full of type 80h", write(recordOf(Kind::full, 0x80)), false, false, 0, 0, droppedFull("80")},
        {"full without a body", {1, 0, 0x51, 0x01, 0}, false, false, 0, 0, droppedFull("0")},
        {"compact threshold", write(recordOf(Kind::compact, 0x01)), true, false, 1, 1},
        {"compact threshold of no entity", write(recordOf(Kind::compact, 0x01, 0x00)), true, false, 1, 1},
        {"compact discrete", write(recordOf(Kind::compact, 0x03)), true, true},
        {"compact discrete of no entity", write(recordOf(Kind::compact, 0x6f, 0x00)), false},
        {"compact discrete of the BIOS", write(recordOf(Kind::compact, 0x6f, 0x22)), false},
        {"compact discrete of an I/O module", write(recordOf(Kind::compact, 0x6f, 0x2c)), true, true},
        {"compact of type 0Dh", write(recordOf(Kind::compact, 0x0d)), false, false, 0, 0, droppedCompact(13)},
        {"event-only threshold", eventOnly(0x01, 0), true, false, 0, 1},
        {"event-only generic", eventOnly(0x03, 0x75), true, true, 0},
        {"event-only sensor-specific", eventOnly(0x6f, 0), true, true, 0},
        {"event-only OEM by its type", eventOnly(0x75, 0), false, false, 0},
        {"event-only OEM by its sharing byte", eventOnly(0x0d, 0x75), true, true, 0},
        {"event-only of no entity", eventOnly(0x6f, 0, 0x00), true, true, 0},
        {"event-only of the BIOS", eventOnly(0x6f, 0, 0x22), false, false, 0},
        {"event-only without a body", {1, 0, 0x51, 0x03, 0}, false, false, 0},
    };
    for (const BuildRow& row : rows) {
        SCOPED_TRACE(row.name);
        LoadedBmc node({row.record});
        EXPECT_EQ(IpmiIfc::getSensors(0).size(), row.listed ? 1u : 0u);
        EXPECT_EQ(node.sensor(kGetReading), static_cast<std::uint64_t>(row.reads));
        EXPECT_EQ(node.sensor(kGetThresholds), static_cast<std::uint64_t>(row.thresholds));
        if (row.listed) {
            EXPECT_EQ(node.only().isDiscrete(), row.discrete);
            EXPECT_EQ(node.only().getLastReading().valid, row.reads == 1);
        }
        if (row.log) {
            EXPECT_TRUE(node.sim.log().has(row.log->priority, row.log->text));
        }
    }
}

TEST(SensorBuild, SkipsIoModulesOfOneMakersEarlyFirmware)
{
    const struct {
        bool maker;
        int major, minor;
        bool skipped;
    } rows[] = {{true, 1, 0x3f, true},
                {true, 0, 0x10, true},
                {true, 1, 0x40, false},
                {true, 2, 0, false},
                {false, 1, 0x3f, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.major * 256 + row.minor);
        SdrBmc node({write(recordOf(Kind::compact, 0x6f, 0x2c))});
        IpmiIfc::hpe_bmc = row.maker, IpmiIfc::maj = row.major, IpmiIfc::min = row.minor;
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
        EXPECT_EQ(IpmiIfc::getSensors(0).empty(), row.skipped);
        EXPECT_EQ(node.sensor(kGetReading), 1u);
        EXPECT_EQ(node.sim.log().count(LOG_DEBUG, "skip sensor HPE 44 for firmware version 1.3f"),
                  row.skipped && row.major == 1 ? 1 : 0);
        IpmiIfc::hpe_bmc = false;
    }
}

TEST(SensorBuild, FlagsMemorySensorsThatReport)
{
    const auto memory = [](Kind kind, unsigned short assertions, unsigned short deassertions) {
        Sim::SensorRecord record = recordOf(kind, 0x6f);
        record.type = 0x0c;
        record.masks = {assertions, deassertions, 0};
        return write(record);
    };
    const struct {
        Bytes record;
        int flag;
    } rows[] = {{memory(Kind::full, 0x0100, 0), 1},  {memory(Kind::compact, 0, 0x0100), 1},
                {memory(Kind::compact, 0, 0), 0},    {memory(Kind::eventOnly, 0, 0), 1},
                {write(recordOf(Kind::full, 1)), 0}, {patched(memory(Kind::full, 1, 0), {{13, 0x0d}}), 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.record.at(3));
        LoadedBmc node({row.record});
        EXPECT_EQ(g_IpmiNode[0].memorySensor, row.flag);
    }
}

TEST(SensorBuild, ListsFullThenCompactThenEventOnlyNewestFirst)
{
    std::vector<Bytes> records;
    std::uint8_t number = 0x10;
    for (const Kind kind : {Kind::eventOnly, Kind::compact, Kind::full, Kind::full, Kind::compact}) {
        Sim::SensorRecord record = recordOf(kind, 0x6f);
        record.key.number = number++;
        if (records.size() == 1)
            record.key.number = 0x40, record.share.count = 2;
        records.push_back(write(record, number));
    }
    LoadedBmc node(records);
    std::vector<int> numbers;
    node.sensors = IpmiIfc::getSensors(0);
    for (const auto& sensor : node.sensors)
        numbers.push_back(sensor->getSensorNumber());
    EXPECT_EQ(numbers, (std::vector<int>{0x13, 0x12, 0x14, 0x41, 0x40, 0x10}));

    EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0); // a rebuild makes new sensors; the old ones live on
    EXPECT_EQ(IpmiIfc::getSensors(0).size(), 6u);
    EXPECT_NE(IpmiIfc::getSensors(0).at(0).get(), node.sensors.at(0).get());
    EXPECT_EQ(node.sensors.at(0)->getSensorNumber(), 0x13);
}

TEST(SensorLookup, TakesTheFirstOfTheOwnerOnChannelAndLunZero)
{
    const auto sensor = [](std::uint8_t number, std::uint8_t owner, std::uint8_t lun, std::uint8_t channel) {
        Sim::SensorRecord record = recordOf(Kind::compact, 0x6f);
        record.key = {owner, lun, number};
        record.channel = channel;
        return record;
    };
    LoadedBmc node({write(sensor(5, kSatellite, 0, 0), 1), write(sensor(5, kBmc, 1, 0), 2),
                    write(sensor(5, kBmc, 0, 0), 3), write(sensor(6, kBmc, 0, 1), 4)});
    const struct {
        unsigned number, owner, record; ///< 0: none
    } rows[] = {{5, kBmc, 3}, {5, 0x1120, 3}, {0x105, kBmc, 0}, {6, kBmc, 0}, {7, kBmc, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.number);
        const auto found = IpmiIfc::getSensor(0, row.number, row.owner);
        ASSERT_EQ(static_cast<bool>(found), row.record != 0);
        if (found) {
            EXPECT_EQ(found->getSensorRecordNumber(), row.record);
        }
    }
    EXPECT_TRUE(IpmiIfc::getSensor(5, kBmc));
    EXPECT_EQ(IpmiIfc::getSensors().size(), 4u);
    ipmiifc_sdr_list sdr;
    ipmiifc_sensor_reading_list entry;
    entry.sdr = &sdr;
    for (const int bad : {-1, 4, INT_MAX, INT_MIN}) {
        EXPECT_TRUE(IpmiIfc::getSensors(bad).empty());
        EXPECT_FALSE(IpmiIfc::getSensor(bad, 5, kBmc));
        EXPECT_EQ(IpmiIfcSensorInstantiateAll(bad), 0);
        EXPECT_EQ(IpmiIfcSensorUpdateReading(bad), 0);
        EXPECT_EQ(IpmiIfcSensorGetReading(bad, &entry), -1);
    }
}

// --- one reading

TEST(SensorReading, FollowsTheAnswer)
{
    const auto warning = [](const char* cc) {
        return Lines{
            {LOG_WARNING, std::string("IpmiIfcSensorGetReading: Sensor Number 0x1, failed send cc = 0x") + cc}};
    };
    const struct {
        const char* name;
        std::optional<Sim::FaultAction> action;
        unsigned result; ///< as kept
        int length;      ///< of the reading; 0: none
        bool present;
        int asked; ///< Get Sensor Reading by two refreshes
        Lines log;
    } rows[] = {
        {"good", {}, 0, 5, true, 2, {}},
        {"without states", cut(3), 0, 3, true, 2, {}},
        {"without a reading", cut(1), 0, 1, true, 2, {}},
        {"too long", lengthened(40), 0, 5, true, 2, {}},
        {"not present", code(0xcb), 0xcb, 0, false, 0, {}},
        {"illegal", code(0xcd), 0xcd, 0, true, 0, {}},
        {"time-out of its owner", code(0xc3), 0xc3, 0, true, 2, warning("c3")},
        {"another code", code(0xd5), 0xd5, 0, true, 2, warning("d5")},
        {"code FFh", code(0xff), 0xff, 0, true, 2, warning("ff")},
        {"silence", kSilence, UINT_MAX, 0, true, 2, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<Sim::FaultRule> faults;
        if (row.action)
            faults.push_back(fault(kGetReading, 1, 0, *row.action));
        LoadedBmc node({write(recordOf(Kind::full, 0x6f))}, faults);
        const IpmiSensor& sensor = node.only();
        const IpmiSensor::Reading reading = sensor.getLastReading();
        EXPECT_EQ(sensor.getLastReadResult(), row.result);
        EXPECT_EQ(reading.valid, row.length != 0);
        EXPECT_EQ(reading.present, row.present);
        EXPECT_EQ(reading.length, row.length);
        EXPECT_EQ(reading.flags, row.length > 2 ? 0xc0 : 0);
        EXPECT_EQ(reading.state2, row.length > 4 ? 0x80 : 0);
        EXPECT_EQ(node.complaints(), row.log);
        node.bmc.clearCounts();
        IpmiIfcSensorUpdateReading(0);
        IpmiIfcSensorUpdateReading(0);
        EXPECT_EQ(node.sensor(kGetReading), static_cast<std::uint64_t>(row.asked));
        EXPECT_EQ(node.sim.log().count(LOG_DEBUG, "Skipping reading update for previous failed sensor 0x1"),
                  2 - row.asked);
    }
}

TEST(SensorReading, NeedsARecordAndAnOwnerToAsk)
{
    SdrBmc node({write(fullRecord())});
    ipmiifc_sensor_reading_list entry;
    EXPECT_EQ(IpmiIfcSensorGetReading(0, nullptr), -2);
    EXPECT_EQ(IpmiIfcSensorGetReading(0, &entry), -2);
    EXPECT_EQ(node.sim.log().count(LOG_DEBUG, "IpmiIfcSensorGetReading: sreading->sdr not valid"), 2);

    const struct {
        std::uint8_t owner, lunByte;
        int result, address, channel, lun;
    } rows[] = {{kBmc, 0x00, 0, kBmc, 0x0f, 0},
                {kSatellite, 0x00, 0, kSatellite, 0, 0},
                {kSatellite, 0x03, 0, kSatellite, 0, 3},
                {0x41, 0x00, -1, 0, 0, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.owner);
        Bytes record = patched(write(fullRecord()), {{5, row.owner}, {6, row.lunByte}});
        node.bmc.change([&](Sim::Machine& machine) { machine.sensors = Sim::sensorsOf({record}); });
        node.restart({});
        ipmiifc_sdr_list sdr;
        sdr.data = record.data();
        sdr.length = static_cast<std::uint8_t>(record.size());
        entry.sdr = &sdr;
        EXPECT_EQ(IpmiIfcSensorGetReading(0, &entry), row.result);
        IpmiIfcSdrReserve(0); // to the BMC again
        const auto requests = node.bmc.log();
        ASSERT_EQ(requests.size(), row.result == 0 ? 2u : 1u);
        EXPECT_EQ(requests.back().address, kBmc);
        if (row.result == 0) {
            EXPECT_EQ(requests[0].address, row.address);
            EXPECT_EQ(requests[0].channel, row.channel);
            EXPECT_EQ(requests[0].lun, row.lun);
            EXPECT_EQ(requests[0].data, Bytes{1});
        }
    }
}

// --- refresh

TEST(SensorRefresh, GivesUpOnASensorThatTimesOutFourTimes)
{
    LoadedBmc node({write(fullRecord())}, {fault(kGetReading, 1, 0, code(0xc3))});
    const IpmiSensor& sensor = node.only();
    for (const unsigned repeats : {1u, 2u, 3u}) {
        EXPECT_EQ(IpmiIfcSensorUpdateReading(0), 0);
        EXPECT_EQ(sensor.getReadResultRepeats(), repeats);
    }
    EXPECT_TRUE(node.sim.log().has(LOG_DEBUG, "Entering IpmiIfcSensorUpdateReading"));
    EXPECT_FALSE(node.sim.log().has(LOG_DEBUG, "Skipping reading update for previous failed sensor 0x1"));
    node.restart({}); // healthy again, and not asked
    for (int i = 0; i < 2; ++i)
        IpmiIfcSensorUpdateReading(0);
    EXPECT_EQ(node.bmc.count(), 0u);
    EXPECT_EQ(node.sim.log().count(LOG_DEBUG, "Skipping reading update for previous failed sensor 0x1"), 2);
    EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0); // until the next build
    EXPECT_TRUE(node.only().getLastReading().available());
}

TEST(SensorRefresh, EndsAtTheFirstSensorWithoutAnAnswer)
{
    const auto numbered = [](std::uint8_t number, std::uint8_t owner) {
        Sim::SensorRecord record = fullRecord();
        record.key = {owner, 0, number};
        return write(record, number);
    };
    const struct {
        const char* name;
        std::uint8_t owner; ///< of the second sensor asked
        std::vector<Sim::FaultRule> faults;
        std::uint64_t readings, thresholds;
    } rows[] = {{"all answer", kBmc, {}, 3, 3},
                {"a satellite", kSatellite, {}, 3, 3},
                {"a code", kBmc, {fault(kGetReading, 2, 1, code(0xd5))}, 3, 3},
                {"silence", kBmc, {fault(kGetReading, 2, 1, kSilence)}, 2, 1},
                {"system software", 0x41, {}, 1, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        LoadedBmc node({numbered(1, kBmc), numbered(2, row.owner), numbered(3, kBmc)});
        EXPECT_EQ(IpmiIfc::getSensors(0).size(), 3u);
        node.bmc.setRawReading({kBmc, 0, 3}, 99);
        node.bmc.setRawReading({kBmc, 0, 1}, 77);
        node.restart(row.faults);
        EXPECT_EQ(IpmiIfcSensorUpdateReading(0), 0);
        EXPECT_EQ(node.sensor(kGetReading), row.readings);
        EXPECT_EQ(node.sensor(kGetThresholds), row.thresholds);
        EXPECT_EQ(IpmiIfc::getSensor(0, 3, kBmc)->getLastReading().raw, 99);
        EXPECT_EQ(IpmiIfc::getSensor(0, 1, kBmc)->getLastReading().raw == 77, row.readings == 3);
        EXPECT_EQ(node.sim.log().count(LOG_DEBUG, "IpmiIfcSensorUpdateReading: failed send to get reading."),
                  row.readings == 3 ? 0 : 1);
    }
}

TEST(SensorRefresh, AsksEventOnlySensorsForThresholdsAlone)
{
    LoadedBmc node({write(recordOf(Kind::eventOnly, 0x01)), write(recordOf(Kind::eventOnly, 0x6f), 2)});
    EXPECT_EQ(node.sensor(kGetThresholds), 1u);
    node.restart({});
    EXPECT_EQ(IpmiIfcSensorUpdateReading(0), 0);
    EXPECT_EQ(node.sensor(kGetThresholds), 1u);
    EXPECT_EQ(node.bmc.count(), 1u);
}

// --- thresholds and hysteresis

TEST(SensorThresholds, AreKeptWhenTheBmcFails)
{
    const struct {
        const char* name;
        Sim::FaultAction action;
        const char* cc;  ///< in the warning; null: accepted
        int first, last; ///< lower non-critical and upper non-recoverable afterwards
    } rows[] = {
        {"no fault", {}, nullptr, 11, 222},
        {"silence", kSilence, "ff", 10, 220},
        {"a code", code(0xcb), "cb", 10, 220},
        {"completion code alone", cut(1), "0", 10, 220},
        {"mask alone", cut(2), nullptr, 0, 0},
        {"not all", cut(4), nullptr, 11, 0},
        {"too long", lengthened(40), nullptr, 11, 222},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        LoadedBmc node({write(fullRecord())});
        node.bmc.change(
            [](Sim::Machine& machine) { machine.sensors.begin()->second.thresholds = {11, 5, 1, 200, 210, 222}; });
        node.restart({fault(kGetThresholds, 1, 0, row.action)});
        IpmiIfcSensorUpdateReading(0);
        const IpmiSensor::Thresholds thresholds = node.only().getLastThresholds();
        EXPECT_EQ(thresholds.readable, 0x3f);
        EXPECT_EQ(thresholds.raw[0], row.first);
        EXPECT_EQ(thresholds.raw[5], row.last);
        Lines lines;
        if (row.cc)
            lines.push_back({LOG_WARNING, "IpmiIfcSensorGetThresholds: Sensor Number = 0x1, failed send cc = 0x" +
                                              std::string(row.cc)});
        EXPECT_EQ(node.complaints(), lines);
    }
}

TEST(SensorThresholds, AreAskedOfTheOwnerAndNeverOfSoftware)
{
    for (const std::uint8_t owner : {kBmc, kSatellite, std::uint8_t{0x41}}) {
        SCOPED_TRACE(owner);
        Sim::SensorRecord record = fullRecord();
        record.capabilities = 0x18;
        record.key.owner = owner;
        LoadedBmc node({write(record)});
        std::vector<int> addresses;
        for (const Sim::Request& request : node.bmc.log()) {
            if (request.netfn == kSensor)
                addresses.push_back(request.address);
        }
        // thresholds, hysteresis, reading
        EXPECT_EQ(addresses, owner == 0x41 ? std::vector<int>{} : std::vector<int>(3, owner));
        EXPECT_EQ(node.only().getLastThresholds().readable, owner == 0x41 ? 0 : 0x3f);
    }
    IpmiIfcSensorGetThresholds(0, nullptr, {});
}

TEST(SensorHysteresis, IsCachedWhenTheRecordSaysThatItIsReadable)
{
    const struct {
        const char* name;
        std::uint8_t support;
        std::optional<Sim::FaultAction> action;
        std::uint64_t asked;
        int cached; ///< positive; -1: not
        const char* cc;
    } rows[] = {
        {"none", 0, {}, 0, -1, nullptr},         {"readable", 1, {}, 1, 4, nullptr},
        {"settable", 2, {}, 1, 4, nullptr},      {"fixed", 3, {}, 0, -1, nullptr},
        {"a code", 2, code(0xcd), 1, -1, "205"}, {"silence", 1, kSilence, 1, -1, "255"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Sim::SensorRecord record = fullRecord();
        record.capabilities = static_cast<std::uint8_t>(0x08 | row.support << 4);
        record.hysteresis = {4, 6};
        std::vector<Sim::FaultRule> faults;
        if (row.action)
            faults.push_back(fault(kGetHysteresis, 1, 0, *row.action));
        LoadedBmc node({write(record)}, faults);
        EXPECT_EQ(node.sensor(kGetHysteresis), row.asked);
        unsigned char positive = 0, negative = 0;
        node.only();
        EXPECT_EQ(node.sensors.at(0)->getHysteresis(positive, negative, false) == 0, row.cached >= 0);
        EXPECT_EQ(positive, row.cached >= 0 ? row.cached : 0);
        Lines lines;
        if (row.cc)
            lines.push_back({LOG_ERR, "IpmiIfcSensorGetThresholds: getHysteresis(0, 0, true) returned cc = " +
                                          std::string(row.cc)});
        EXPECT_EQ(node.complaints(), lines);
        EXPECT_EQ(node.sim.log().count(LOG_DEBUG, "IpmiIfcSensorGetThresholds: failed to cache hysteresis."),
                  row.cc ? 1 : 0);
    }
}

} // namespace
