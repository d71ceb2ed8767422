// SPDX-License-Identifier: Apache-2.0
// Raw captures as machines.
#include "sim/machine/RawFiles.h"

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
    const std::pair<const char*, const char*> rows[] = {
        // answers, or none: the line is refused
        {"0x20 0 0x00 0x2d 0x1 | settable 111111 0x69 0x5f 0x55 0x00 0x02 0x05",
         "04 2d 00 > 00 2d c0 c0 00 | 04 27 00 > 00 3f 05 02 00 55 5f 69"},
        {"0x20 0 0x00 0x5f 0x1 | settable 111111 0x69 0x5f 0x55 0x00 0x02 0x05",
         "04 2d 00 > 00 5f c0 d8 00 | 0a 11 03 00 00 05 > 00 05 01 00 51 01 33"},
        {"0x20 0 0x00 0x2d 0x1 | readable 010010 0 9 0 0 3 0",
         "04 2d 00 > 00 2d c0 d0 00 | 04 27 00 > 00 12 00 03 00 00 09 00 | 04 26 00 02 00 00 00 00 00 00 > cd"},
        {"0x20 0 0x00 0x2d 0x0 |", "04 2d 00 > 00 2d 40 c0 00 | 04 27 00 > 00 3f 05 02 00 55 5f 69"},
        {"0x20 0 0x00 0x00 0x0", "04 2d 00 > 00 00 60 c0 00"},
        {"0x20 0 0x00 0x00 0x1", "04 2d 00 > 00 00 c0 c7 00"}, // at the lowest threshold
        {"0x20 0 0x00 0x09 0x1 | none 000000 0 0 0 0 0 0", "04 2d 00 > 00 09 c0 c0 00 | 04 27 00 > 00 00.."},
        {"# nothing", "04 2d 00 > 00 00 e0 c0 00 | 04 27 00 > 00 3f 05.."},
        {"0x20 4 0x00 0x2d 0x1 |", ""},
        {"0x20 0 0x00 0x100 0x1 |", ""},
        {"0x20 0 0x00 0x2d 0x1 | some 111111 0 0 0 0 0 0", ""},
        {"0x20 0 0x00 0x2d 0x1 | settable 11111 0 0 0 0 0 0", ""},
        {"0x20 0 0x00 0x2d 0x1 | settable 111111 0 0 0 0 0 0 7", ""},
        {"0x20 0 0x00 0x2d 0x1 ! settable 111111 0 0 0 0 0 0", ""},
    };
    for (const auto& [line, answers] : rows) {
        SCOPED_TRACE(line);
        const ScratchFile readings(std::string("# comment\n\n") + line + "\n");
        const RawFiles files{.sdr = sdr.path(), .readings = readings.path(), .fru = {{3, sdr.path()}}};
        const std::string refusal =
            ": line 3 is not \"owner lun sensor raw flag | support mask UNR UC UNC LNR LC LNC\"";
        EXPECT_EQ(complaintOf(files), *answers != 0 ? "taken" : readings.path() + refusal);
        if (*answers != 0)
            World(machineFromRaw(files)).converse(answers);
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
