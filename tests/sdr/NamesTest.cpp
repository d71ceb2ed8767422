#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiSensorNames.h"
#include "node/IpmiNode.h"
#include "sdr/SensorRecords.h"

#include <gtest/gtest.h>

namespace
{

using namespace Support;
using S = Ipmi::IpmiSensor;
using Name = std::pair<unsigned int, const char*>;                              // a code and its text
using Unit = std::tuple<unsigned int, unsigned int, unsigned int, const char*>; // units, base, modifier and the text

/// What a getter says of a record.
template <auto getter> std::string of(std::uint8_t type, const Patch& patch, int node = 0)
{
    return (sensor<Ipmi::IpmiDiscreteSensor>(sensorRecord(type, patch), node).*getter)();
}

TEST(Names, SensorTypes)
{
    const std::vector<Name> rows({Name{0x00, "reserved"}, Name{0x0f, "System Firmwares"}, Name{0x23, "Watchdog"},
                                  Name{0x2c, "FRU State"}, Name{0x2d, "OEM Reserved #2d"},
                                  Name{0xff, "OEM Reserved #ff"}});
    for (const auto& [code, text] : rows) {
        EXPECT_EQ(Ipmi::DescFromType(static_cast<unsigned char>(code)), text);
        EXPECT_EQ(of<&S::getSensorTypeString>(kFull, {{12, code}}), text);
        EXPECT_EQ(of<&S::getSensorTypeString>(kCompact, {{12, code}}), text);
        EXPECT_EQ(of<&S::getSensorTypeString>(kEventOnly, {{10, code}}), text);
        EXPECT_EQ(of<&S::getSensorTypeString>(0x11, {{12, code}}), "");
    }
}

TEST(Names, EventReadingTypeStandsForTheUnitOnTheCommandLine)
{
    const std::vector<Name> rows({Name{0, "unspecified(0x0)"}, Name{1, "threshold"}, Name{12, "ACPI-discrete"},
                                  Name{13, "int-drive"}, Name{14, "unspecified(0xe)"}, Name{27, "present-discrete"},
                                  Name{35, "watchdog"}, Name{0x6f, "sensor-discrete"},
                                  Name{0xff, "unspecified(0xff)"}});
    constexpr auto kGet = &S::getBaseUnitString;
    Ipmi::_setState(0, Ipmi::IpmiIfc::IPMI_STATE_CLI);
    for (const auto& [code, text] : rows) {
        EXPECT_EQ(of<kGet>(kCompact, {{13, code}, {21, 1}}), text);
        EXPECT_EQ(of<kGet>(kFull, {{13, code}, {21, 1}}), "degrees C");
        for (int node : {1, 99})
            EXPECT_EQ(of<kGet>(kCompact, {{13, code}, {21, 1}}, node), "degrees C");
    }
    EXPECT_EQ(of<kGet>(kCompact, {{13, 1}, {21, 1}, {22, 2}}), "degrees C");
    EXPECT_EQ(of<kGet>(kCompact, {{13, 1}, {21, 144}}), "threshold");
    EXPECT_EQ(of<kGet>(kCompact, {{13, 1}, {21, 145}}), "");
}

TEST(Names, UnitsOfReadings)
{
    const std::vector<Unit> rows(
        {Unit{0x00, 1, 0, "degrees C"}, Unit{0x80, 4, 0, "Volts"}, Unit{0x00, 0, 0, "unspecified"},
         Unit{0x01, 0, 0, "percent"}, Unit{0x01, 1, 0, "% degrees C"}, Unit{0x02, 7, 22, "Joules/second"},
         Unit{0x04, 46, 1, "ft-lb*degrees C"}, Unit{0x06, 7, 22, "Joules"}, Unit{0x02, 7, 200, "Joules"},
         Unit{0x18, 68, 0, "megabit per second"}, Unit{0x0a, 7, 40, "Joules/steradians per microsecond"},
         Unit{0x38, 68, 0, "megabit"}, Unit{0x00, 90, 0, "uncorrectable error"}, Unit{0x00, 91, 0, ""},
         Unit{0x01, 91, 0, "percent"}, Unit{0x1a, 91, 7, ""}, Unit{0xc0, 1, 0, ""}});
    for (const auto& [units, base, modifier, text] : rows)
        EXPECT_EQ(of<&S::getUnitsString>(kFull, {{20, units}, {21, base}, {22, modifier}}), text);
    EXPECT_EQ(of<&S::getUnitsString>(kCompact, {{21, 1}}), "");
}

TEST(Names, DescriptionsAndKeys)
{
    const Patch place{{5, 0x82}, {6, 0x71}, {7, 0x0a}, {8, 3}, {9, 0x82}}; // of processor 2
    const auto fan = [&](std::uint8_t type, const char* id) {
        Bytes record = sensorRecord(type, place);
        record[type == kEventOnly ? 10 : 12] = 4;
        return withId(record, id);
    };
    struct Row {
        Bytes record;
        const char* description;
        const char* kind;
    };
    const Row rows[] = {
        {fan(kFull, "CPU Fan"), "CPU Fan: Fan of Processor 2 (node 1)", "full"},
        {fan(kFull, ""), "[Device]: Fan of Processor 2 (node 1)", "full"},
        {fan(kCompact, "CPU Fan"), "CPU Fan: Fan of Processor 2 (node 1)", "compact"},
        {fan(kCompact, ""), "Unhandled Compact SDR description", "compact"},
        {fan(kEventOnly, "Fan"), "Fan: Fan of Processor 2 (node 1)", "event-only"},
        {fan(kEventOnly, ""), "Unhandled eventonly SDR description", "event-only"},
        {sensorRecord(0xc0, place, 10), "OEM Record (0000): SDR Type C0h - OEM Data (82 71 0a 03 82)", "typec0"},
        {sensorRecord(0x14, place), "Unhandled unknown SDR description", "type14"},
    };
    for (const Row& row : rows) {
        const auto fanSensor = sensor<Ipmi::IpmiDiscreteSensor>(row.record, 1);
        EXPECT_EQ(fanSensor.getDescription(), row.description);
        EXPECT_EQ(fanSensor.getDeviceId(), std::string("node1-owner82-channel7-lun1-sensor0a-") + row.kind);
    }
}

} // namespace
