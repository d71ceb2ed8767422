// SPDX-License-Identifier: Apache-2.0
// What a sensor says of itself: fields, values, thresholds, names.
#include "ipmi/CmpiStatus.h"
#include "sdr/SdrBmc.h"

#include <array>
#include <atomic>
#include <climits>
#include <cmath>
#include <numeric>
#include <thread>

namespace
{

using namespace SdrTest;
using namespace Support;
using Ipmi::IpmiDiscreteSensor;
using Ipmi::IpmiSensor;
using S = Ipmi::IpmiThresholdSensor;

/// Byte n of the records is A0h + n.
TEST(IpmiSensor, FieldsOfEveryKindOfRecord)
{
    static constexpr auto kOfAll = "number record owner LUN channel entity instance analog";
    static constexpr auto kOwn = "sensor-type event-type direction event-messages linear convertible";
    static constexpr auto kOfFullAndCompact =
        "rate modifier-use unit modifier hysteresis thresholds assertions deassertions lower-readings upper-readings "
        "readable settable all-assertions all-deassertions states";
    Bytes record(48);
    std::iota(record.begin(), record.end(), std::uint8_t{0xa0});
    for (const auto& [type, own] : {std::pair(kFull, Facts{0xac, 0xad, 0, 3, 0, 1}),
                                    {kCompact, {0xac, 0xad, 2, 3, 1, 0}},
                                    {kEventOnly, {0xaa, 0xab, 2, 0xff, 1, 0}},
                                    {std::uint8_t{0x11}, {0, 0, 0, 0xff, 1, 0}}}) {
        record[3] = type;
        const S s = sensor<S>(record);
        const auto d = sensor<IpmiDiscreteSensor>(record);
        EXPECT_EQ(facts(kOfAll, s.getSensorNumber(), s.getSensorRecordNumber(), s.getOwnerId(), s.getLun(),
                        s.getChannel(), s.getEntity().getId(), s.getEntity().getInstance(), s.isAnalog()),
                  facts(kOfAll, 0xa7, 0xa1a0, 0xa5, 2, 0x0a, 0xa8, 0x29, 1));
        EXPECT_EQ(facts(kOwn, s.getSensorType(), s.getEventReadingType(), s.getSensorDirection(),
                        s.getEventMessageSupport(), s.isLinear(), s.isConvertible()),
                  facts(kOwn, own));
        EXPECT_EQ(facts(kOfFullAndCompact, s.getRateUnit(), s.getModifierUnitUse(), s.getBaseUnit(),
                        s.getModifierUnit(), s.getHysteresisSupport(), s.getThresholdAccessSupport(),
                        s.getAssertionEventMask(), s.getDeassertionEventMask(), s.getLowerThresholdReadingMask(),
                        s.getUpperThresholdReadingMask(), s.getReadableMask(), s.getSettableMask(),
                        d.getAssertionEventMask(), d.getDeassertionEventMask(), d.getReadingMask()),
                  facts(kOfFullAndCompact, type > kCompact ? Facts(15)
                                                           : Facts{6, 2, 0xb5, 0xb6, 2, 2, 0xfae, 0x1b0, 2, 3, 0x32,
                                                                   0x33, 0xafae, 0xb1b0, 0xb3b2}));
    }
    EXPECT_EQ(sensor<S>(zeroRecord(kFull, {{10, 0x63}, {11, 0x40}})).getFlags(), 0x0163);
    EXPECT_EQ(sensor<S>(zeroRecord(kFull, {{10, 0x90}, {11, 0x3f}, {20, 0xfe}})).getFlags(), 0);
    EXPECT_EQ(sensor<S>(zeroRecord(kFull, {{10, 0x0c}, {11, 0x80}, {20, 0x01}})).getFlags(), 0x1098);
}

TEST(IpmiSensor, OfLessThanNineBytesHasNeitherNumberNorId)
{
    testing::internal::CaptureStdout();
    for (const std::size_t length : {8U, 9U, 17U}) {
        const Bytes record = zeroRecord(kFull, {{0, 0x34}, {1, 0x12}, {7, 0xab}, {16, 0xcd}}, length);
        const auto made = sensor<S>(record);
        EXPECT_EQ(made.getSensorNumber(), length < 9 ? 0 : 0xab);
        EXPECT_EQ(made.getSensorRecordNumber(), length < 9 ? 0 : 0x1234);
        const unsigned char* bytes = nullptr;
        int kept = -1;
        made.RawRecord(bytes, kept);
        EXPECT_EQ(Bytes(bytes, bytes + kept), record);
        if (length > 9)
            made.dump();
    }
    EXPECT_EQ(IpmiDiscreteSensor(-1, nullptr, 0).getName() + IpmiDiscreteSensor(48, nullptr, 0).getName(),
              "Sensor 0x00Sensor 0x00");
    sensor<IpmiDiscreteSensor>({}).dump();
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "Sensor : 0xab\nData 0x00: 0x34 0x12 0x00 0x01 0x00 0x00 0x00 0xab 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00"
        "\nData 0x10: 0xcd\n\n");
}

TEST(IpmiSdrRecord, KeepsWhatFitsAndReadsZeroBeyond)
{
    using Ipmi::IpmiSdrRecord;
    const std::vector<unsigned char> data(80, 0xa5);
    for (unsigned int length = 0; length <= data.size(); ++length) {
        SCOPED_TRACE(length);
        const LogCapture log;
        const IpmiSdrRecord made(length, data.data()), copy(made);
        IpmiSdrRecord set(64, data.data()), assigned;
        EXPECT_EQ(set.set(length, data.data()), length > 64);
        assigned = set; // is a set, and says it again
        set = *&set;    // keeps what it has, and says nothing
        EXPECT_EQ(log.lines(), std::vector<LogLine>(length > 64 ? 2 : 0, {LOG_ERR, "set: SDR is too long"}));
        const unsigned int fits = std::min(length, 64U), taken = length > 64 ? 0 : length;
        EXPECT_TRUE(made.length == fits && copy.length == fits && set.length == length && assigned.length == length);
        EXPECT_EQ(made.le16(fits - 1), fits ? 0x00a5 : 0);
        for (unsigned int i : {0U, fits - 1, fits, 63U, 64U, ~0U})
            EXPECT_TRUE(made.at(i) == (i < fits ? 0xa5 : 0) && copy.at(i) == made.at(i)) << i;
        for (unsigned int i = 0; i < 64; ++i)
            EXPECT_TRUE(set.bytes[i] == (i < taken ? 0xa5 : 0) && assigned.bytes[i] == set.bytes[i]) << i;
    }
    EXPECT_EQ(IpmiSdrRecord(9, nullptr).length, 0U);
}

TEST(IpmiSensor, ThresholdsInUnitsOrNotAvailable)
{
    constexpr double (S::*kGetters[])()
        const = {&S::getLowerThresholdNonCritical, &S::getLowerThresholdCritical, &S::getLowerThresholdNonRecoverable,
                 &S::getUpperThresholdNonCritical, &S::getUpperThresholdCritical, &S::getUpperThresholdNonRecoverable};
    using Row = std::array<std::uint8_t, 6>; // type, units, mask of the record, code, mask of the answer, available
    for (const auto& [type, units, mask, cc, answered, available] :
         {Row{kFull, 0, 0x1b, 0, 0x3f, 0x1b}, Row{kFull, 0, 0x3f, 0, 0xe4, 0x24}, Row{kFull, 0, 0x3f, 0xcd, 0x3f, 0},
          Row{kFull, 0xc0, 0x3f, 0, 0x3f, 0}, Row{kCompact, 0, 0x3f, 0, 0x3f, 0}}) {
        auto made = sensor<S>(zeroRecord(type, {{18, mask}, {20, units}, {24, 2}}));
        EXPECT_THROW(made.getLowerThresholdCritical(), Ipmi::CmpiStatus) << "not asked yet";
        const unsigned char answer[] = {cc, answered, 10, 11, 12, 13, 14, 15};
        made.setThresholdReading(answer);
        made.setThresholdReading(nullptr);
        for (unsigned int i = 0; i < 6; ++i)
            if (available >> i & 1)
                EXPECT_EQ((made.*kGetters[i])(), 2.0 * (10 + i));
            else
                EXPECT_THROW((made.*kGetters[i])(), Ipmi::CmpiStatus) << i;
        EXPECT_EQ(made.getLastThresholds().readable, answered & 0x3f);
    }
}

TEST(IpmiSensor, NoReaderSeesHalfOfTwoAnswers)
{
    auto made = sensor<S>(zeroRecord(kFull));
    std::atomic<int> torn{0};
    const auto read = [&](const std::stop_token& done) {
        while (!done.stop_requested()) {
            const IpmiSensor::Reading reading = made.getLastReading();
            torn += reading.raw != reading.flags || reading.raw != reading.state1 || reading.raw != reading.state2;
            const IpmiSensor::Thresholds thresholds = made.getLastThresholds();
            for (std::uint8_t raw : thresholds.raw)
                torn += raw != thresholds.raw[0] || raw % 64 != thresholds.readable;
        }
    };
    std::vector<std::jthread> readers;
    for (int i = 0; i < 2; ++i)
        readers.emplace_back(read);
    for (unsigned int i = 0; i < 20'000; ++i) {
        Bytes answer(8, static_cast<std::uint8_t>(i));
        answer[0] = 0;
        made.setReading(answer.data());
        made.setThresholdReading(answer.data());
    }
    readers.clear(); // which stops and joins them
    EXPECT_EQ(torn, 0);
}

// --- conversion

/// The conversion factors of a full record.
struct Factors {
    int m = 1, b = 0, bExp = 0, exp = 0;
    unsigned int format = 0, function = 0;
};

S sensorOf(const Factors& f)
{
    const auto m = static_cast<unsigned int>(f.m), b = static_cast<unsigned int>(f.b);
    const auto exponents = static_cast<unsigned int>((f.exp & 0xf) << 4 | (f.bExp & 0xf));
    // Bits of tolerance, accuracy, and the reserved top bit of the linearisation are set: they must not count.
    const Changes factors{
        {23, 0x80 | f.function},    {24, m},        {25, m >> 2 | 0x3f}, {26, b}, {28, 0xff}, {27, b >> 2 | 0x3f},
        {20, f.format << 6 | 0x3f}, {29, exponents}};
    return sensor<S>(zeroRecord(kFull, factors));
}

TEST(IpmiSensorConversion, OfEveryFormatAndFunction)
{
    // Two inverses are none, and are meant: that of 3 (log 2), and that of 7 (1/x), which is never a number.
    // A raw value and its units; another value, and the raw value that it is.
    using Row = std::tuple<Factors, unsigned, double, double, int>;
    const std::vector<Row> formats(
        {Row{{.m = 2}, 50, 100, 101, 51}, Row{{.m = 1, .b = 5, .bExp = 1, .exp = -1}, 10, 6, 6, 10},
         Row{{}, 255, 255, 3e9, INT_MIN}, Row{{.m = -512}, 1, -512, 0, 0}, Row{{.m = 511}, 1, 511, NAN, INT_MIN},
         Row{{.m = 0, .b = -512}, 9, -512, 5, 0}, Row{{.b = 511, .bExp = -8}, 0, 511e-8, 1e9, 1'000'000'000},
         Row{{.b = 1, .bExp = 7, .exp = 7}, 0, 1e14, 1e14, 0}, Row{{.exp = -8}, 3, 3e-8, 3e-8, 3},
         Row{{.b = 50}, 0, 50, -0.0, 0}, Row{{.b = 50}, 1, 51, 1e-300, -50},
         Row{{.m = 3, .format = 2}, 0x80, -384, -30, -10}, Row{{.m = 0, .format = 2}, 1, 0, 5, INT_MIN},
         Row{{.format = 1}, 0x80, -127, 20, 19}, Row{{.format = 1}, 0xfe, -1, -20, -21},
         Row{{.format = 1}, 0x7f, 127, -1e-9, -1}, Row{{.m = 3, .format = 1}, 0xff, 0, 0, 0},
         Row{{.m = 0, .format = 1}, 1, 0, 5, INT_MIN}});
    const std::vector<Row> functions(
        {Row{{.function = 1}, 8, std::log(8.0), 2, 7}, Row{{.function = 1}, 0, -HUGE_VAL, 2, 7},
         Row{{.function = 2}, 100, 2, 2, 100}, Row{{.function = 3}, 8, 3, 1, 20},
         Row{{.function = 4}, 2, std::exp(2.0), 100, 5}, Row{{.function = 4}, 0, 1, -1, INT_MIN},
         Row{{.function = 5}, 3, 1e3, 1e3, 3}, Row{{.function = 6}, 8, 256, 256, 8},
         Row{{.function = 7}, 8, 0.125, 0.125, INT_MIN}, Row{{.function = 7}, 0, HUGE_VAL, 8, INT_MIN},
         Row{{.function = 8}, 8, 64, 64, 8}, Row{{.function = 9}, 3, 27, 27, 3}, Row{{.function = 10}, 9, 3, 3, 9},
         Row{{.function = 11}, 27, 3, 3, 27}, Row{{.function = 12}, 8, 8, 3, 3}, Row{{.function = 0x7f}, 8, 8, 3, 3}});
    for (const auto* rows : {&formats, &functions})
        for (const auto& [factors, raw, units, value, back] : *rows) {
            SCOPED_TRACE(testing::Message() << "function " << factors.function << ", " << raw << " is " << units);
            const auto made = sensorOf(factors);
            EXPECT_DOUBLE_EQ(made.convertRawValue(raw), units);
            EXPECT_EQ(made.getReading(raw), made.convertRawValue(raw));
            EXPECT_EQ(made.convertToRawValue(value), back);
        }
    EXPECT_TRUE(std::isnan(sensorOf({.format = 2, .function = 10}).convertRawValue(0xff)));
}

TEST(IpmiSensorConversion, WhatCannotBeConvertedIsZeroAndLogged)
{
    const std::string prefix = "convertRawValue: request ";
    const S compact = sensor<S>(zeroRecord(kCompact, {{24, 1}}));
    const S discrete = sensorOf({.format = 3});
    const LogCapture log;
    for (const auto* made : {&compact, &discrete})
        EXPECT_EQ(made->convertRawValue(5) + made->convertToRawValue(5.0), 0.0); // the second one silently
    EXPECT_EQ(log.lines(), (std::vector<LogLine>{{LOG_ERR, prefix + "but not a full sensor"},
                                                 {LOG_ERR, prefix + "against non-threshold sensor"}}));
}

// --- names

TEST(IpmiSensorNames, OfTypesAndUnits)
{
    using Getter = std::string (IpmiSensor::*)() const;
    constexpr Getter kType = &IpmiSensor::getSensorTypeString, kEvent = &IpmiSensor::getEventReadingTypeString,
                     kBase = &IpmiSensor::getBaseUnitString, kModifier = &IpmiSensor::getModifierUnitString;
    // 10, 12: sensor type; 11, 13: event/reading type; 20: units; 21: base unit; 22: its modifier.
    using Row = std::tuple<Getter, std::uint8_t, Changes, std::string>;
    const std::vector<Row> rows(
        {Row{kType, kFull, {}, "reserved"}, Row{kType, kEventOnly, {{10, 0x23}}, "Watchdog"},
         Row{kType, kFull, {{12, 0x2d}}, "OEM Reserved #2d"}, Row{kType, 0x11, {{12, 1}}, ""},
         Row{kEvent, kFull, {{13, 13}}, "int-drive"}, Row{kEvent, kEventOnly, {{11, 0x6f}}, "sensor-discrete"},
         Row{kEvent, kFull, {{13, 0xff}}, "unspecified(0xff)"}, Row{kEvent, 0x11, {{13, 1}}, ""},
         // A compact record's event/reading type stands for the unit on the command line.
         Row{kBase, kCompact, {{13, 1}, {21, 1}}, "threshold"}, Row{kBase, kFull, {{13, 1}, {21, 1}}, "degrees C"},
         Row{kBase, kCompact, {{13, 1}, {21, 1}, {22, 2}}, "degrees C"},
         Row{kModifier, kCompact, {{22, 2}}, "degrees F"}, Row{kBase, kCompact, {{13, 1}, {21, 144}}, "threshold"},
         Row{kBase, kCompact, {{13, 1}, {21, 145}}, ""}, Row{kBase, kEventOnly, {{21, 1}}, ""},
         Row{kModifier, kEventOnly, {{22, 2}}, ""}});
    Ipmi::_setState(0, Ipmi::IpmiIfc::IPMI_STATE_CLI);
    for (const auto& [getter, type, patch, text] : rows)
        EXPECT_EQ((sensor<IpmiDiscreteSensor>(zeroRecord(type, patch)).*getter)(), text);
    EXPECT_EQ(sensor<S>(zeroRecord(kCompact, {{13, 1}, {21, 1}}), 1).getBaseUnitString(), "degrees C");

    using Units = std::tuple<unsigned, unsigned, unsigned, const char*>; // units, base unit, its modifier
    for (const auto& [units, base, modifier, text] :
         {Units{0x80, 4, 0, "Volts"}, Units{0, 0, 0, "unspecified"}, Units{1, 0, 0, "percent"},
          Units{1, 1, 0, "% degrees C"}, Units{2, 7, 22, "Joules/second"}, Units{4, 46, 1, "ft-lb*degrees C"},
          Units{2, 7, 200, "Joules"}, Units{0x18, 68, 0, "megabit per second"},
          Units{0x0a, 7, 40, "Joules/steradians per microsecond"}, Units{0, 90, 0, "uncorrectable error"},
          Units{1, 91, 0, "percent"}, Units{0x1a, 91, 7, ""}, Units{0xc0, 1, 0, ""}})
        EXPECT_EQ(sensor<S>(zeroRecord(kFull, {{20, units}, {21, base}, {22, modifier}})).getUnitsString(), text);
    EXPECT_EQ(sensor<S>(zeroRecord(kCompact, {{21, 1}})).getUnitsString(), "");
}

TEST(IpmiSensorNames, DescriptionsAndKeys)
{
    const auto fan = [](std::uint8_t type, const char* id) { // of processor 2
        return withId(
            zeroRecord(type, {{5, 0x82}, {6, 0x71}, {7, 0x0a}, {8, 3}, {9, 0x82}, {type == kEventOnly ? 10 : 12, 4}}),
            id);
    };
    const std::tuple<Bytes, const char*, const char*> rows[] = {
        {fan(kFull, "CPU Fan"), "CPU Fan: Fan of Processor 2 (node 1)", "full"},
        {fan(kFull, ""), "[Device]: Fan of Processor 2 (node 1)", "full"},
        {fan(kCompact, "CPU Fan"), "CPU Fan: Fan of Processor 2 (node 1)", "compact"},
        {fan(kCompact, ""), "Unhandled Compact SDR description", "compact"},
        {fan(kEventOnly, "Fan"), "Fan: Fan of Processor 2 (node 1)", "event-only"},
        {fan(kEventOnly, ""), "Unhandled eventonly SDR description", "event-only"},
        {{7, 0, 0x51, 0xc0, 5, 0x82, 0x71, 0x0a, 3, 0x82},
         "OEM Record (0007): SDR Type C0h - OEM Data (82 71 0a 03 82)",
         "typec0"},
        {{7, 0, 0x51, 0x14, 5, 0x82, 0x71, 0x0a, 3, 0x82}, "Unhandled unknown SDR description", "type14"},
    };
    for (const auto& [record, description, kind] : rows) {
        const auto made = sensor<IpmiDiscreteSensor>(record, 1);
        EXPECT_EQ(made.getDescription(), description);
        EXPECT_EQ(made.getDeviceId(), std::string("node1-owner82-channel7-lun1-sensor0a-") + kind);
    }
}

} // namespace
