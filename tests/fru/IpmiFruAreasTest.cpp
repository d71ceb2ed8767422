// SPDX-License-Identifier: Apache-2.0
// The getters of boards, chassis and products, and areas of ill will.
#include "FruSamples.h"
#include "ipmi/CmpiTypes.h"
#include "support/FailingNew.h"
#include "support/LogCapture.h"

#include "base/Text.h"

#include <gmock/gmock.h>

namespace
{

using namespace FruTest;
using namespace Ipmi;
using namespace std::string_literals;

template <typename Area> struct Row {
    const char* what;
    Bytes bytes;
    Texts texts;
};

template <typename Area> void expectRows(const std::vector<Row<Area>>& rows)
{
    for (const auto& row : rows)
        EXPECT_EQ(getters(areaOf<Area>(row.bytes)), row.texts) << row.what;
}

Bytes withVersion(Bytes area, std::uint8_t version)
{
    area[0] = version;
    return area;
}

const std::string kAt = "2010-05-17T08:30:00";

TEST(IpmiFruBoard, GettersByTable) // manufacturer, name, serial number, part number, date
{
    expectRows<IpmiFruBoard>({
        {"usual", kBoard, {"ACME", "IPMI", "SN7", "PN8", kAt}},
        {"reserved bits of the version", withVersion(kBoard, 0xf1), {"ACME", "IPMI", "SN7", "PN8", kAt}},
        {"another version", withVersion(kBoard, 2), {"n/a", "", "", "", "N/A"}},
        {"no bytes", {}, {"n/a", "", "", "", "N/A"}},
        {"fields of length 0", info(kDate, {latin(""), latin(""), latin(""), latin("")}), {"n/a", "", "n/a", "", kAt}},
        {"binary and BCD",
         info(kDate, {field(0, "x"), field(0x40, "x"), field(0x40, "x")}),
         {"n/a", "", "n/a", " ", kAt}},
        {"6-bit: one byte, blanks",
         info(kDate, {field(0x80, "\x29"), field(0x80, "\0\0\0"s), field(0x80, "\x29\x01"), field(0x80, "")}),
         {"I", "     ", "I$", " ", kAt}},
        {"unprintable, blanks",
         info(kDate, {latin("A\x01\xe9 \t"), latin("  x "), latin("   ")}),
         {"A", "  x", "   ", " ", kAt}},
        {"end before the manufacturer: what follows it", info(kDate, {}), {"/", "", "", "", kAt}},
        {"end before the name", info(kDate, {latin("AA")}), {"AA", " ", "", "", kAt}},
        {"no date", info({0, 0, 0, 0}, {latin("AA"), latin("BB")}), {"AA", "BB", " ", "", "1996-01-01T00:00:00"}},
        {"the last date",
         info({0, 0xff, 0xff, 0xff}, {latin("AA"), latin("BB"), latin("CC")}),
         {"AA", "BB", "CC", " ", "2027-11-24T20:15:00"}},
    });
}

TEST(IpmiFruBoard, ManufacturingDateTimeIsNotScaled)
{
    for (const auto& [bytes, text] : {std::pair(kBoard, "19700101020600.510000+000"),
                                      {info({0, 0, 0, 0}, {}), "99990101000000.000000+000"},
                                      {withVersion(kBoard, 2), "99990101000000.000000+000"}}) {
        const CmpiDateTime time = areaOf<IpmiFruBoard>(bytes).getMfgDateTime();
        const CMPIString* shown = time.get()->ft->getStringFormat(time.get(), nullptr);
        EXPECT_STREQ(shown->ft->getCharPtr(shown, nullptr), text);
    }
}

TEST(IpmiFruChassis, GettersByTable) // type, part number, serial number: one byte early
{
    expectRows<IpmiFruChassis>({
        {"a part number that ends as a field begins", kChassis, {"Rack Mount Chassis", "AB", " S"}},
        {"any other part number", info({17}, {latin("PN8"), latin("SN1")}), {"Main Server Chassis", "PN8", "n/a"}},
        {"no part number", info({0}, {latin(""), latin("SN1")}), {"Unspecified", "", "n/a"}},
        {"another version", withVersion(kChassis, 2), {"", "", "n/a"}},
        {"nothing", info({1}, {}), {"Other", " ", "n/a"}},
    });
    const std::pair<std::uint8_t, const char*> types[] = {
        {2, "Unknown"},          {9, "LapTop"},    {15, "Space-saving"}, {19, "SubChassis"}, {25, "multi-system"},
        {29, "Blade Enclosure"}, {36, "Stick PC"}, {37, "Unknown"},      {38, "Unknown"},    {255, "Unknown"}};
    for (const auto& [type, text] : types) {
        EXPECT_EQ(areaOf<IpmiFruChassis>(info({type}, {})).getType(), text);
        EXPECT_EQ(areaOf<IpmiFruChassis>(withVersion(info({type}, {}), 2)).getType(), type > 37 ? "Unknown" : "");
    }
}

TEST(IpmiFruProduct, GettersByTable) // manufacturer, name, part number, version, serial number: one byte early, tag
{
    const auto box = [](std::vector<Bytes> fields) { return info({0}, fields); };
    expectRows<IpmiFruProduct>({
        {"a version that ends as a field begins", kProduct, {"ACME", "Box", "M1", "v", " S", "tag"}},
        {"any other version",
         box({latin("AA"), latin("BB"), latin("CC"), latin("D4"), latin("EE"), latin("FF")}),
         {"AA", "BB", "CC", "D4", "", "FF"}},
        {"another version of the area", withVersion(kProduct, 2), {"n/a", "", "", "", "n/a", ""}},
        {"no manufacturer", box({latin(""), latin("BB")}), {"n/a", "BB", " ", "", "n/a", ""}},
        {"end before the version", box({latin("AA"), latin("BB"), latin("CC")}), {"AA", "BB", "CC", " ", "n/a", ""}},
        {"end before the serial number",
         box({latin("AA"), latin("BB"), latin("CC"), latin("")}),
         {"AA", "BB", "CC", "", "", ""}},
    });
}

/// The getters of what is cut, or changed, say the same as with zeros behind the end; fields end, and are clean.
template <typename Area> void expectZerosBehind(const Bytes& bytes)
{
    const Area area = areaOf<Area>(bytes);
    Bytes filled = bytes;
    filled.resize(bytes.size() + 1024);
    if constexpr (std::is_same_v<Area, IpmiFruMulti>) {
        // Which records there are the area's end decides; what is asked of one goes on with zeros.
        for (const std::uint8_t type : Bytes{0, 1, 2})
            EXPECT_TRUE(area.isMultiRecordTypePresent(type) || area.getValue(type, kFruOutputNumber).empty());
    } else {
        EXPECT_EQ(getters(area), getters(areaOf<Area>(filled)));
    }
    const auto fields = area.fields();
    EXPECT_LE(fields.size(), bytes.size() + 30);
    for (const auto& field : fields)
        EXPECT_EQ(TRX::textFromUtf8({reinterpret_cast<const std::uint8_t*>(field.value.data()), field.value.size()}),
                  field.value);
}

template <typename Area> void spoil(const Bytes& sample, unsigned int step = 1)
{
    for (std::size_t size = 0; size < sample.size(); ++size)
        expectZerosBehind<Area>({sample.begin(), sample.begin() + static_cast<std::ptrdiff_t>(size)});
    for (std::size_t place = 0; place < sample.size(); ++place)
        for (unsigned int value = 0; value < 0x100; value += step) {
            Bytes bytes = sample;
            bytes[place] = static_cast<std::uint8_t>(value);
            expectZerosBehind<Area>(bytes);
        }
}

TEST(FruArea, IsNeverReadPastItsEnd)
{
    const Support::LogCapture quiet; // records without data
    spoil<IpmiFruBoard>(kBoard);
    spoil<IpmiFruChassis>(kChassis);
    spoil<IpmiFruProduct>(kProduct);
    spoil<IpmiFruMulti>(kRecords, 5); // it has many fields
}

TEST(FruArea, OwnsItsBytes)
{
    Bytes bytes = kBoard;
    IpmiFruBoard board = areaOf<IpmiFruBoard>(bytes), copy(board);
    bytes.assign(bytes.size(), 0);
    board.set(static_cast<unsigned int>(bytes.size()), bytes.data());
    EXPECT_EQ(copy.getManufacturer(), "ACME");
    EXPECT_EQ(board.getManufacturer(), "n/a");
    board = copy;
    board = *&board;
    board.set(board.length(), board.bytes());
    EXPECT_EQ(getters(board), getters(areaOf<IpmiFruBoard>(kBoard)));
    board.set(7, nullptr);
    EXPECT_EQ(board.length(), 0u);
    EXPECT_EQ(board.bytes(), nullptr);
}

TEST(FruArea, SixBitTextWithoutMemory)
{
    const Support::LogCapture log;
    const auto board = areaOf<IpmiFruBoard>(kBoard);
    const Support::FailingNew failing(1);
    EXPECT_EQ(board.getFruAreaString(11), "");
    EXPECT_TRUE(log.has(LOG_ERR, "IpmiFruOptional::getFruAreaString could not allocate buffer of length 5"));
    EXPECT_EQ(board.getFruAreaString(11), "IPMI\0"s);
}

std::string printed(const IpmiFruOptional& area, void (IpmiFruOptional::*member)() const)
{
    testing::internal::CaptureStdout();
    (area.*member)();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

TEST(FruArea, Dumps)
{
    const Bytes bytes{0x01, 0xab, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    const std::string stars(78, '*'), listing = " : 0x11\nData 0x00: 0x01 0xab 0x02 0x03 0x04 0x05 0x06 0x07 0x08 0x09 "
                                                "0x0a 0x0b 0x0c 0x0d 0x0e 0x0f\nData 0x10: 0x10\n";
    const auto dump = &IpmiFruOptional::dump, test = &IpmiFruOptional::testDump;
    EXPECT_EQ(printed(areaOf<IpmiFruBoard>(bytes), dump), stars + "\nBoard Info Area" + listing);
    EXPECT_EQ(printed(areaOf<IpmiFruChassis>(bytes), dump), stars + "\nChassis Info Area" + listing);
    EXPECT_EQ(printed(areaOf<IpmiFruProduct>(bytes), dump), "IpmiFruProduct: Dump Entering\n" + stars +
                                                                "\nProduct Info Area" + listing +
                                                                "IpmiFruProduct: Dump Exiting.\n");
    EXPECT_EQ(printed(areaOf<IpmiFruMulti>(bytes), test), "IpmiFruOptional: Dump Entering.\n" + stars + "\nInfo Area" +
                                                              listing + "IpmiFruOptional: Dump Exiting.\n");
    EXPECT_EQ(printed(IpmiFruBoard(), dump), "\n");
    EXPECT_EQ(printed(IpmiFruBoard(), test), "IpmiFruOptional: Dump Entering.\n\nIpmiFruOptional: Dump Exiting.\n");
}

} // namespace
