#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiSensorNames.h"
#include "node/IpmiNode.h"
#include "sdr/SensorRecords.h"
#include "sdr/UnitNames.h"

#include <gtest/gtest.h>

namespace
{

using namespace Support;
using Ipmi::IpmiDiscreteSensor;

struct Name {
    unsigned int code;
    const char* text;
};

TEST(Names, SensorTypes)
{
    const Name rows[] = {{0x00, "reserved"},         {0x01, "Temperature"},
                         {0x0d, "Drive Slot / Bay"}, {0x0f, "System Firmwares"},
                         {0x11, "Watchdog"},         {0x1d, "System Boot Initiated"},
                         {0x23, "Watchdog"},         {0x28, "Management Subsystem Health"},
                         {0x2c, "FRU State"},        {0x2d, "OEM Reserved #2d"},
                         {0xc0, "OEM Reserved #c0"}, {0xff, "OEM Reserved #ff"}};
    for (const Name& row : rows) {
        EXPECT_EQ(Ipmi::DescFromType(static_cast<unsigned char>(row.code)), row.text);
        EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kFull, {{12, row.code}})).getSensorTypeString(), row.text);
        EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kCompact, {{12, row.code}})).getSensorTypeString(), row.text);
        EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kEventOnly, {{10, row.code}})).getSensorTypeString(),
                  row.text);
        EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(0x11, {{12, row.code}})).getSensorTypeString(), "");
    }
}

TEST(Names, Directions)
{
    const Name rows[] = {{0, "Unspecified"}, {1, "input"}, {2, "output"}, {3, "reserved"}};
    for (const Name& row : rows) {
        const unsigned int top = row.code << 6;
        EXPECT_EQ(Ipmi::DescFromDirection(static_cast<unsigned char>(row.code)), row.text);
        EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kFull, {{28, 0xfc | row.code}})).getSensorDirectionString(),
                  row.text);
        EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kCompact, {{23, top | 0x3f}})).getSensorDirectionString(),
                  row.text);
        EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kEventOnly, {{12, top | 0x3f}})).getSensorDirectionString(),
                  row.text);
        EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(0xc0, {{23, top}})).getSensorDirectionString(), "");
    }
    EXPECT_EQ(Ipmi::DescFromDirection(4), "");
}

TEST(Names, UnitTable)
{
    const Name rows[] = {{0, "unspecified"},
                         {1, "degrees C"},
                         {4, "Volts"},
                         {18, "RPM"},
                         {30, "cu in"},
                         {59, "reserved"},
                         {65, "color temp deg K"},
                         {76, "qword"},
                         {85, "packets"},
                         {90, "uncorrectable error"},
                         {91, ""},
                         {144, ""},
                         {145, ""},
                         {255, ""}};
    for (const Name& row : rows) {
        EXPECT_STREQ(Ipmi::unitName(row.code), row.text);
        for (const std::uint8_t type : {kFull, kCompact}) {
            const auto made = sensor<IpmiDiscreteSensor>(sensorRecord(type, {{21, row.code}, {22, row.code}}));
            EXPECT_EQ(made.getBaseUnitString(), row.text);
            EXPECT_EQ(made.getModifierUnitString(), row.text);
        }
        const auto eventOnly = sensor<IpmiDiscreteSensor>(sensorRecord(kEventOnly, {{21, row.code}, {22, row.code}}));
        EXPECT_EQ(eventOnly.getBaseUnitString() + eventOnly.getModifierUnitString(), "");
    }
}

TEST(Names, EventReadingTypeStandsForTheUnitOnTheCommandLine)
{
    std::vector<Name> rows = {{27, "present-discrete"},
                              {35, "watchdog"},
                              {0x6f, "sensor-discrete"},
                              {0x70, "unspecified(0x70)"},
                              {0xff, "unspecified(0xff)"}};
    unsigned int code = 0;
    for (const char* text :
         {"unspecified(0x0)", "threshold", "DMI-discrete", "assert-discrete", "predictive-discrete", "limit-discrete",
          "performance-discrete", "severity-discrete", "present-discrete", "enabled-discrete", "availability-discrete",
          "redundancy-discrete", "ACPI-discrete", "int-drive", "unspecified(0xe)"})
        rows.push_back({code++, text});
    Ipmi::_setState(0, Ipmi::IpmiIfc::IPMI_STATE_CLI);
    for (const Name& row : rows) {
        const Patch patch = {{13, row.code}, {21, 1}};
        EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kCompact, patch)).getBaseUnitString(), row.text);
        EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kFull, patch)).getBaseUnitString(), "degrees C");
        EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kCompact, patch), 1).getBaseUnitString(), "degrees C");
        EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kCompact, patch), 99).getBaseUnitString(), "degrees C");
    }
    EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kCompact, {{13, 1}, {21, 1}, {22, 2}})).getBaseUnitString(),
              "degrees C");
    EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kCompact, {{13, 1}, {21, 144}})).getBaseUnitString(),
              "threshold");
    EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kCompact, {{13, 1}, {21, 145}})).getBaseUnitString(), "");
}

TEST(Names, UnitsOfReadings)
{
    const struct {
        unsigned int units, base, modifier;
        const char* text;
    } rows[] = {
        {0x00, 1, 0, "degrees C"},
        {0x80, 4, 0, "Volts"},
        {0x00, 0, 0, "unspecified"},
        {0x01, 0, 0, "percent"},
        {0x01, 1, 0, "% degrees C"},
        {0x02, 7, 22, "Joules/second"},
        {0x04, 46, 1, "ft-lb*degrees C"},
        {0x06, 7, 22, "Joules"}, // a reserved use of the modifier
        {0x02, 7, 200, "Joules"},
        {0x18, 68, 0, "megabit per second"},
        {0x0a, 7, 40, "Joules/steradians per microsecond"},
        {0x38, 68, 0, "megabit"}, // a reserved rate
        {0x00, 91, 0, ""},
        {0xc0, 1, 0, ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kFull, {{20, row.units}, {21, row.base}, {22, row.modifier}}))
                      .getUnitsString(),
                  row.text);
    EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kCompact, {{21, 1}})).getUnitsString(), "");
}

} // namespace
