// Raw captures as machines.
#include "sim/RawFiles.h"

#include "SimSupport.h"

#include <gtest/gtest.h>

namespace Sim
{

namespace
{

/// A record of a full sensor with readable thresholds: the sample machine's first one.
std::string oneRecord()
{
    const Machine sample = loadMachine("sample");
    return {sample.sdr.at(0).begin(), sample.sdr.at(0).end()};
}

std::string complaintOf(const RawFiles& files)
{
    return complaint([&] { machineFromRaw(files); });
}

} // namespace

TEST(SimRawFiles, ReadingLines)
{
    const ScratchFile sdr(oneRecord());
    const struct {
        const char *line, *reading, *thresholds; ///< answers after the completion code; none: the line is refused
    } rows[] = {
        {"0x20 0 0x00 0x2d 0x1 | settable 111111 0x69 0x5f 0x55 0x00 0x02 0x05", "2d c0 c0 0", "3f 5 2 0 55 5f 69"},
        {"0x20 0 0x00 0x5f 0x1 | settable 111111 0x69 0x5f 0x55 0x00 0x02 0x05", "5f c0 d8 0", "3f 5 2 0 55 5f 69"},
        {"0x20 0 0x00 0x2d 0x1 | readable 010010 0 9 0 0 3 0", "2d c0 d0 0", "12 0 3 0 0 9 0"},
        {"0x20 0 0x00 0x2d 0x0 |", "2d 40 c0 0", "3f 5 2 0 55 5f 69"},
        {"0x20 0 0x00 0x00 0x0", "0 60 c0 0", "3f 5 2 0 55 5f 69"},
        {"0x20 0 0x00 0x09 0x1 | none 000000 0 0 0 0 0 0", "9 c0 c0 0", "0 0 0 0 0 0 0"},
        {"# nothing", "0 e0 c0 0", "3f 5 2 0 55 5f 69"},
        {"0x20 4 0x00 0x2d 0x1 |", "", ""},
        {"0x20 0 0x00 0x100 0x1 |", "", ""},
        {"0x20 0 0x00 0x2d 0x1 | some 111111 0 0 0 0 0 0", "", ""},
        {"0x20 0 0x00 0x2d 0x1 | settable 11111 0 0 0 0 0 0", "", ""},
        {"0x20 0 0x00 0x2d 0x1 | settable 111111 0 0 0 0 0 0 7", "", ""},
        {"0x20 0 0x00 0x2d 0x1 ! settable 111111 0 0 0 0 0 0", "", ""},
    };
    for (const auto& row : rows) {
        const ScratchFile readings(std::string("# comment\n\n") + row.line + "\n");
        const RawFiles files{.sdr = sdr.path(), .readings = readings.path()};
        if (*row.reading == 0) {
            EXPECT_EQ(complaintOf(files), readings.path() + ": line 3 is not \"owner lun sensor raw flag | support "
                                                            "mask UNR UC UNC LNR LC LNC\"");
            continue;
        }
        Bmc bmc(machineFromRaw(files));
        EXPECT_EQ(ask(bmc, "04 2d 00"), hex(std::string("0 ") + row.reading)) << row.line;
        EXPECT_EQ(ask(bmc, "04 27 00"), hex(std::string("0 ") + row.thresholds)) << row.line;
    }
}

TEST(SimRawFiles, DamagedFiles)
{
    const std::string record = oneRecord();
    for (std::size_t length = 0; length < record.size(); ++length) {
        const ScratchFile cut(record.substr(0, length));
        EXPECT_EQ(complaintOf({.sdr = cut.path()}),
                  cut.path() + (length == 0 ? ": no records" : ": the record at byte 0 ends after the file"));
    }
    const ScratchFile sel("seventeen bytes..");
    EXPECT_EQ(complaintOf({.sel = sel.path()}), sel.path() + ": not a whole number of 16-byte records");
    EXPECT_EQ(complaintOf({.fru = {{1, "/nowhere"}}}), "/nowhere: No such file or directory");
}

// Records that claim nothing, or less than their kind has, still answer every question.
TEST(SimRawFiles, ShortRecordsAreSensorsOfZeros)
{
    for (const char type : std::string{1, 2, 3, 0x11}) {
        const ScratchFile sdr(std::string{1, 0, 0x51, type, 0});
        Bmc bmc(machineFromRaw({.sdr = sdr.path()}));
        EXPECT_EQ(ask(bmc, "0a 23 0 0 0 0 0 ff").size(), 8U);
        for (const auto& [key, sensor] : bmc.machine().sensors)
            EXPECT_EQ(ask(bmc, 0x04, 0x2d, {key.number}, key.lun, key.owner).size(), 5U);
    }
}

TEST(SimRawFiles, Captures)
{
    const char* folder = std::getenv("TRX_CAPTURES");
    if (folder == nullptr)
        GTEST_SKIP() << "TRX_CAPTURES names no folder with captures";
    const struct {
        const char* machine;
        std::uint8_t fruDevice;
        const char* fruFile;
        std::uint8_t ipmb6; ///< 0: another controller sits behind channel 6
    } rows[] = {{"dell_r730", 10, "fru-10.bin", 0xcc}, {"quanta_t41", 0, "fru-00.bin", 0x00}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.machine);
        const std::string path = std::string(folder) + "/" + row.machine + "/";
        const RawFiles files{.sdr = path + "sdr.bin",
                             .readings = path + "readings.txt",
                             .fru = {{row.fruDevice, path + row.fruFile}},
                             .sel = std::string(folder) + "/sel/vectors.bin"};
        const Machine machine = machineFromRaw(files);
        EXPECT_EQ(sdrBytes(machine), readFile(files.sdr));
        EXPECT_EQ(machine.sel.size(), 158U);
        EXPECT_EQ(machine.fru.at(row.fruDevice), readFile(path + row.fruFile));
        Bmc bmc(machine);
        EXPECT_EQ(ask(bmc, "06 42 06").at(0), row.ipmb6);
        for (const auto& [key, sensor] : machine.sensors)
            EXPECT_EQ(ask(bmc, 0x04, 0x2d, {key.number}, key.lun, key.owner).size(),
                      machine.presenceOf(0, key.owner) == Presence::answers ? 5U : 0U);
    }
}

} // namespace Sim
