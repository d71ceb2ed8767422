#include "ipmi/CmpiStatus.h"
#include "sdr/SensorAccess.h"
#include "sdr/SensorRecords.h"
#include "support/FakeClock.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>

namespace
{

using namespace Support;
using Ipmi::IpmiDiscreteSensor;
using Ipmi::IpmiSensor;
using Ipmi::IpmiThresholdSensor;
using Ipmi::SensorAccess;

using S = IpmiThresholdSensor;
using Group = std::vector<long>;

/// What a record says: where it is, what it is, and what only full and compact ones have: units, abilities, masks.
std::vector<Group> fieldsOf(const S& s)
{
    return {{s.getSensorNumber(), s.getSensorRecordNumber(), s.getOwnerId(), s.getLun(), s.getChannel(),
             s.getEntity().getId(), s.getEntity().getInstance()},
            {s.getSensorType(), s.getEventReadingType(), s.getSensorDirection(), s.getEventMessageSupport(),
             s.isLinear(), s.isAnalog(), s.isConvertible()},
            {s.getRateUnit(), s.getModifierUnitUse(), s.getBaseUnit(), s.getModifierUnit(), s.getHysteresisSupport(),
             s.getThresholdAccessSupport(), s.getFlags(), s.getAssertionEventMask(), s.getDeassertionEventMask(),
             s.getLowerThresholdReadingMask(), s.getUpperThresholdReadingMask(), s.getReadableMask(),
             s.getSettableMask()}};
}

TEST(IpmiSensor, FieldsOfEveryKindOfRecord)
{
    const std::pair<std::uint8_t, Group> rows[] = {{kFull, {0xc4, 0xff, 0, 1, 0, 1, 1}}, // what it is
                                                   {kCompact, {0xc4, 0xff, 1, 1, 1, 1, 0}},
                                                   {kEventOnly, {0x4e, 0x89, 3, 0xff, 1, 1, 0}},
                                                   {0x11, {0, 0, 0, 0xff, 1, 1, 0}}};
    Bytes record(48);
    for (std::size_t i = 0; i < record.size(); ++i)
        record[i] = static_cast<std::uint8_t>(i * 0x3b);
    for (const auto& [type, what] : rows) {
        record[3] = type;
        const bool has = type == kFull || type == kCompact;
        const Group where{0x9d, 0x3b00, 0x27, 2, 6, 0xd8, 0x13};
        const Group rest{3, 2, 0xd7, 0x12, 0, 2, 0x00d9, 0x053a, 0x0bb0, 7, 6, 0x26, 0x21};
        EXPECT_EQ(fieldsOf(sensor<S>(record)), (std::vector{where, what, has ? rest : Group(13)}));
        const auto made = sensor<IpmiDiscreteSensor>(record);
        const Group masks = {made.getAssertionEventMask(), made.getDeassertionEventMask(), made.getReadingMask()};
        EXPECT_EQ(masks, has ? (Group{0x753a, 0xebb0, 0x6126}) : Group(3));
    }
    EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kFull, {{10, 0x63}, {11, 0x40}})).getFlags(), 0x0163);
    EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kFull, {{10, 0x90}, {11, 0x3f}, {20, 0xfe}})).getFlags(), 0);
}

TEST(IpmiSensor, OfLessThanNineBytesHasNeitherNumberNorId)
{
    for (const std::size_t length : {8U, 9U}) {
        const Bytes record = sensorRecord(kFull, {{0, 0x34}, {1, 0x12}, {7, 5}}, length);
        const auto made = sensor<S>(record);
        EXPECT_EQ(made.getSensorNumber(), length == 9 ? 5 : 0);
        EXPECT_EQ(made.getSensorRecordNumber(), length == 9 ? 0x1234 : 0);
        const unsigned char* bytes = nullptr;
        int kept = -1;
        made.RawRecord(bytes, kept);
        EXPECT_EQ(Bytes(bytes, bytes + kept), record);
        EXPECT_EQ(bytes, made.getSdr());
    }
    EXPECT_EQ(IpmiDiscreteSensor(-1, nullptr, 0).getSensorNumber(), 0);
    EXPECT_EQ(IpmiDiscreteSensor(48, nullptr, 0).getName(), "Sensor 0x00");
}

TEST(IpmiSensor, DumpPrintsTheRecord)
{
    testing::internal::CaptureStdout();
    sensor<IpmiDiscreteSensor>({}).dump();
    sensor<IpmiDiscreteSensor>(sensorRecord(kFull, {{7, 0xab}, {16, 0xcd}}, 17)).dump();
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "\nSensor : 0xab\nData 0x00: 0x00 0x00 0x00 0x01 0x00 0x00 0x00 0xab 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00"
        "\nData 0x10: 0xcd\n");
}

TEST(IpmiSensor, AttemptsKeepTheirHistory)
{
    auto made = sensor<IpmiDiscreteSensor>(sensorRecord(kFull));
    EXPECT_FALSE(made.getLastReading().present);
    using Row = std::tuple<int, unsigned int, unsigned int, bool>; // result, how it is kept, repeats, presence
    const std::vector<Row> rows({Row{0, 0, 1, true}, Row{0, 0, 2, true}, Row{0xcb, 0xcb, 0, false},
                                 Row{0xcb, 0xcb, 1, false}, Row{-1, ~0U, 0, true}, Row{0, 0, 0, true}});
    const unsigned char answer[5] = {0, 0x12, 0x40, 1, 2};
    for (const auto& [result, stored, repeats, present] : rows) {
        SCOPED_TRACE(testing::Message() << result << ' ' << repeats);
        SensorAccess::beginReadAttempt(made);
        EXPECT_TRUE(made.getLastReading().present && !made.getLastReading().valid && made.readingStateUnavailable());
        SensorAccess::endReadAttempt(made, result);
        EXPECT_EQ(made.getLastReadResult(), stored);
        EXPECT_EQ(made.getReadResultRepeats(), repeats);
        EXPECT_EQ(made.getLastReading().present, present);
        if (result == 0)
            made.setReading(answer);
        EXPECT_EQ(made.getLastReading().valid, result == 0);
        EXPECT_EQ(made.getLastReading().raw, 0x12) << "the bytes stay";
    }
}

TEST(IpmiSensor, AReadingIsKeptWithItsTime)
{
    FakeClock clock;
    clock.setWallTime(std::chrono::seconds(1'767'225'599) + std::chrono::microseconds(999'999));
    auto made = sensor<IpmiDiscreteSensor>(sensorRecord(kFull));
    std::string before, time;
    made.getReadingTime(before);
    EXPECT_EQ(before, "1970-01-01T00:00:00Z");
    made.setReading(nullptr);
    EXPECT_FALSE(made.getLastReading().valid || made.hasReadingTime());

    const unsigned char answer[6] = {0, 0x12, 0x60, 0x34, 0x56, 0x78};
    for (unsigned int length = 0; length <= 6; ++length) {
        made.setReading(answer, length);
        const IpmiSensor::Reading reading = made.getLastReading();
        const std::uint8_t bytes[] = {reading.cc, reading.raw, reading.flags, reading.state1, reading.state2};
        for (unsigned int i = 0; i < 5; ++i)
            EXPECT_EQ(bytes[i], i < length ? answer[i] : 0) << length;
        EXPECT_EQ(reading.length, std::min(length, 5U));
        EXPECT_FALSE(reading.available()) << "the BMC says so";
        EXPECT_EQ(made.readingStateUnavailable(), length > 2);
        EXPECT_EQ(made.scanningDisabled(), length <= 2);
    }
    made.getReadingTime(time);
    EXPECT_EQ(time, "2025-12-31T23:59:59Z");
}

TEST(IpmiSensor, StatesAsText)
{
    auto analog = sensor<S>(sensorRecord(kEventOnly));
    auto discrete = sensor<IpmiDiscreteSensor>(sensorRecord(kEventOnly));
    const auto check = [&](const Bytes& answer, const std::string& threshold, const std::string& states) {
        for (IpmiSensor* made : std::initializer_list<IpmiSensor*>{&analog, &discrete})
            made->setReading(answer.data(), static_cast<unsigned int>(answer.size()));
        EXPECT_EQ(analog.getState(false), threshold);
        EXPECT_EQ(discrete.getState(false), states);
    };
    EXPECT_EQ(analog.getState(false) + discrete.getState(false), "") << "never read";
    check({0, 1, 0x40, 0x00, 0x00}, "ok", "none");
    check({0, 1, 0x40, 0x01, 0x00}, "lower non-critical", "0");
    check({0, 1, 0x40, 0x03, 0x00}, "lower critical", "0,1");
    check({0, 1, 0x40, 0x08, 0x00}, "upper non-critical", "3");
    check({0, 1, 0x40, 0x19, 0x00}, "upper critical", "0,3,4");
    check({0, 1, 0x40, 0x23, 0x00}, "upper non-recoverable", "0,1,5");
    check({0, 1, 0x40, 0x3f, 0x00}, "lower non-recoverable", "0,1,2,3,4,5");
    check({0, 1, 0xc0, 0xc0, 0xc1}, "ok", "6,7,8,14"); // the top bits are reserved
    check({0, 1, 0x40}, "ok", "none");
    for (const Bytes& none : {Bytes{0, 1, 0x60, 1, 0}, Bytes{0, 1, 0x00, 1, 0}, Bytes{0, 1}})
        check(none, "", "");
}

TEST(IpmiSensor, ThresholdsInUnitsOrNotAvailable)
{
    using Getter = double (S::*)() const;
    constexpr Getter kGetters[] = {&S::getLowerThresholdNonCritical,    &S::getLowerThresholdCritical,
                                   &S::getLowerThresholdNonRecoverable, &S::getUpperThresholdNonCritical,
                                   &S::getUpperThresholdCritical,       &S::getUpperThresholdNonRecoverable};
    using Row = std::array<std::uint8_t, 6>; // type, units, mask of the record, code, mask of the answer, available
    for (const auto& [type, units, mask, cc, answered, available] :
         {Row{kFull, 0, 0x1b, 0, 0x3f, 0x1b}, Row{kFull, 0, 0x3f, 0, 0xe4, 0x24}, Row{kFull, 0, 0x3f, 0xcd, 0x3f, 0},
          Row{kFull, 0xc0, 0x3f, 0, 0x3f, 0}, Row{kCompact, 0, 0x3f, 0, 0x3f, 0}}) {
        auto made = sensor<S>(sensorRecord(type, {{18, mask}, {20, units}, {24, 2}}));
        EXPECT_THROW(made.getLowerThresholdCritical(), Ipmi::CmpiStatus) << "not asked yet";
        const unsigned char answer[] = {cc, answered, 10, 11, 12, 13, 14, 15};
        made.setThresholdReading(answer);
        made.setThresholdReading(nullptr);
        for (unsigned int i = 0; i < 6; ++i) {
            try {
                EXPECT_EQ((made.*kGetters[i])(), 2.0 * (10 + i));
                EXPECT_TRUE(available >> i & 1) << i;
            } catch (const Ipmi::CmpiStatus& status) {
                EXPECT_EQ(status.rc(), CMPI_RC_ERR_FAILED);
                EXPECT_FALSE(available >> i & 1) << i;
            }
        }
        EXPECT_EQ(made.getLastThresholds().readable, answered & 0x3f);
    }
}

TEST(IpmiSensor, NoReaderSeesHalfOfTwoAnswers)
{
    auto made = sensor<S>(sensorRecord(kFull));
    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    const auto read = [&] {
        std::string text;
        while (!done) {
            const IpmiSensor::Reading reading = made.getLastReading();
            torn += reading.raw != reading.flags || reading.raw != reading.state1 || reading.raw != reading.state2;
            const IpmiSensor::Thresholds thresholds = made.getLastThresholds();
            for (std::uint8_t raw : thresholds.raw)
                torn += raw != thresholds.raw[0] || raw % 64 != thresholds.readable;
            made.getReadingTime(text);
            made.getState(false);
        }
    };
    std::thread first(read), second(read);
    for (unsigned int i = 0; i < 20'000; ++i) {
        Bytes answer(8, static_cast<std::uint8_t>(i));
        answer[0] = 0;
        SensorAccess::beginReadAttempt(made);
        SensorAccess::endReadAttempt(made, 0);
        made.setReading(answer.data());
        made.setThresholdReading(answer.data());
    }
    done = true;
    first.join();
    second.join();
    EXPECT_EQ(torn, 0);
}

} // namespace
