// SPDX-License-Identifier: Apache-2.0
// Reading FRU devices piece by piece, and what becomes of each area.
#include "fru/FruBmc.h"

using namespace Ipmi;
using namespace FruTest;

namespace
{

Sim::FaultRule read(std::uint64_t nth, std::uint64_t count, Sim::FaultAction action)
{
    return fault(kRead, nth, count, std::move(action));
}
/// The answer claims so many bytes.
Sim::FaultAction claims(std::uint8_t count)
{
    return {.changed = {{1, count}}};
}

TEST(FruReader, InsistsAndGivesUp)
{
    static constexpr auto kNames = "result stored largest requests slept notices";
    const struct {
        const char* name;
        Faults faults;
        Facts facts; ///< kNames, of a read of 60 bytes
    } rows[] = {
        {"healthy", {}, {0, 60, 23, 3, 0, 0}},
        {"down to 16", {read(1, 7, code(0xca))}, {0, 60, 16, 7 + 4, 0, 7}},
        {"down to 8 with each of the codes",
         {read(1, 1, code(0xca)), read(2, 1, code(0xc7)), read(3, 13, code(0xcc))},
         {0, 60, 8, 15 + 8, 0, 15}},
        {"refused at 8 too", {read(1, 0, code(0xca))}, {0xca, 0, 8, 16, 0, 17}},
        {"time-out on the first piece", {read(1, 1, code(0xc3))}, {0xc3, 0, 23, 1, 0, 2}},
        {"four time-outs behind a good piece", {read(2, 4, code(0xc3))}, {0, 60, 23, 7, 10, 4}},
        {"five of them", {read(2, 5, code(0xc0))}, {0xc0, 23, 23, 6, 10, 6}},
        {"four behind each piece", {read(2, 4, code(0xc3)), read(7, 4, code(0xc0))}, {0, 60, 23, 11, 20, 8}},
        {"busy device", {read(2, 1, code(0x81))}, {0x81, 23, 23, 2, 0, 2}},
        {"silence in the middle", {read(2, 1, kSilence)}, {-1, 23, 23, 2, 0, 1}},
        {"claims more than asked for", {read(1, 1, claims(24))}, {-1, 0, 23, 1, 0, 1}},
        {"claims more than it sends", {read(2, 1, cut(10))}, {-1, 23, 23, 2, 0, 1}},
        {"fewer than asked for", {read(1, 1, claims(5))}, {0, 60, 23, 4, 0, 0}},
        {"nothing but a code", {read(1, 1, cut(1))}, {-1, 0, 23, 1, 0, 1}},
        {"15 times no bytes", {read(1, 15, claims(0))}, {0, 60, 23, 18, 0, 0}},
        {"16 times no bytes", {read(1, 16, claims(0))}, {-1, 0, 23, 16, 0, 1}},
        {"no bytes and time-outs by turns",
         {read(2, 0, claims(0)), {.netfn = 0x0a, .cmd = kRead, .from = 3, .every = 2, .action = code(0xc3)}},
         {0xc3, 23, 23, 11, 10, 6}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        FruBmc bmc(machineWith(contents()), {});
        bmc.restart(row.faults);
        fru_max_req_size = kMostFruBytesAtOnce;
        unsigned char bytes[60] = {};
        unsigned int length = sizeof(bytes);
        const int result = IpmiIfcReadFru(0, 0, 0, 0, &length, bytes);
        long slept = 0;
        for (const unsigned int seconds : bmc.sim.clock().sleeps())
            slept += seconds;
        EXPECT_EQ(facts(kNames, result, length, fru_max_req_size.load(), bmc.asked(kRead), slept,
                        std::ranges::count(bmc.sim.log().lines(), LOG_NOTICE, &Support::LogLine::priority)),
                  facts(kNames, row.facts));
        const Bytes image = Sim::writeFru(contents());
        EXPECT_TRUE(std::equal(bytes, bytes + length, image.begin()));
    }
}

TEST(FruReader, TheLogSaysWhatItWaitsFor)
{
    FruBmc bmc(machineWith(contents()), {});
    bmc.restart({read(1, 1, code(0xcc)), read(3, 1, code(0xc3)), read(4, 1, code(0xd5)), read(5, 1, claims(99))});
    fru_max_req_size = kMostFruBytesAtOnce;
    unsigned char bytes[60] = {};
    std::string log;
    for (const bool first : {true, false}) {
        unsigned int length = sizeof(bytes);
        IpmiIfcReadFru(0, 0, 0, 0, &length, bytes);
        EXPECT_EQ(length, first ? 22U : 0U);
    }
    for (const auto& line : bmc.sim.log().lines())
        if (line.priority == LOG_NOTICE)
            log += line.text + '\n';
    EXPECT_EQ(log,
              "IpmiIfcReadFru: Command failed with 0xcc, retrying with smaller buffer (0x16)\n"
              "IpmiIfcReadFru: Timeout on 0x0 cc=0xc3 after reading some data... retrying 1\n"
              "IpmiIfcReadFru: deviceID = 0x0, bytes left to read = 38\n"
              "IpmiIfcReadFru: Failed during send cc = 0xd5\n"
              "IpmiIfcReadFru: Response payload larger than expected (corrupt?) datalen: 0x18, data[1]: 0x63 > 0x16\n");
}

TEST(FruReader, RefusesBadArguments)
{
    FruBmc bmc(machineWith(contents()), {});
    unsigned char bytes[4];
    for (const auto& [node, offset, wanted] : {std::tuple(0, 0, 0U), {-1, 0, 4U}, {4, 0, 4U}, {0, -1, 4U}}) {
        unsigned int length = wanted;
        EXPECT_EQ(IpmiIfcReadFru(node, 0, 0, offset, &length, bytes), -1);
    }
    unsigned int length = 4;
    EXPECT_EQ(IpmiIfcReadFru(0, 0, 0, 0xfffe, &length, bytes), 0xc9); // the device ends before
    EXPECT_EQ(bmc.asked(kRead), 1);
}

/// What became of a device: of one that was read how many areas the FRU has, of how many, and which are marked; of
/// another its state, how often it was read, and the priorities of what was logged.
std::string outcome(FruBmc& bmc, const IpmiFruDevice& device)
{
    static constexpr const char* kStates[] = {"read", "not asked", "no answer", "refused", "bad header"};
    std::string text = written(kStates[device.state], ' ', bmc.asked(kRead));
    for (const int priority : bmc.priorities())
        text += written(" log ", priority);
    if (device.state == IpmiFruDevice::kRead)
        text = written(IpmiIfc::getFrus(0).at(0)->getOptionalRefArray().size(), '/', device.areas.size());
    for (const IpmiFruArea& area : device.areas)
        text += area.checksumOk && area.whole ? "" : written(' ', kindName(area.kind));
    return text;
}

TEST(FruReader, DamageCostsTheAreaAndAHeaderThatIsNoneAllOfThem)
{
    const auto with = [](auto damage) {
        Sim::FruContents all = contents();
        damage(all);
        return all;
    };
    const Sim::FruContents good = contents();
    const auto at = [](std::uint8_t offset, std::uint8_t count, Sim::FaultAction action) {
        return Faults{{.netfn = 0x0a, .cmd = kRead, .data = {0, offset, 0, count}, .action = std::move(action)}};
    };
    const struct {
        const char* name;
        Sim::FruContents device;
        Faults faults;
        std::string outcome;
    } rows[] = {
        {"nothing", good, {}, "4/4"},
        {"header's sum", with([](auto& all) { all.wrongHeaderChecksum = true; }), {}, "4/4"},
        {"chassis", with([](auto& all) { all.chassis->wrongChecksum = true; }), {}, "3/4 chassis"},
        {"board", with([](auto& all) { all.board->wrongChecksum = true; }), {}, "3/4 board"},
        {"product", with([](auto& all) { all.product->wrongChecksum = true; }), {}, "3/4 product"},
        {"a record's data", with([](auto& all) { all.records[1].wrongChecksum = true; }), {}, "3/4 multi-record"},
        {"its header", with([](auto& all) { all.records[0].wrongHeaderChecksum = true; }), {}, "3/4 multi-record"},
        {"an empty record", with([](auto& all) { all.records[1].data.clear(); }), {}, "3/4"},
        {"no end mark", with([](auto& all) { all.endMark = false; }), {}, "3/4 multi-record"},
        {"the chassis' length", good, at(16, 2, code(0xff)), "3/4 chassis"},
        {"a length of 0", good, at(16, 2, {.changed = {{3, 0}}}), "3/4 chassis"},
        {"silence behind the length", good, at(16, 16, kSilence), "3/4 chassis"},
        {"version 2", good, {read(1, 1, {.changed = {{2, 2}}})}, "bad header 1 log 4"},
        {"version 81h", good, {read(1, 1, {.changed = {{2, 0x81}}})}, "bad header 1 log 4"},
        {"header timed out", good, {read(1, 1, code(0xc3))}, "refused 1"},
        {"refused", good, {read(1, 1, code(0xcb))}, "refused 1 log 3"},
        {"silent", good, {read(1, 1, kSilence)}, "no answer 1 log 3"},
        {"info refused", good, {fault(kInfo, 1, 1, code(0xcb))}, "refused 0 log 4"},
        {"no such device", good, {fault(kInfo, 1, 1, code(0xc9))}, "refused 0"},
        {"info not answered", good, {fault(kInfo, 1, 1, kSilence)}, "no answer 0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        FruBmc bmc(machineWith(row.device), {});
        bmc.restart(row.faults);
        EXPECT_EQ(IpmiIfcFruInstantiateAll(0), 0);
        const std::vector<IpmiFruDevice> devices = IpmiIfc::getFruDevices(0);
        ASSERT_EQ(devices.size(), 1U);
        EXPECT_EQ(outcome(bmc, devices[0]), row.outcome);
        EXPECT_EQ(devices[0].state == IpmiFruDevice::kRead && !devices[0].headerChecksumOk,
                  row.device.wrongHeaderChecksum);
    }
}

/// Records up to the end of what 16 bits reach, and none of them the last.
TEST(FruReader, AChainOfRecordsWithoutEndEnds)
{
    FruBmc bmc(machineWith(contents()), {});
    Bytes image(0x10000, 0);
    for (std::size_t at = 8; at + 5 <= image.size(); at += 5 + 255)
        image[at + 2] = 255;
    bmc.bmc.state()->machine.fru[Sim::FruKey(0)].image = image;
    EXPECT_EQ(IpmiIfcFruMultiLength(0, 0, 8), 0x10000U - 8);
    EXPECT_EQ(IpmiIfcFruMultiLength(0, 0, 0x10000), 0U);
}

} // namespace
