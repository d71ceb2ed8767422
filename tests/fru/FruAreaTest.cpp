// SPDX-License-Identifier: Apache-2.0
// Areas as the getters and as the FRU standard read them, images made of them, and both damaged.
#include "FruSamples.h"
#include "base/Text.h"
#include "ipmi/CmpiTypes.h"
#include "support/FailingNew.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <set>

namespace
{

using namespace FruTest;
using namespace Ipmi;
using namespace std::string_literals;

template <typename Area> std::string gettersOf(const Bytes& bytes)
{
    return oneLine(getters(areaOf<Area>(bytes)));
}

template <typename Area> std::string fieldsOf(const Bytes& bytes)
{
    return oneLine(lines(areaOf<Area>(bytes).fields()));
}

Bytes withVersion(const Bytes& area, std::uint8_t version)
{
    return changed(area, {{0, version}});
}

struct AreaRow {
    const char* what;
    std::string (*ask)(const Bytes&);
    Bytes bytes;
    std::string texts;
};

TEST(FruArea, Getters)
{
    const auto board = gettersOf<IpmiFruBoard>, chassis = gettersOf<IpmiFruChassis>,
               product = gettersOf<IpmiFruProduct>;
    const auto made = [](std::vector<Bytes> texts) { return info(kDate, texts); };
    const auto box = [](std::vector<Bytes> texts) { return info({0}, texts); };
    const std::string usual = "ACME|IPMI|SN7|PN8|2010-05-17T08:30:00", at = "|2010-05-17T08:30:00";
    const AreaRow rows[] = {
        // manufacturer, name, serial number, part number, date
        {"usual", board, kBoard, usual},
        {"reserved bits of the version", board, withVersion(kBoard, 0xf1), usual},
        {"another version", board, withVersion(kBoard, 2), "n/a||||N/A"},
        {"no bytes", board, {}, "n/a||||N/A"},
        {"no lengths", board, made({latin(""), latin(""), latin(""), latin("")}), "n/a||n/a|" + at},
        {"binary and BCD", board, made({field(0, "x"), field(0x40, "x"), field(0x40, "x")}), "n/a||n/a| " + at},
        {"6-bit: one byte, blanks", board,
         made({field(0x80, "\x29"), field(0x80, "\0\0\0"s), field(0x80, "\x29\x01"), field(0x80, "")}),
         "I|     |I$| " + at},
        {"unprintable, blanks", board, made({latin("A\x01\xe9 \t"), latin("  x "), latin("   ")}), "A|  x|   | " + at},
        {"end before the manufacturer: what follows it", board, made({}), "/|||" + at},
        {"end before the name", board, made({latin("AA")}), "AA| ||" + at},
        {"no date", board, info({0, 0, 0, 0}, {latin("AA"), latin("BB")}), "AA|BB| ||1996-01-01T00:00:00"},
        {"the last date", board, info({0, 255, 255, 255}, {latin("AA"), latin("BB"), latin("CC")}),
         "AA|BB|CC| |2027-11-24T20:15:00"},
        // type, part number, serial number: one byte early
        {"a part number that ends as a field begins", chassis, kChassis, "Rack Mount Chassis|AB| S"},
        {"any other part number", chassis, info({17}, {latin("PN8"), latin("SN1")}), "Main Server Chassis|PN8|n/a"},
        {"no part number", chassis, info({0}, {latin(""), latin("SN1")}), "Unspecified||n/a"},
        {"another version", chassis, withVersion(kChassis, 2), "||n/a"},
        {"nothing", chassis, info({1}, {}), "Other| |n/a"},
        {"a type nobody knows, in another version", chassis, withVersion(info({38}, {}), 2), "Unknown||n/a"},
        {"one that is checked", chassis, withVersion(info({37}, {}), 2), "||n/a"},
        // manufacturer, name, part number, version, serial number: one byte early, tag
        {"a version that ends as a field begins", product, kProduct, "ACME|Box|M1|v| S|tag"},
        {"any other version", product,
         box({latin("AA"), latin("BB"), latin("CC"), latin("D4"), latin("EE"), latin("FF")}), "AA|BB|CC|D4||FF"},
        {"another version of the area", product, withVersion(kProduct, 2), "n/a||||n/a|"},
        {"no manufacturer", product, box({latin(""), latin("BB")}), "n/a|BB| ||n/a|"},
        {"end before the version", product, box({latin("AA"), latin("BB"), latin("CC")}), "AA|BB|CC| |n/a|"},
        {"end before the serial number", product, box({latin("AA"), latin("BB"), latin("CC"), latin("")}),
         "AA|BB|CC|||"},
    };
    for (const AreaRow& row : rows)
        EXPECT_EQ(row.ask(row.bytes), row.texts) << row.what;
    std::string types;
    for (const std::uint8_t type : Bytes{2, 9, 15, 19, 25, 29, 36, 37, 38, 255})
        types += areaOf<IpmiFruChassis>(info({type}, {})).getType() + '|';
    EXPECT_EQ(types, "Unknown|LapTop|Space-saving|SubChassis|multi-system|Blade Enclosure|Stick PC|Unknown|Unknown|"
                     "Unknown|");
}

TEST(FruArea, ManufacturingDateTimeIsNotScaled)
{
    for (const auto& [bytes, text] : {std::pair(kBoard, "19700101020600.510000+000"),
                                      {info({0, 0, 0, 0}, {}), "99990101000000.000000+000"},
                                      {withVersion(kBoard, 2), "99990101000000.000000+000"}}) {
        const CmpiDateTime time = areaOf<IpmiFruBoard>(bytes).getMfgDateTime();
        const CMPIString* shown = time.get()->ft->getStringFormat(time.get(), nullptr);
        EXPECT_STREQ(shown->ft->getCharPtr(shown, nullptr), text);
    }
}

TEST(FruArea, Fields)
{
    const auto board = fieldsOf<IpmiFruBoard>, chassis = fieldsOf<IpmiFruChassis>, product = fieldsOf<IpmiFruProduct>,
               internal = fieldsOf<IpmiFruInternal>;
    const auto maker = [](std::uint8_t language, const Bytes& name) { return info({language}, {name}); };
    const Bytes short_ = info({38}, {latin("PN"), latin("SN")}), noEnd = changed(short_, {{6, 0xff}});
    const std::string en = "Language Code: en (code 0)|Manufacturer Name: ",
                      pn = "Chassis Type: 0x26 (code 38)|Chassis Part Number: PN (latin-1)|Chassis Serial Number: ";
    const AreaRow rows[] = {
        {"a board", board, kBoard,
         "Language Code: en (code 0)|Mfg. Date / Time: 2010-05-17T08:30:00Z (time)|Board Manufacturer: ACME (latin-1)|"
         "Board Product Name: IPMI (6-bit)|Board Serial Number: SN7 (latin-1)|Board Part Number: PN8 (latin-1)|"
         "FRU File ID: F1 (latin-1)|Custom Field 1: more (latin-1)"},
        {"a chassis", chassis, kChassis,
         "Chassis Type: Rack Mount Chassis (code 23)|Chassis Part Number: AB\u00c2 (latin-1)|"
         "Chassis Serial Number: SN1 (latin-1)|Custom Field 1: 123 (bcd-plus)"},
        {"a product", product, kProduct,
         en + "ACME (latin-1)|Product Name: Box (latin-1)|Product Part/Model Number: M1 (latin-1)|"
              "Product Version: v\u00c2 (latin-1)|Product Serial Number: SN1 (latin-1)|Asset Tag: tag (latin-1)|"
              "FRU File ID:  (latin-1)|Custom Field 1: 01ff (binary)"},
        {"an internal use area", internal, {1, 0xab}, "Internal Use Area: 01ab (binary)"},
        {"none", internal, {}, ""},
        {"controls and blanks", product, maker(0, latin("\xb0 C \x1b ")), en + "\u00b0 C ? (latin-1)"},
        {"NULs, English", product, maker(25, latin("Caf\xe9\0\0"s)),
         "Language Code: en (code 25)|Manufacturer Name: Caf\u00e9 (latin-1)"},
        {"16 bits each in the first language", product, maker(1, latin("A\0\xac\x20"s)),
         "Language Code: aa (code 1)|Manufacturer Name: A\u20ac (unicode)"},
        {"and in the last", product, maker(136, latin("\x3d\xd8\0\xde\x42"s)),
         "Language Code: zu (code 136)|Manufacturer Name: \U0001f600 (unicode)"},
        {"6 bits in any", product, maker(137, field(0x80, "\x29\xdc\xa6")),
         "Language Code: 0x89 (code 137)|Manufacturer Name: IPMI (6-bit)"},
        {"BCD plus", product, maker(0, field(0x40, "\x01\x23\xab\xc9")), en + "0123 -.9 (bcd-plus)"},
        {"binary", product, maker(0, field(0x00, "\x00\xfe"s)), en + "00fe (binary)"},
        {"a serial number is English in any language", board,
         info({1, 0, 0, 0}, {latin("A\0"s), latin("B\0"s), latin("CD"), latin("E\0"s)}),
         "Language Code: aa (code 1)|Board Manufacturer: A (unicode)|Board Product Name: B (unicode)|"
         "Board Serial Number: CD (latin-1)|Board Part Number: E (unicode)"},
        {"up to its checksum", chassis, noEnd, pn + "SN\u00c1 (latin-1)"},
        {"cut off", chassis, firstOf(noEnd, 8), pn + "S (latin-1)"},
        {"as long as it says itself", chassis, firstOf(changed(noEnd, {{1, 1}}), 8), pn + " (latin-1)"},
        {"another version", chassis, {2, 1, 38}, "Data: 020126 (binary)"},
        {"no fields", chassis, {1, 1}, "Data: 0101 (binary)"},
        {"no bytes", chassis, {}, ""},
    };
    for (const AreaRow& row : rows)
        EXPECT_EQ(row.ask(row.bytes), row.texts) << row.what;
}

TEST(FruArea, OwnsItsBytes)
{
    Bytes bytes = kBoard;
    IpmiFruBoard board = areaOf<IpmiFruBoard>(bytes), copy(board);
    bytes.assign(bytes.size(), 0);
    board.set(static_cast<unsigned int>(bytes.size()), bytes.data());
    EXPECT_EQ(copy.getManufacturer() + board.getManufacturer(), "ACMEn/a");
    board = copy;
    board = *&board;
    board.set(board.length(), board.bytes());
    EXPECT_EQ(getters(board), getters(copy));
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
    const std::string stars(78, '*'),
        optional = "IpmiFruOptional: Dump ", product = "IpmiFruProduct: Dump ",
        listing = " Info Area : 0x11\nData 0x00: 0x01 0xab 0x02 0x03 0x04 0x05 0x06 0x07 0x08 "
                  "0x09 0x0a 0x0b 0x0c 0x0d 0x0e 0x0f\nData 0x10: 0x10\n";
    const auto dump = &IpmiFruOptional::dump, test = &IpmiFruOptional::testDump;
    EXPECT_EQ(printed(areaOf<IpmiFruBoard>(bytes), dump), stars + "\nBoard" + listing);
    EXPECT_EQ(printed(areaOf<IpmiFruChassis>(bytes), dump), stars + "\nChassis" + listing);
    EXPECT_EQ(printed(areaOf<IpmiFruProduct>(bytes), dump),
              product + "Entering\n" + stars + "\nProduct" + listing + product + "Exiting.\n");
    EXPECT_EQ(printed(areaOf<IpmiFruMulti>(bytes), test),
              optional + "Entering.\n" + stars + "\n" + listing.substr(1) + optional + "Exiting.\n");
    EXPECT_EQ(printed(IpmiFruBoard(), dump), "\n");
}

/// Internal use area at 8, chassis at 16, then board and product where there are some, and records.
Bytes image(const Bytes& chassis, const Bytes& records, const Bytes& board = {}, const Bytes& product = {},
            std::uint8_t version = 1)
{
    std::uint8_t end = 2;
    const auto place = [&end](const Bytes& area) {
        const std::uint8_t start = end;
        end = static_cast<std::uint8_t>(end + area.size() / 8);
        return area.empty() ? std::uint8_t{0} : start;
    };
    Bytes header{version, 1, place(chassis), place(board), place(product)};
    header.insert(header.end(), {end, 0});
    header.push_back(checksum(header));
    return joined({header, {1, 2, 3, 4, 5, 6, 7, 8}, chassis, board, product, records});
}

/// "kind@offset", with "!" for a wrong checksum and "<" for one that is not whole, its number of bytes, and the types
/// of its records, with "!" too.
std::string shown(const std::vector<IpmiFruArea>& areas)
{
    std::string text;
    for (const auto& area : areas) {
        text += std::string(kindName(area.kind)) + '@' + std::to_string(area.offset) + (area.checksumOk ? "" : "!") +
                (area.whole ? "" : "<") + ' ' + std::to_string(area.contents->length()) + ' ';
        if (const auto* multi = dynamic_cast<const IpmiFruMulti*>(area.contents.get()))
            for (const IpmiFruRecord& one : multi->records())
                text += 'r' + std::to_string(one.type) + (one.checksumOk ? " " : "! ");
    }
    return text;
}

TEST(DecodeFru, MarksWhatIsDamaged)
{
    const Bytes chassis = info({1}, {latin("PN")}), records = joined({record(1, kDc), record(2, kDc, true)});
    const Bytes good = image(chassis, records), open = image(chassis, record(1, kDc)),
                rest = image(chassis, joined({records, Bytes(3, 0xff)})),
                zero = image(chassis, joined({record(2, {}), records})), other = image(chassis, records, {}, {}, 2);
    const std::string start = "internal@8 8 chassis@16 8 ", all = "multi-record@24 36 r1 r2 ",
                      none = "multi-record@24!< 0 ", wrongSum = "the common header has a wrong checksum";
    const struct {
        Bytes image;
        std::string areas, error;
    } rows[] = {
        {good, start + all, ""},
        {rest, start + all, ""},
        {open, start + "multi-record@24< 18 r1 ", ""},
        {zero, start + "multi-record@24< 5 r2 ", ""},
        {changed(good, {{18, 2}}), "internal@8 8 chassis@16! 8 " + all, ""},
        {changed(good, {{17, 0}}), "internal@8 8 chassis@16!< 0 " + all, ""},
        {changed(good, {{17, 9}}), "internal@8 8 chassis@16!< 44 " + all, ""},
        {changed(good, {{27, 1}}), start + "multi-record@24!< 18 r1! ", ""}, // its length may be wrong: nothing follows
        {changed(good, {{25, 6}}), start + "multi-record@24!< 18 r1! ", ""},
        {changed(good, {{28, 1}}), start + "multi-record@24!< 18 r1! ", ""},
        {changed(good, {{29, 1}}), start + "multi-record@24! 36 r1! r2 ", ""},
        {changed(good, {{41, 1}}), start + "multi-record@24! 36 r1! r2 ", ""},
        {firstOf(good, 50), start + "multi-record@24!< 26 r1 r2! ", ""},
        {firstOf(image(chassis, record(1, {1, 0}, true)), 30), start + "multi-record@24!< 6 r1! ",
         ""},                                                       // its sum is right
        {firstOf(good, 44), start + "multi-record@24< 18 r1 ", ""}, // not even a header
        {firstOf(good, 27), start + none, ""},
        {firstOf(good, 19), "internal@8 8 chassis@16!< 3 " + none, ""},
        {firstOf(good, 12), "internal@8 4 chassis@16!< 0 " + none, ""},
        {firstOf(good, 8), "internal@8< 0 chassis@16!< 0 " + none, ""},
        {firstOf(good, 7), "", "too short for a common header: 7 bytes"},
        {changed(good, {{7, 0}}), start + all, wrongSum},
        {other, start + all, "unknown format version 0x02 of the common header"},
        {changed(good, {{0, 0xf0}, {18, 2}}), all,
         "unknown format version 0xf0 of the common header, whose checksum is wrong too"},
    };
    for (const auto& row : rows) {
        std::string error = "old";
        EXPECT_EQ(shown(decodeFru(row.image.data(), row.image.size(), &error)), row.areas);
        EXPECT_EQ(error, row.error) << row.areas;
    }
    EXPECT_TRUE(decodeFru(nullptr, 100, nullptr).empty());
}

/// All getters say the same as with zeros behind the area's end; fields end, and are clean.
void expectNothingReadBehind(const IpmiFruArea& area)
{
    const Bytes bytes(area.contents->bytes(), area.contents->bytes() + area.contents->length());
    const auto more = joined({bytes, Bytes(1024)});
    auto filled = makeFruArea(area.kind, 0, nullptr, 0).contents;
    filled->set(static_cast<unsigned int>(more.size()), more.data());
    EXPECT_EQ(getters(*area.contents), getters(*filled));
    const auto fields = area.contents->fields();
    EXPECT_LE(fields.size(), bytes.size() + 30);
    for (const auto& field : fields)
        EXPECT_EQ(TRX::textFromUtf8({reinterpret_cast<const std::uint8_t*>(field.value.data()), field.value.size()}),
                  field.value);
}

TEST(DecodeFru, CutAnywhereAndOfAnyByteNothingIsReadBehindTheEnd)
{
    const Support::LogCapture quiet; // records without data
    const Bytes good = image(kChassis, kRecords, kBoard, kProduct);
    const auto goodAreas = decodeFru(good.data(), good.size(), nullptr);
    ASSERT_EQ(shown(goodAreas),
              "internal@8 8 chassis@16 16 board@32 40 product@72 32 multi-record@104 75 r0 r1 r2 r192 ");
    const auto expectBounds = [](const Bytes& bytes) {
        for (const IpmiFruArea& area : decodeFru(bytes.data(), bytes.size(), nullptr))
            expectNothingReadBehind(area);
    };
    std::set<std::size_t> typeLengths; // they take every value, the other bytes some
    for (const std::size_t first : {16U + 3, 32U + 6, 72U + 3})
        for (std::size_t at = first; typeLengths.insert(at).second && good[at] != 0xc1;)
            at += 1 + (good[at] & 0x3f);
    for (std::size_t place = 0; place < good.size(); ++place) {
        expectBounds(firstOf(good, place));
        for (unsigned int value = 0; value<0x100; value += typeLengths.count(place)> 0 ? 1 : 15)
            expectBounds(changed(good, {{place, static_cast<std::uint8_t>(value)}}));
    }
}

} // namespace
