// Raw captures as machines.
#include "sim/RawFiles.h"

#include "SimSupport.h"

#include <gtest/gtest.h>

#include <array>

namespace Sim
{

namespace
{

/// A record that holds a full sensor with readable thresholds (see the sample machine's first one).
std::string oneRecord()
{
    const Machine sample = loadMachine("sample");
    return {sample.sdr.at(0).begin(), sample.sdr.at(0).end()};
}

std::string complaint(const RawFiles& files)
{
    try {
        machineFromRaw(files);
        return "taken";
    } catch (const BadFile& error) {
        return error.what();
    }
}

} // namespace

TEST(SimRawFiles, ReadingLines)
{
    const ScratchFile sdr(oneRecord());
    const std::string all = "settable 111111 0x69 0x5f 0x55 0x00 0x02 0x05";
    const struct {
        std::string line;
        Bytes reading, thresholds; ///< empty: the line is refused
    } rows[] = {
        {"0x20 0 0x00 0x2d 0x1 | " + all, {0, 0x2d, 0xc0, 0xc0, 0}, {0, 0x3f, 5, 2, 0, 0x55, 0x5f, 0x69}},
        {"0x20 0 0x00 0x5f 0x1 | " + all, {0, 0x5f, 0xc0, 0xd8, 0}, {0, 0x3f, 5, 2, 0, 0x55, 0x5f, 0x69}},
        {"0x20 0 0x00 0x2d 0x1 | readable 010010 0 9 0 0 3 0", {0, 0x2d, 0xc0, 0xd0, 0}, {0, 0x12, 0, 3, 0, 0, 9, 0}},
        {"0x20 0 0x00 0x2d 0x0 |", {0, 0x2d, 0x40, 0xc0, 0}, {0, 0x3f, 5, 2, 0, 85, 95, 105}},
        {"0x20 0 0x00 0x00 0x0", {0, 0, 0x60, 0xc0, 0}, {0, 0x3f, 5, 2, 0, 85, 95, 105}},
        {"0x20 0 0x00 0x09 0x1 | none 000000 0 0 0 0 0 0", {0, 9, 0xc0, 0xc0, 0}, {0, 0, 0, 0, 0, 0, 0, 0}},
        {"# nothing", {0, 0, 0xe0, 0xc0, 0}, {0, 0x3f, 5, 2, 0, 85, 95, 105}},
        {"0x20 0 0x77 0x2d 0x1 |", {0, 0, 0xe0, 0xc0, 0}, {0, 0x3f, 5, 2, 0, 85, 95, 105}},
        {"0x20 4 0x00 0x2d 0x1 |", {}, {}},
        {"0x20 0 0x00 0x100 0x1 |", {}, {}},
        {"0x20 0 0x00", {}, {}},
        {"0x20 0 0x00 0x2d 0x1 | some 111111 0 0 0 0 0 0", {}, {}},
        {"0x20 0 0x00 0x2d 0x1 | settable 11111 0 0 0 0 0 0", {}, {}},
        {"0x20 0 0x00 0x2d 0x1 | settable 111111 0 0 0 0 0", {}, {}},
        {"0x20 0 0x00 0x2d 0x1 | " + all + " 7", {}, {}},
        {"0x20 0 0x00 0x2d 0x1 ! " + all, {}, {}},
    };
    for (const auto& row : rows) {
        const ScratchFile readings("# comment\n\n" + row.line + "\n");
        const RawFiles files{.sdr = sdr.path(), .readings = readings.path()};
        if (row.reading.empty()) {
            EXPECT_EQ(complaint(files), readings.path() + ": line 3 is not \"owner lun sensor raw flag | support mask "
                                                          "UNR UC UNC LNR LC LNC\"");
            continue;
        }
        Bmc bmc(machineFromRaw(files));
        EXPECT_EQ(ask(bmc, 0x04, 0x2d, {0}), row.reading) << row.line;
        EXPECT_EQ(ask(bmc, 0x04, 0x27, {0}), row.thresholds) << row.line;
    }
}

TEST(SimRawFiles, DamagedFiles)
{
    const std::string record = oneRecord();
    for (std::size_t length = 0; length < record.size(); ++length) {
        const ScratchFile cut(record.substr(0, length));
        EXPECT_EQ(complaint({.sdr = cut.path()}),
                  cut.path() + (length == 0 ? ": no records" : ": the record at byte 0 ends after the file"));
    }
    const ScratchFile sel("seventeen bytes..");
    EXPECT_EQ(complaint({.sel = sel.path()}), sel.path() + ": not a whole number of 16-byte records");
    EXPECT_EQ(complaint({.fru = {{1, "/nowhere"}}}), "/nowhere: No such file or directory");
}

// Records that claim nothing, or less than their kind has, still answer every question.
TEST(SimRawFiles, ShortRecordsAreSensorsOfZeros)
{
    for (const char type : std::string{1, 2, 3, 0x11}) {
        const ScratchFile sdr(std::string{1, 0, 0x51, type, 0});
        Bmc bmc(machineFromRaw({.sdr = sdr.path()}));
        EXPECT_EQ(ask(bmc, 0x0a, 0x23, {0, 0, 0, 0, 0, 0xff}).size(), 8U);
        for (const auto& [key, sensor] : bmc.machine().sensors)
            EXPECT_EQ(ask(bmc, 0x04, 0x2d, {key.number}, key.lun, key.owner).size(), 5U);
    }
}

TEST(SimRawFiles, Captures)
{
    const std::string folder = captures();
    if (folder.empty())
        GTEST_SKIP() << "TRX_CAPTURES names no folder with captures";
    const struct {
        const char* machine;
        std::size_t records;
        std::uint8_t fruDevice;
        SensorKey key;
        Bytes reading, thresholds;
        bool ipmb6; ///< another controller sits behind channel 6
    } rows[] = {
        {"dell_r730", 187, 10, {0x20, 0, 0x04}, {0, 0x98, 0xc0, 0xc0, 0}, {0, 0x09, 0x83, 0, 0, 0xaa, 0, 0}, false},
        {"quanta_t41", 119, 0, {0x20, 0, 0xaa}, {0, 0x33, 0xc0, 0xc0, 0}, {0, 0x18, 0, 0, 0, 0x59, 0x5a, 0}, true},
        {"s2600kp", 163, 8, {0x20, 0, 0x14}, {0, 0x2a, 0xc0, 0xc0, 0}, {0, 0x1b, 0x0a, 5, 0, 0x6e, 0x73, 0}, true},
        {"ztsystems", 40, 0, {0x20, 0, 0x05}, {}, {0, 0x3f, 0x0e, 0x0d, 0x0c, 0xff, 0xff, 0xff}, false},
    };
    for (const auto& row : rows) {
        const std::string path = folder + "/" + row.machine + "/";
        RawFiles files{.sdr = path + "sdr.bin", .sel = folder + "/sel/vectors.bin"};
        if (!row.reading.empty())
            files.readings = path + "readings.txt";
        const std::string number = std::to_string(row.fruDevice);
        files.fru[row.fruDevice] = path + "fru-" + (number.size() < 2 ? "0" : "") + number + ".bin";
        const Machine machine = machineFromRaw(files);
        const Bytes whole = readFile(files.sdr);
        EXPECT_EQ(machine.sdr.size(), row.records) << row.machine;
        EXPECT_EQ(sdrBytes(machine), whole) << row.machine;
        EXPECT_EQ(machine.sel.size(), 158U);
        Bmc bmc(machine);
        const SensorKey& key = row.key;
        if (!row.reading.empty()) {
            EXPECT_EQ(ask(bmc, 0x04, 0x2d, {key.number}, key.lun, key.owner), row.reading) << row.machine;
            EXPECT_EQ(ask(bmc, 0x04, 0x27, {key.number}, key.lun, key.owner), row.thresholds) << row.machine;
        }
        EXPECT_EQ(ask(bmc, 0x06, 0x42, {6}).at(0), row.ipmb6 ? 0 : 0xcc) << row.machine;
        EXPECT_EQ(word(ask(bmc, 0x0a, 0x10, {row.fruDevice}), 1), readFile(files.fru[row.fruDevice]).size());
        for (const auto& [other, sensor] : machine.sensors) {
            if (machine.hasController(other.owner)) {
                EXPECT_EQ(ask(bmc, 0x04, 0x2d, {other.number}, other.lun, other.owner).size(), 5U) << row.machine;
            }
        }
    }
}

} // namespace Sim
