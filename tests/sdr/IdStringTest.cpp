#include "sdr/IdString.h"
#include "sdr/SensorNaming.h"
#include "sdr/SensorRecords.h"

#include <gtest/gtest.h>

#include <set>

namespace
{

using namespace Support;
using namespace std::string_literals;
using Ipmi::IpmiDiscreteSensor;
using Sensors = std::vector<TRX::Reference<Ipmi::IpmiSensor>>;

struct Encoded {
    int typeLength;
    std::string bytes;
    std::string text;
};

TEST(IdString, EveryEncoding)
{
    const Encoded rows[] = {
        {0xc4, "Temp", "Temp"},
        {0xc0, "Temp", ""},
        {0xc2, "Temp", "Te"},
        {0xdf, "Temp", "Temp"}, // claims more than the record has
        {0xff, "Temp", "Temp"},
        {0xc9, "Temp\0 x  "s, "Temp"},
        {0xc4, "\0emp"s, ""},
        {0xc6, "Temp  ", "Temp"},
        {0xc5, " Temp", " Temp"},
        {0xc4, "\x1b[2J", "?[2J"},
        {0xc3, "a\x7f\x9f", "a??"},
        {0xc3, "\xb0\x43\xff", "\u00b0C\u00ff"},
        {0x42, "\x12\x34", "1234"},
        {0x43, "\x12\x3a", "123"}, // three characters
        {0x42, "\x12\x3a", "123"}, // two bytes
        {0x48, "\x01\x23\x45\x67\x89\xab\xcd\xef", "0123456789 -.:,_"},
        {0x5e, "\x12", "12"},
        {0x84, "\x29\xdc\xa6", "IPMI"}, // four characters
        {0x83, "\x29\xdc\xa6", "IPMI"}, // three bytes
        {0x82, "\x29\xdc\xa6", "IP"},
        {0x9f, "\x29\xdc\xa6", "IPMI"},
        {0x86, "\x29\xdc\xa6\x00\x00\x00"s, "IPMI"},
        {0x86, "\x29\xdc\xa6\x34", "IPMIT"}, // half of the sixth character is missing
        {0x02, "T\0e\0"s, "Te"},
        {0x1f, "T\0e\0m"s, "Te"},
        {0x06, "T\0e\0m\0"s, "Tem"},
        {0x04, "\xb0\0\xac\x20\x00\x00T\0"s, "\u00b0\u20ac"},
        {0x02, "\x3d\xd8\x00\xde"s, "\U0001F600"},
        {0x02, "\x00\xdeT\0"s, "\uFFFDT"},
        {0x02, "\x3d\xd8T\0"s, "\uFFFDT"},
        {0x01, "\x3d\xd8"s, "\uFFFD"},
        {0x02, "\x1b\0\x80\0"s, "??"},
    };
    for (const Encoded& row : rows) {
        for (const std::uint8_t type : {kFull, kCompact, kEventOnly})
            EXPECT_EQ(
                sensor<IpmiDiscreteSensor>(withId(sensorRecord(type), row.bytes, row.typeLength)).getSensorIdString(),
                row.text)
                << "row " << &row - rows << ", record type " << int{type};
    }
}

TEST(IdString, NeverReadsPastTheRecord)
{
    for (const std::uint8_t type : {kFull, kCompact, kEventOnly, std::uint8_t{0xc0}}) {
        for (unsigned int code = 0; code < 256; ++code) {
            Bytes record(64, static_cast<std::uint8_t>(code));
            record[3] = type;
            for (int length = 0; length <= 64; ++length) {
                const std::string id = IpmiDiscreteSensor(length, record.data(), 0).getSensorIdString();
                EXPECT_LE(id.size(), 96U);
                EXPECT_TRUE(type != 0xc0 || id.empty());
            }
        }
    }
    EXPECT_EQ(Ipmi::decodeIdString({}), "");
}

TEST(IdString, InstanceModifier)
{
    const struct {
        unsigned int offset;
        const char *number, *letters;
    } rows[] = {{0, "0", "A"},    {1, "1", "B"},    {25, "25", "Z"},   {26, "26", "AA"},
                {51, "51", "AZ"}, {52, "52", "BA"}, {127, "127", "DX"}};
    for (const auto& row : rows) {
        EXPECT_EQ(Ipmi::instanceModifier(false, row.offset), row.number);
        EXPECT_EQ(Ipmi::instanceModifier(true, row.offset), row.letters);
    }
}

/// The sensors that a shared record stands for, as the reader makes them: counts down, numbers and offsets up.
void addShared(Sensors& sensors, Bytes record)
{
    const std::size_t sharing = record[3] == kCompact ? 23 : 12;
    for (unsigned int left = record[sharing] & 0xf;; --left) {
        sensors.emplace_back(new IpmiDiscreteSensor(static_cast<int>(record.size()), record.data(), 0));
        if (left < 2)
            return;
        --record[sharing];
        ++record[7];
        record[sharing + 1] =
            static_cast<std::uint8_t>((record[sharing + 1] & 0x80) | ((record[sharing + 1] + 1) & 0x7f));
    }
}

std::vector<std::string> idsOf(const Sensors& sensors)
{
    std::vector<std::string> ids;
    for (const auto& sensor : sensors)
        ids.push_back(sensor->getSensorIdString());
    return ids;
}

TEST(IdString, SensorsOfSharedRecords)
{
    struct Row {
        unsigned int sharing, offset;
        const char* id;
        std::vector<std::string> ids;
    };
    const Row rows[] = {
        {0x03, 5, "Temp ", {"Temp 5", "Temp 6", "Temp 7"}},
        {0x02, 0, "Fan", {"Fan0", "Fan1"}},
        {0xd3,
         0x80 | 25,
         "Temp   ",
         {"Temp Z", "Temp AA", "Temp AB"}},  // direction and increment bits are others' matter
        {0x22, 1, "Temp", {"Temp", "Temp"}}, // reserved modifier types
        {0x33, 1, "Temp", {"Temp", "Temp", "Temp"}},
        {0x03, 126, "T", {"T126", "T127", "T0"}},
        {0x01, 0x81, "HDD0", {"HDD0"}}, // not shared, as real servers have it
        {0x00, 7, "HDD0", {"HDD0"}},
        {0x02, 1, "", {"", ""}},
    };
    for (const Row& row : rows) {
        for (const std::uint8_t type : {kCompact, kEventOnly}) {
            const unsigned int at = type == kCompact ? 23 : 12;
            Sensors sensors;
            addShared(sensors,
                      withId(sensorRecord(type, {{7, 0xfe}, {at, row.sharing}, {at + 1, row.offset}}), row.id));
            // Another record of the same id that is not part of it.
            addShared(sensors, withId(sensorRecord(type, {{7, 0x50}, {at, 1}, {at + 1, 2}}), "other"));
            Ipmi::assignNames(sensors);
            std::vector<std::string> expected = row.ids;
            expected.push_back("other");
            EXPECT_EQ(idsOf(sensors), expected) << "row " << &row - rows << ", record type " << int{type};
        }
    }
    EXPECT_EQ(sensor<IpmiDiscreteSensor>(withId(sensorRecord(kFull, {{23, 2}, {24, 1}}), "full")).getSensorIdString(),
              "full");
}

Sensors sensorsNamed(const std::vector<const char*>& ids)
{
    Sensors sensors;
    for (unsigned int i = 0; i < ids.size(); ++i) {
        const Bytes record = withId(sensorRecord(kFull, {{0, i & 0xff}, {1, i >> 8}, {7, i}}), ids[i]);
        sensors.emplace_back(new IpmiDiscreteSensor(static_cast<int>(record.size()), record.data(), 0));
    }
    return sensors;
}

TEST(SensorNaming, NamesAreUniqueAndKeepTheIdentifierOfTheFirst)
{
    const struct {
        std::vector<const char*> ids, names;
    } rows[] = {
        {{"A", "B"}, {"A", "B"}},
        {{"A", "A", "B", "A"}, {"A", "A #2", "B", "A #3"}},
        {{"", ""}, {"Sensor 0x00", "Sensor 0x01"}},
        {{"A", "A", "A #2"}, {"A", "A #3", "A #2"}},
        {{"A #2", "A #2", "A", "A", "A"}, {"A #2", "A #2 #2", "A", "A #3", "A #4"}},
        {{"", "Sensor 0x00"}, {"Sensor 0x00", "Sensor 0x00 #2"}},
    };
    for (const auto& row : rows) {
        Sensors sensors = sensorsNamed(row.ids);
        EXPECT_EQ(sensors[0]->getName(), row.names[0]) << "before names are given";
        Sensors reversed(sensors.rbegin(), sensors.rend()); // the order of building does not matter
        Ipmi::assignNames(reversed);
        for (std::size_t i = 0; i < sensors.size(); ++i)
            EXPECT_EQ(sensors[i]->getName(), row.names[i]) << "row " << &row - rows;
    }
}

TEST(SensorNaming, ManySensorsOfOneName)
{
    Sensors sensors = sensorsNamed(std::vector<const char*>(16384, "Same"));
    Ipmi::assignNames(sensors);
    std::set<std::string> names;
    for (const auto& sensor : sensors)
        names.insert(sensor->getName());
    EXPECT_EQ(names.size(), sensors.size());
}

} // namespace
