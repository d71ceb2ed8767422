// SPDX-License-Identifier: Apache-2.0
// Identifiers in every encoding, and names that are unique.
#include "sdr/SdrBmc.h"
#include "sdr/SensorNaming.h"

namespace
{

using namespace SdrTest;
using namespace Support;
using namespace std::string_literals;
using Ipmi::IpmiDiscreteSensor;
using Sensors = std::vector<TRX::Reference<Ipmi::IpmiSensor>>;

TEST(IdString, EveryEncoding)
{
    using Text = std::tuple<int, std::string, std::string>; // type/length byte, the bytes after it, the text
    const std::vector<Text> latin({Text{0xc4, "Temp", "Temp"}, Text{0xc0, "Temp", ""}, Text{0xc2, "Temp", "Te"},
                                   Text{0xc9, "Temp\0 x  "s, "Temp"}, Text{0xc4, "\0emp"s, ""},
                                   Text{0xc6, "Temp  ", "Temp"}, Text{0xc5, " Temp", " Temp"},
                                   Text{0xc4, "\x1b[2J", "?[2J"}, Text{0xc3, "\xb0\x43\xff", "\u00b0C\u00ff"}});
    // The length counts characters to some makers and bytes to others.
    const std::vector<Text> packed(
        {Text{0x42, "\x12\x34", "1234"}, Text{0x43, "\x12\x3a", "123"},
         Text{0x48, "\x01\x23\x45\x67\x89\xab\xcd\xef", "0123456789 -.:,_"}, Text{0x5e, "\x12", "12"},
         Text{0x84, "\x29\xdc\xa6", "IPMI"}, Text{0x82, "\x29\xdc\xa6", "IP"}, Text{0x9f, "\x29\xdc\xa6", "IPMI"},
         Text{0x86, "\x29\xdc\xa6\x00\x00\x00"s, "IPMI"}, Text{0x86, "\x29\xdc\xa6\x34", "IPMIT"}});
    const std::vector<Text> wide({Text{0x02, "T\0e\0"s, "Te"}, Text{0x1f, "T\0e\0m"s, "Te"},
                                  Text{0x06, "T\0e\0m\0"s, "Tem"}, Text{0x01, "\x3d\xd8"s, ""},
                                  Text{0x02, "\0\1T\0"s, "\u0100T"}, Text{0x02, "\x1b\0\x80\0"s, "??"}});
    for (const auto* rows : {&latin, &packed, &wide})
        for (const auto& [typeLength, bytes, text] : *rows)
            for (const std::uint8_t type : {kFull, kCompact, kEventOnly}) {
                const auto made = sensor<IpmiDiscreteSensor>(withId(zeroRecord(type), bytes, typeLength));
                EXPECT_EQ(made.getSensorIdString(), text) << typeLength << " in " << int{type};
            }
}

Sensors sensorsNamed(const std::vector<const char*>& ids)
{
    Sensors sensors;
    for (unsigned int i = 0; i < ids.size(); ++i) {
        const Bytes record = withId(zeroRecord(kFull, {{0, i}, {1, i >> 8}, {7, i}}), ids[i]);
        sensors.emplace_back(new IpmiDiscreteSensor(static_cast<int>(record.size()), record.data(), 0));
    }
    return sensors;
}

TEST(SensorNaming, NamesAreUniqueAndKeepTheIdentifierOfTheFirst)
{
    using Names = std::vector<const char*>;
    const std::vector<std::pair<Names, Names>> rows(
        {{{"A", "A", "B", "A"}, {"A", "A #2", "B", "A #3"}},
         {{"", "", "Sensor 0x01"}, {"Sensor 0x00", "Sensor 0x01", "Sensor 0x01 #2"}},
         {{"A", "A", "A #2"}, {"A", "A #3", "A #2"}},
         {{"A #2", "A #2", "A", "A", "A"}, {"A #2", "A #2 #2", "A", "A #3", "A #4"}}});
    for (const auto& [ids, names] : rows) {
        Sensors sensors = sensorsNamed(ids);
        EXPECT_EQ(sensors[0]->getName(), names[0]) << "before names are given";
        Sensors reversed(sensors.rbegin(), sensors.rend()); // the order of building does not matter
        Ipmi::assignNames(reversed);
        for (std::size_t i = 0; i < sensors.size(); ++i)
            EXPECT_EQ(sensors[i]->getName(), names[i]);
    }
    Sensors many = sensorsNamed(std::vector<const char*>(16384, "Same"));
    Ipmi::assignNames(many); // else minutes: the test's own time-out fails it
    EXPECT_EQ(many.back()->getName(), "Same #16384");
}

} // namespace
