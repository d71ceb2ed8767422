// SPDX-License-Identifier: Apache-2.0
// FRU devices: how they are read and written, and the images that a machine file describes.
#include "SimSupport.h"

#include "sim/machine/RawFiles.h"

#include <gtest/gtest.h>

namespace Sim
{

namespace
{

Machine withFru(const std::string& devices)
{
    return parseMachine(R"({"controllers": [{"address": "0x84"}], "fru": [)" + devices + "]}", "file");
}

/// The image of a BMC's device 0 with these fields and no more.
std::string image(const std::string& fields)
{
    return text(withFru(R"({"device": 0, "size": 0, )" + fields + "}").fru.at(0).image);
}

} // namespace

TEST(SimFru, ReadsAndWrites)
{
    // Device 0 is read by bytes, 1 by words, 2 by words at byte offsets; the images count from 00h.
    converse(withFru(R"(
        {"device": 0, "data": "00 01 02 03 04"}, {"device": 1, "data": "00 01 02 03 04", "access": "words"},
        {"device": 2, "data": "00 01 02 03 04", "access": "words at bytes"}, {"device": 3, "lun": 2, "data": "33"},
        {"device": 4, "data": "00 01 02 03 04", "read_limit": 2, "refusal": "0xc7"},
        {"device": 5, "data": "00 01", "claimed_size": 768}, {"device": 6, "data": "00 01", "busy_for": 2},
        {"device": 7, "data": "00 01 02 03 04", "write_protected": 2}, {"device": 8, "data": "", "write_protected": true},
        {"device": 9, "data": ["00 01", "02"], "size": 600, "write_protected": true},
        {"device": 0, "address": "0x82", "size": 64}
        )"),
             R"(
        size in bytes: 0a 10 00 > 00 05 00 00; in bytes for words too: 0a 10 01 > 00 05 00 01; 0a 10 02 > 00 05 00 01;
        by bytes: 0a 11 00 01 00 02 > 00 02 01 02; up to the end: 0a 11 00 03 00 ff > 00 02 03 04;
        past the end: 0a 11 00 05 00 01 > c9; none: 0a 11 00 00 00 00 > 00 00; lengths: 0a 11 00 > c7 | 0a 10 > c7;
        by words: 0a 11 01 01 00 01 > 00 01 02 03; half a word: 0a 11 01 01 00 04 > 00 02 02 03 04 00;
        words past the end: 0a 11 01 03 00 01 > c9; words beyond an answer: 0a 11 01 00 00 80 > ca;
        words at a byte: 0a 11 02 01 00 01 > 00 01 01 02; the last: 0a 11 02 04 00 01 > 00 01 04 00;
        absent device: 0a 10 0a > cb | 0a 11 0a 00 00 01 > cb | 0a 12 0a 00 00 01 > cb;
        at a LUN: 0a 10 03 > cb | @20/2/f 0a 10 03 > 00 01 00 00 | @20/2/f 0a 11 03 00 00 01 > 00 01 33;
        at most two bytes: 0a 11 04 00 00 02 > 00 02 00 01 | 0a 11 04 00 00 03 > c7 | 0a 11 04 04 00 03 > c7;
        more than it has: 0a 10 05 > 00 00 03 00 | 0a 11 05 01 00 08 > 00 01 01 | 0a 11 05 02 00 08 > c9;
        busy for a time: 0a 10 06 > 00 02 00 00 | 0a 11 06 00 00 01 > 81 | 0a 12 06 00 00 07 > 81 |
            0a 11 06 00 00 02 > 00 02 00 01;
        written: 0a 12 00 01 00 aa bb > 00 02 | 0a 11 00 00 00 05 > 00 05 00 aa bb 03 04;
        written over the end: 0a 12 00 04 00 aa bb > 00 01 | 0a 11 00 03 00 05 > 00 02 03 aa; beyond: 0a 12 00 05 00 aa > c9;
        nothing written: 0a 12 00 00 00 > c7; after a reset: 0a 12 00 00 00 aa > 00 01 | {"nth": 1, "silent_ms": 1} |
            0a 10 00 > - | +1 | 0a 11 00 00 00 01 > 00 01 aa;
        words written: 0a 12 01 01 00 aa bb > 00 01 | 0a 11 01 00 00 02 > 00 02 00 01 aa bb; half a one: 0a 12 01 00 00 aa > c7;
        protected: 0a 12 07 01 00 aa > 80 | 0a 11 07 01 00 01 > 00 01 01; not further on: 0a 12 07 02 00 aa > 00 01;
        empty: 0a 10 08 > 00 00 00 00 | 0a 11 08 00 00 01 > c9; whole: 0a 12 09 57 02 aa > 80; its end: 0a 11 09 57 02 09 > 00 01 00;
        long: 0a 11 09 01 00 ff > 00 ff 01 02 00..; a satellite's: @82 0a 10 00 > 00 40 00 00;
        as much as its bus carries: @82 0a 11 00 00 00 17 > 00 17 01 00.. | @82 0a 11 00 00 00 18 > ca;
        written there: @82 0a 12 00 00 00 aa > 00 01 | @82 0a 11 00 00 00 02 > 00 02 aa 00 | 0a 11 00 00 00 02 > 00 02 00 01;
        a satellite without: @84 0a 10 00 > c1 | @84 0a 11 00 00 00 01 > c1; nobody: @86 0a 10 00 > -;)");
}

TEST(SimFru, FaultsHitItLikeAnythingElse)
{
    converse(loadMachine("sample"), R"(
        one device: {"cmd": 17, "data": "01", "completion_code": "0x81"} | 0a 11 01 00 00 01 > 81 | 0a 11 00 00 00 01 > 00..;
        one controller: {"cmd": 16, "address": "0x82", "no_answer": true} | @82 0a 10 00 > - | 0a 10 00 > 00 00 02 00;
        fewer than it counts: {"cmd": 17, "cut_to": 3} | 0a 11 00 00 00 08 > 00 08 01;
        none, and too many: {"cmd": 17, "nth": 1, "change": [{"offset": 1, "value": 0}], "cut_to": 2} | 0a 11 00 00 00 08 > 00 00 |
            {"cmd": 17, "change": [{"offset": 1, "value": 9}]} | 0a 11 00 00 00 08 > 00 09 01 01 03..;
        a wrong byte: {"cmd": 17, "change": [{"offset": 3, "value": 255}]} | 0a 11 00 00 00 08 > 00 08 01 ff 03 07 10 19 00 cb;
        the device's way: {"cmd": 16, "change": [{"offset": 3, "value": 1}]} | 0a 10 00 > 00 00 02 01;
        a write: {"cmd": 18, "completion_code": "0x80"} | 0a 12 00 00 00 07 > 80 | 0a 11 00 00 00 01 > 00 01 01;)");
}

TEST(SimFru, Images)
{
    const std::pair<const char*, const char*> rows[] = {
        // fields: the image
        {R"("internal": "aa")", "01 01 00 00 00 00 00 fe 01 aa 00 00 00 00 00 00"},
        {R"("chassis_type": 23, "chassis": ["AB"])",
         "01 00 01 00 00 00 00 fe 01 02 17 c2 41 42 c0 c1 00 00 00 00 00 00 00 20"},
        {R"("board_minutes": 197121, "board": [{"data": "00 ff"}, {"text": "AZ_", "encoding": "6-bit"},
            {"text": "12-", "encoding": "bcd plus"}, "\u00e9!", "B"])",
         "01 00 00 01 00 00 00 fe 01 03 19 01 02 03 02 00 ff 83 a1 fe 03 42 12 ba c2 e9 21 c2 42 20 c1 f8"},
        {R"("product": {"language": 53, "fields": ["\u6e29A", {"text": "7", "encoding": "bcd plus"}]})",
         "01 00 00 00 01 00 00 fe 01 03 35 c4 29 6e 41 00 41 7a c0 c0 c0 c0 c0 c1 00 00 00 00 00 00 00 ef"},
        {R"("product": {"language": 0, "fields": ["AB"]})",
         "01 00 00 00 01 00 00 fe 01 02 00 c2 41 42 c0 c0 c0 c0 c0 c0 c1 00 00 77"},
        {R"("chassis": {"fields": [], "checksum": "wrong"}, "checksum": "wrong")",
         "01 00 01 00 00 00 00 ff 01 01 17 c0 c0 c1 00 a7"},
        {R"("multi": [{"type": "power supply", "capacity_w": 1300, "peak_va": 1500, "inrush_a": 40, "inrush_ms": 5,
            "input_1_v": [90, 132.5], "input_2_v": [180, 264], "input_hz": [47, 63], "dropout_ms": 12, "flags": 31,
            "hold_up_s": 9, "peak_w": 1400, "combined": "0x02", "combined_w": 1100, "tachometer_rps": 20}])",
         "01 00 00 00 00 01 00 fe 00 82 18 70 f6 14 05 dc 05 28 05 28 23 c2 33 50 46 20 67 2f 3f 0c 1f 78 95 02 4c 04 "
         "14"},
        {R"("multi": [{"type": "dc output", "output": 3, "standby": true, "nominal_v": -12, "deviation_v": [-0.6, 0.29],
            "ripple_mv": 120, "current_a": [0.5, 41.5]}, {"type": "dc load", "output": 1, "nominal_v": 3.3,
            "range_v": [3.1, 3.5], "current_a": [0, 2]}])",
         "01 00 00 00 00 01 00 fe 01 02 0d 27 c9 83 50 fb c4 ff 1d 00 78 00 f4 01 1c a2 02 82 0d "
         "47 28 01 4a 01 36 01 5e 01 00 00 00 00 d0 07"},
        {R"("multi": [{"type": "management access", "access": "component name", "text": "n"},
            {"type": "oem", "manufacturer": 32473, "data": "05", "checksum": "wrong"},
            {"type": 2, "data": "", "header_checksum": "wrong"}], "multi_end": false)",
         "01 00 00 00 00 01 00 fe 03 02 02 8d 6c 05 6e c0 02 04 a5 95 d9 7e 00 05 02 02 00 00 fd"},
    };
    for (const auto& [fields, expected] : rows)
        EXPECT_EQ(image(fields), expected) << fields;
}

TEST(SimFru, ImagesFromFiles)
{
    const ScratchFile file("image");
    EXPECT_EQ(image(R"("file": ")" + file.path() + '"'), text(std::string("image")));
    World world(machineFromRaw({.fru = {{3, file.path()}, {{3, 0x82}, file.path()}}}));
    world.converse("0a 10 03 > 00 05 00 00 | @82 0a 11 03 00 00 02 > 00 02 69 6d");
}

TEST(SimFru, Complaints)
{
    expectRefused(R"(
        "device": 256 => file.fru[0]: "device" must be a whole number from 0 to 255
        "device": 1, "address": 33 => file.fru[0]: "address" must be even, an 8-bit slave address
        "device": 1, "lun": 4 => file.fru[0]: "lun" must be a whole number from 0 to 3
        "device": 1, "access": "long" => file.fru[0]: "access" must be a number or one of: bytes, words, words at bytes
        "device": 1, "write_protected": "no" => file.fru[0]: "write_protected" must be a whole number from 0 to 65535
        "device": 1, "data": ["0"] => file.fru[0].data[0]: must be a text of hexadecimal bytes, like "01 a0"
        "device": 1, "file": "/nowhere" => /nowhere: No such file or directory
        "device": 1, "data": "00", "board": [] => file.fru[0]: unknown field "board"
        "device": 1, "checksum": "no" => file.fru[0]: "checksum" must be "right" or "wrong"
        "device": 1, "board": {"field": []} => file.fru[0].board: unknown field "field"
        "device": 1, "board": [{"text": "a", "encoding": "6-bit"}] => file.fru[0].board[0]: has a character that 6-bit..
        "device": 1, "board": [{"text": "a", "encoding": "binary"}] => file.fru[0].board[0]: unknown field "text"
        "device": 1, "board": ["\u6e29"] => file.fru[0].board[0]: has a character outside Latin 1
        "device": 1, "multi": [{"type": "dc output", "output": 1}] => file.fru[0].multi[0]: "nominal_v" is missing
        "device": 1, "multi": [{"type": 2, "output": 1, "nominal_v": 400}] => file.fru[0].multi[0]: "nominal_v" is out of..
        "device": 1, "multi": [{"type": 0, "input_1_v": [1]}] => file.fru[0].multi[0]: "input_1_v" must be two numbers: ..
        "device": 1, "multi": [{"type": 192}] => file.fru[0].multi[0]: "manufacturer" is missing
        )",
                  [](const std::string& fields, const char*) { withFru("{" + fields + "}"); });
}

} // namespace Sim
