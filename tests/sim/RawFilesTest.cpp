// SPDX-License-Identifier: Apache-2.0
// Raw captures as machines.
#include "sim/machine/RawFiles.h"

#include "SimSupport.h"

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
    // The line behind its sensor, and what the sensor and its thresholds read then.
    const std::pair<std::string, const char*> rows[] = {
        {"0x00 0x2d 0x1 | settable 111111 0x69 0x5f 0x55 0x00 0x02 0x05", "2d c0 c0 00, 3f 05 02 00 55 5f 69"},
        {"0x00 0x5f 0x1 | settable 111111 0x69 0x5f 0x55 0x00 0x02 0x05", "5f c0 d8 00, 3f 05 02 00 55 5f 69"},
        {"0x00 0x2d 0x1 | readable 010010 0 9 0 0 3 0", "2d c0 d0 00, 12 00 03 00 00 09 00"},
        {"0x00 0x2d 0x0 |", "2d 40 c0 00, 3f 05 02 00 55 5f 69"},
        {"0x00 0x00 0x0", "00 60 c0 00, 3f 05 02 00 55 5f 69"},
        {"0x00 0x00 0x1", "00 c0 c7 00, 3f 05 02 00 55 5f 69"}, // at the lowest threshold
        {"0x00 0x09 0x1 | none 000000 0 0 0 0 0 0", "09 c0 c0 00, 00 00 00 00 00 00 00"},
        {"0x01 0x2d 0x1 |", "00 e0 c0 00, 3f 05 02 00 55 5f 69"}, // another's
    };
    for (const auto& [line, answers] : rows) {
        SCOPED_TRACE(line);
        const ScratchFile readings("# comment\n\n0x20 0 " + line + "\n");
        World world(machineFromRaw({.sdr = sdr.path(), .readings = readings.path(), .fru = {{3, sdr.path()}}}));
        EXPECT_EQ(world.ask("04 2d 00").substr(3) + ", " + world.ask("04 27 00").substr(3), answers);
        world.converse("0a 11 03 00 00 05 > 00 05 01 00 51 01 33");
        if (line.find("readable") != line.npos)
            world.converse("04 26 00 02 00 00 00 00 00 00 > cd");
    }
    for (const char* line :
         {"4 0x00 0x2d 0x1 |", "0 0x00 0x100 0x1 |", "0 0x00 0x2d 0x1 | some 111111 0 0 0 0 0 0",
          "0 0x00 0x2d 0x1 | settable 11111 0 0 0 0 0 0", "0 0x00 0x2d 0x1 ! settable 111111 0 0 0 0 0 0",
          "0 0x00 0x2d 0x1 | settable 111111 0 0 0 0 0 0 7"}) {
        const ScratchFile readings(std::string("# comment\n\n0x20 ") + line + "\n");
        EXPECT_EQ(complaintOf({.sdr = sdr.path(), .readings = readings.path()}),
                  readings.path() +
                      ": line 3 is not \"owner lun sensor raw flag | support mask UNR UC UNC LNR LC LNC\"");
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

} // namespace Sim
