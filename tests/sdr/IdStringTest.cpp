#include "sdr/IdString.h"
#include "sdr/SensorNaming.h"
#include "sdr/SensorRecords.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace
{

using namespace Support;
using namespace std::string_literals;
using Ipmi::IpmiDiscreteSensor;
using Sensors = std::vector<TRX::Reference<Ipmi::IpmiSensor>>;

void add(Sensors& sensors, const Bytes& record)
{
    sensors.emplace_back(new IpmiDiscreteSensor(static_cast<int>(record.size()), record.data(), 0));
}

std::string idOf(const Bytes& record)
{
    return sensor<IpmiDiscreteSensor>(record).getSensorIdString();
}

TEST(IdString, EveryEncoding)
{
    using Text = std::tuple<int, std::string, std::string>; // type/length byte, the bytes after it, the text
    const std::vector<Text> latin({Text{0xc4, "Temp", "Temp"}, Text{0xc0, "Temp", ""}, Text{0xc2, "Temp", "Te"},
                                   Text{0xc9, "Temp\0 x  "s, "Temp"}, Text{0xc4, "\0emp"s, ""},
                                   Text{0xc6, "Temp  ", "Temp"}, Text{0xc5, " Temp", " Temp"},
                                   Text{0xc4, "\x1b[2J", "?[2J"}, Text{0xc3, "a\x7f\x9f", "a??"},
                                   Text{0xc3, "\xb0\x43\xff", "\u00b0C\u00ff"}});
    // The length counts characters to some makers and bytes to others.
    const std::vector<Text> packed(
        {Text{0x42, "\x12\x34", "1234"}, Text{0x43, "\x12\x3a", "123"}, Text{0x42, "\x12\x3a", "123"},
         Text{0x48, "\x01\x23\x45\x67\x89\xab\xcd\xef", "0123456789 -.:,_"}, Text{0x5e, "\x12", "12"},
         Text{0x84, "\x29\xdc\xa6", "IPMI"}, Text{0x83, "\x29\xdc\xa6", "IPMI"}, Text{0x82, "\x29\xdc\xa6", "IP"},
         Text{0x9f, "\x29\xdc\xa6", "IPMI"}, Text{0x86, "\x29\xdc\xa6\x00\x00\x00"s, "IPMI"},
         Text{0x86, "\x29\xdc\xa6\x34", "IPMIT"}});
    const std::vector<Text> wide({Text{0x02, "T\0e\0"s, "Te"}, Text{0x1f, "T\0e\0m"s, "Te"},
                                  Text{0x06, "T\0e\0m\0"s, "Tem"}, Text{0x01, "\x3d\xd8"s, ""},
                                  Text{0x02, "\x1b\0\x80\0"s, "??"}});
    for (const auto* rows : {&latin, &packed, &wide})
        for (const auto& [typeLength, bytes, text] : *rows)
            for (const std::uint8_t type : {kFull, kCompact, kEventOnly})
                EXPECT_EQ(idOf(withId(sensorRecord(type), bytes, typeLength)), text)
                    << typeLength << " in " << int{type};
}

TEST(IdString, InstanceModifier)
{
    for (const auto& [offset, letters] : std::map<unsigned int, std::string>{
             {0, "A"}, {1, "B"}, {25, "Z"}, {26, "AA"}, {51, "AZ"}, {52, "BA"}, {127, "DX"}}) {
        EXPECT_EQ(Ipmi::instanceModifier(false, offset), std::to_string(offset));
        EXPECT_EQ(Ipmi::instanceModifier(true, offset), letters);
    }
}

/// The sensors that a shared record stands for, as the reader makes them: counts down, numbers and offsets up.
void addShared(Sensors& sensors, Bytes record)
{
    const std::size_t sharing = record[3] == kCompact ? 23 : 12;
    for (unsigned int left = record[sharing] & 0xf; left >= 2; --left, --record[sharing], ++record[7]) {
        add(sensors, record);
        std::uint8_t& offset = record[sharing + 1];
        offset = static_cast<std::uint8_t>((offset & 0x80) | ((offset + 1) & 0x7f));
    }
    add(sensors, record);
}

TEST(IdString, SensorsOfSharedRecords)
{
    using Row = std::tuple<unsigned int, unsigned int, std::string, std::string>; // sharing, offset, id, ids
    // Bits of direction and increment do not count; 2 and 3 are reserved types of modifiers; a count of 1 or 0 is not
    // shared, whatever its offset.
    const std::vector<Row> rows({Row{0x03, 5, "Temp ", "Temp 5|Temp 6|Temp 7|"}, Row{0x02, 0, "Fan", "Fan0|Fan1|"},
                                 Row{0xd3, 0x80 | 25, "Temp   ", "Temp Z|Temp AA|Temp AB|"},
                                 Row{0x22, 1, "Temp", "Temp|Temp|"}, Row{0x33, 1, "Temp", "Temp|Temp|Temp|"},
                                 Row{0x03, 126, "T", "T126|T127|T0|"}, Row{0x01, 0x81, "HDD0", "HDD0|"},
                                 Row{0x00, 7, "HDD0", "HDD0|"}, Row{0x02, 1, "", "||"}});
    for (const auto& [sharing, offset, id, expected] : rows) {
        for (const std::uint8_t type : {kCompact, kEventOnly}) {
            const unsigned int at = type == kCompact ? 23 : 12;
            Sensors sensors;
            addShared(sensors, withId(sensorRecord(type, {{7, 0xfe}, {at, sharing}, {at + 1, offset}}), id));
            addShared(sensors, withId(sensorRecord(type, {{7, 0x50}, {at, 1}, {at + 1, 2}}), "other"));
            Ipmi::assignNames(sensors);
            std::string ids;
            for (const auto& sensor : sensors)
                ids += sensor->getSensorIdString() + '|';
            EXPECT_EQ(ids, expected + "other|") << id << " in " << int{type};
        }
    }
    EXPECT_EQ(idOf(withId(sensorRecord(kFull, {{23, 2}, {24, 1}}), "full")), "full");
}

Sensors sensorsNamed(const std::vector<const char*>& ids)
{
    Sensors sensors;
    for (unsigned int i = 0; i < ids.size(); ++i)
        add(sensors, withId(sensorRecord(kFull, {{0, i & 0xff}, {1, i >> 8}, {7, i}}), ids[i]));
    return sensors;
}

TEST(SensorNaming, NamesAreUniqueAndKeepTheIdentifierOfTheFirst)
{
    using Names = std::vector<const char*>;
    const std::vector<std::pair<Names, Names>> rows(
        {{{"A", "A", "B", "A"}, {"A", "A #2", "B", "A #3"}},
         {{"", ""}, {"Sensor 0x00", "Sensor 0x01"}},
         {{"A", "A", "A #2"}, {"A", "A #3", "A #2"}},
         {{"A #2", "A #2", "A", "A", "A"}, {"A #2", "A #2 #2", "A", "A #3", "A #4"}},
         {{"", "Sensor 0x00"}, {"Sensor 0x00", "Sensor 0x00 #2"}}});
    for (const auto& [ids, names] : rows) {
        Sensors sensors = sensorsNamed(ids);
        EXPECT_EQ(sensors[0]->getName(), names[0]) << "before names are given";
        Sensors reversed(sensors.rbegin(), sensors.rend()); // the order of building does not matter
        Ipmi::assignNames(reversed);
        for (std::size_t i = 0; i < sensors.size(); ++i)
            EXPECT_EQ(sensors[i]->getName(), names[i]);
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
