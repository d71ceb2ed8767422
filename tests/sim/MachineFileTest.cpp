// SPDX-License-Identifier: Apache-2.0
// Machine files: what is wrong in them is said in one line, whatever they hold. (The tool finds in the sample machine
// what its description says: names, values, thresholds.)
#include "SimSupport.h"
#include "sim/machine/SdrWriter.h"

namespace Sim
{

namespace
{

std::string sensor(const std::string& fields)
{
    return R"({"sdr": [{"name": "x", "number": 1, "entity": 7, "type": "fan", )" + fields + "}]}";
}

} // namespace

TEST(SimMachineFile, Complaints)
{
    expectRefused(R"(
        3 => file: must be an object {...}
        {"sdr": [{"kind": "sensor"}]} => file.sdr[0]: "kind" must be one of: full, compact, event-only, fru, ..
        {"sdr": [{"name": "x"}]} => file.sdr[0]: "number" is missing
        {"fru": [{"device": 1, "product": [3]}]} => file.fru[0].product[0]: must be a text, or an object with its encoding
        {"sel": ["00"]} => file.sel[0]: must be a text of 16 hexadecimal bytes
        {"sel": [], "sel_capacity": 65535} => file: "sel_capacity" must be a whole number from 1 to 65534
        {"identity": {"self_test": "55"}} => file.identity: "self_test" must have 2 bytes
        {"controllers": [{"address": 33}]} => file.controllers[0]: "address" must be even, an 8-bit slave address
        {"controllers": [{"address": 2}, {"address": 2}]} => file.controllers[1]: "address" is the BMC's or another ..
        {"controllers": [{"address": 2, "absent": "no"}]} => file.controllers[0]: "absent" must be "silent" or "nak"
        {"lan": {"channel": 0}} => file.lan: "channel" must be a whole number from 1 to 11
        {"controllers": [{"address": 2, "channel": 1}], "lan": {}} => file.lan: "channel" is an IPMB: a satellite is there
        {"lan": {"address": "1.2.3"}} => file.lan: "address" must be an IPv4 address
        {"lan": {"mac": "00:11"}} => file.lan: "mac" must be a MAC address, like "02:00:5e:00:53:01"
        {"lan": {"community": "nineteen characters"}} => file.lan: "community" has more than 18 characters
        {"lan": {"vlan": {"id": 4096}}} => file.lan.vlan: "id" must be a whole number from 0 to 4095
        {"lan": {"ipv6": [{"address": "2001"}]}} => file.lan.ipv6[0]: "address" must be an IPv6 address
        {"lan": {"ipv6": [{"address": "::1"}], "ipv6_static_sets": 0}} => file.lan: "ipv6_static_sets" must be a whole ..
        {"lan": {"unsupported": [99]}} => file.lan.unsupported[0]: must be the number of a parameter that there is
        {"lan": {"ipv7": []}} => file.lan: unknown field "ipv7"
        {"na\u000ame": 1} => file: unknown field "na?me"
        )",
                  parseMachine);
    expectRefused(R"(
        "linearization": "cubic" => file.sdr[0]: "linearization" must be a number or one of: linear, ln, log10, log2, ..
        "m": 1.5 => file.sdr[0]: "m" must be a whole number from -512 to 511
        "readable": ["upper"] => file.sdr[0]: "readable" must list some of: lnc, lc, lnr, unc, uc, unr
        "hysteresis": [1] => file.sdr[0]: "hysteresis" must be two raw numbers: positive, negative
        "value": "high" => file.sdr[0].value: must be a number in the sensor's unit or {"ramp": [low, high]}
        "value": {"saw": [1, 2]} => file.sdr[0].value: must have "ramp", "sine" or "noise"
        "encoding": "bcd plus" => file.sdr[0]: "name" has a character that BCD plus lacks (it has 0-9 and " -.:,_")
        "encoding": "6-bit" => file.sdr[0]: "name" has a character that 6-bit ASCII lacks (it has no small letters)
        "encoding": "unicode", "name": "nine char" => file.sdr[0]: "name" does not fit in 16 bytes
        "encoding": "unicode", "name": "\ud83c\udf00" => file.sdr[0]: "name" has a character outside the 16-bit ones
        "name": "seventeen letters" => file.sdr[0]: "name" does not fit in 16 bytes
        "name": "\u6e29" => file.sdr[0]: "name" has a character outside Latin 1
        "kind": "compact", "event_type": 111, "share": {"count": 16} => file.sdr[0].share: "count" must be a whole ..
        )",
                  [](const std::string& fields, const char* source) { parseMachine(sensor(fields), source); });
    std::string field = '"' + std::string(63, 'x') + '"', many = field;
    for (int i = 1; i < 32; ++i)
        many += ", " + field;
    expectRefused("\"" + std::string(64, 'x') +
                      "\" => file.fru[0].product[0]: a FRU field has more than 63 characters\n" + many +
                      " => file.fru[0]: a FRU area is too long\n",
                  [](const std::string& fields, const char* source) {
                      parseMachine(R"({"fru": [{"device": 1, "product": [)" + fields + "]}]}", source);
                  });
}

// C1h ends the fields: no field may look so.
TEST(SimMachineFile, FruFieldOfOneCharacter)
{
    const Machine machine = parseMachine(R"({"fru": [{"device": 1, "product": ["A", "BC"]}]})", "file");
    EXPECT_EQ(text(machine.fru.at(1).image).substr(0, 24 * 3 - 1),
              "01 00 00 00 01 00 00 fe 01 02 19 c2 41 20 c2 42 43 c0 c0 c0 c0 "
              "c0 c1 f9");
}

TEST(SimMachineFile, FilesThatAreNone)
{
    const ScratchFile deep(std::string(200'000, '['));
    const ScratchFile nested(std::string(200'000, '[') + std::string(200'000, ']'));
    for (const std::string& path : {std::string("/nowhere/machine.json"), std::string("/tmp"), std::string("/dev/zero"),
                                    std::string(), deep.path(), nested.path()})
        EXPECT_THROW(loadMachine(path), BadFile) << path;
    const ScratchFile good(R"({"name": "mine", "identity": {"product": "0x1234"}})");
    EXPECT_EQ(loadMachine(good.path()).identity.product, 0x1234);
}

TEST(SimMachineFile, MovingValuesStayBetweenTheirEnds)
{
    const std::pair<const char*, const char*> rows[] = {
        {R"({"ramp": [10, 50], "period": 4})", "0a 14 1e 28 0a"},
        {R"({"ramp": [50, 10], "period": 2})", "0a 1e 0a"},
        {R"({"sine": [0, 100], "period": 4})", "32 64 32 00 32"},
        {R"({"noise": [0, 200], "seed": 9})", "3c ab 97"},
        {R"({"ramp": [1, 3], "period": 1})", "01 01"},
        {"12", "0c 0c"},
        {R"(12, "m": 8)", "01"}, // between two: the lower one
    };
    for (const auto& [value, readings] : rows) {
        World world(parseMachine(sensor(std::string(R"("value": )") + value), "file"));
        for (const std::uint8_t reading : hex(readings))
            EXPECT_EQ(world.ask("04 2d 01").substr(3, 2), text(Bytes{reading})) << value;
    }
}

TEST(SimMachineFile, FullRecordBytes)
{
    SensorRecord record;
    record.key = {0x20, 1, 0x42};
    record.channel = 2, record.entityId = 7, record.entityInstance = 0x61, record.capabilities = 0x68, record.type = 1;
    record.masks = {0x1234, 0x5678, 0x3f1b};
    record.units = {0x19, 4, 6};
    record.scale = {RawFormat::twosComplement, 7, -2, 300, -1, 3};
    record.tolerance = 5, record.accuracy = 0x2aa, record.accuracyExponent = 2;
    record.direction = 1, record.analogFlags = 7, record.oem = 0x99;
    record.nominal = {1, 2, 3, 4, 5};
    record.thresholds = {11, 12, 13, 14, 15, 16};
    record.hysteresis = {21, 22};
    record.id = encodeIdString("IPMI", IdEncoding::sixBit);
    EXPECT_EQ(text(writeSensorRecord(0x1234, record)),
              "34 12 51 01 2e 20 21 42 07 61 7f 68 01 01 34 12 78 56 1b 3f 99 04 06 07 fe c5 2c 6a a9 3f 07 01 02 03 "
              "04 05 10 0f 0e 0d 0c 0b 15 16 00 00 99 83 29 dc a6");
}

} // namespace Sim
