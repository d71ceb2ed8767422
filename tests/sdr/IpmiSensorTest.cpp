#include "ipmi/CmpiStatus.h"
#include "sdr/SensorAccess.h"
#include "sdr/SensorRecords.h"
#include "support/FakeClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <random>
#include <thread>

namespace
{

using namespace Support;
using Ipmi::IpmiDiscreteSensor;
using Ipmi::IpmiSensor;
using Ipmi::IpmiThresholdSensor;
using Ipmi::SensorAccess;

template <auto getter> long ofThreshold(const IpmiSensor& made)
{
    return (static_cast<const IpmiThresholdSensor&>(made).*getter)();
}

template <auto getter> long ofEntity(const IpmiSensor& made)
{
    return (made.getEntity().*getter)();
}

/// An accessor, and what it says of a full, a compact, an event-only and another record: of bytes that are all FFh but
/// for the type, and of bytes that all differ.
struct Field {
    const char* name;
    std::function<long(const IpmiSensor&)> get;
    long ones[4], mixed[4];
};

using S = IpmiSensor;
using T = IpmiThresholdSensor;
const Field kFields[] = {
    {"number", &S::getSensorNumber, {0xff, 0xff, 0xff, 0xff}, {0x9d, 0x9d, 0x9d, 0x9d}},
    {"id", &S::getSensorRecordNumber, {0xffff, 0xffff, 0xffff, 0xffff}, {0x3b00, 0x3b00, 0x3b00, 0x3b00}},
    {"owner", &S::getOwnerId, {0xff, 0xff, 0xff, 0xff}, {0x27, 0x27, 0x27, 0x27}},
    {"lun", &S::getLun, {3, 3, 3, 3}, {2, 2, 2, 2}},
    {"channel", &S::getChannel, {15, 15, 15, 15}, {6, 6, 6, 6}},
    {"type", &S::getSensorType, {0xff, 0xff, 0xff, 0}, {0xc4, 0xc4, 0x4e, 0}},
    {"event type", &S::getEventReadingType, {0xff, 0xff, 0xff, 0}, {0xff, 0xff, 0x89, 0}},
    {"rate", &S::getRateUnit, {7, 7, 0, 0}, {3, 3, 0, 0}},
    {"modifier use", &S::getModifierUnitUse, {3, 3, 0, 0}, {2, 2, 0, 0}},
    {"base unit", &S::getBaseUnit, {0xff, 0xff, 0, 0}, {0xd7, 0xd7, 0, 0}},
    {"modifier unit", &S::getModifierUnit, {0xff, 0xff, 0, 0}, {0x12, 0x12, 0, 0}},
    {"direction", &S::getSensorDirection, {0, 3, 3, 0}, {0, 1, 3, 0}},
    {"hysteresis", &S::getHysteresisSupport, {3, 3, 0, 0}, {0, 0, 0, 0}},
    {"threshold access", &S::getThresholdAccessSupport, {3, 3, 0, 0}, {2, 2, 0, 0}},
    {"event messages", &S::getEventMessageSupport, {3, 3, 0xff, 0xff}, {1, 1, 0xff, 0xff}},
    {"flags", &S::getFlags, {0x11fb, 0x11fb, 0, 0}, {0x00d9, 0x00d9, 0, 0}},
    {"linear", &S::isLinear, {0, 1, 1, 1}, {0, 1, 1, 1}},
    {"analog", &S::isAnalog, {0, 0, 0, 0}, {1, 1, 1, 1}},
    {"convertible", &S::isConvertible, {0, 0, 0, 0}, {1, 0, 0, 0}},
    {"entity", ofEntity<&Ipmi::IpmiEntity::getId>, {0xff, 0xff, 0xff, 0xff}, {0xd8, 0xd8, 0xd8, 0xd8}},
    {"instance", ofEntity<&Ipmi::IpmiEntity::getInstance>, {0x7f, 0x7f, 0x7f, 0x7f}, {0x13, 0x13, 0x13, 0x13}},
    {"assertions", &S::getAssertionEventMask, {0x0fff, 0x0fff, 0, 0}, {0x053a, 0x053a, 0, 0}},
    {"deassertions", &S::getDeassertionEventMask, {0x0fff, 0x0fff, 0, 0}, {0x0bb0, 0x0bb0, 0, 0}},
    {"lower mask", ofThreshold<&T::getLowerThresholdReadingMask>, {7, 7, 0, 0}, {7, 7, 0, 0}},
    {"upper mask", ofThreshold<&T::getUpperThresholdReadingMask>, {7, 7, 0, 0}, {6, 6, 0, 0}},
    {"readable", ofThreshold<&T::getReadableMask>, {0x3f, 0x3f, 0, 0}, {0x26, 0x26, 0, 0}},
    {"settable", ofThreshold<&T::getSettableMask>, {0x3f, 0x3f, 0, 0}, {0x21, 0x21, 0, 0}},
};

TEST(IpmiSensor, FieldsOfEveryKindOfRecord)
{
    constexpr std::uint8_t kTypes[] = {kFull, kCompact, kEventOnly, 0x11};
    Bytes ones(48, 0xff), mixed(48);
    for (std::size_t i = 0; i < mixed.size(); ++i)
        mixed[i] = static_cast<std::uint8_t>(i * 0x3b);
    for (int kind = 0; kind < 4; ++kind) {
        ones[3] = mixed[3] = kTypes[kind];
        const auto high = sensor<IpmiThresholdSensor>(ones), low = sensor<IpmiThresholdSensor>(mixed);
        for (const Field& field : kFields) {
            EXPECT_EQ(field.get(high), field.ones[kind]) << field.name << ", kind " << kind;
            EXPECT_EQ(field.get(low), field.mixed[kind]) << field.name << ", kind " << kind;
        }
        const auto discrete = sensor<IpmiDiscreteSensor>(mixed);
        EXPECT_EQ(discrete.getAssertionEventMask(), kind < 2 ? 0x753a : 0);
        EXPECT_EQ(discrete.getDeassertionEventMask(), kind < 2 ? 0xebb0 : 0);
        EXPECT_EQ(discrete.getReadingMask(), kind < 2 ? 0x6126 : 0);
    }
    EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kFull, {{10, 0x63}, {11, 0x40}})).getFlags(), 0x0163);
    EXPECT_EQ(sensor<IpmiDiscreteSensor>(sensorRecord(kFull, {{10, 0x90}, {11, 0x3f}, {20, 0xfe}})).getFlags(), 0);
}

TEST(IpmiSensor, ATruncatedRecordReadsAsIfItEndedInZeros)
{
    std::mt19937 random(1);
    for (const std::uint8_t type : {kFull, kCompact, kEventOnly}) {
        for (int length = 0; length <= 64; ++length) {
            Bytes whole(64);
            std::generate(whole.begin(), whole.end(), random);
            whole[3] = type;
            const Bytes cut(whole.begin(), whole.begin() + length); // the heap's end is the record's end
            std::fill(whole.begin() + length, whole.end(), std::uint8_t{0});
            const auto made = sensor<IpmiThresholdSensor>(cut), padded = sensor<IpmiThresholdSensor>(whole);
            for (const Field& field : kFields) {
                const bool kept = field.name == std::string("number") || field.name == std::string("id");
                EXPECT_EQ(field.get(made), kept && length < 9 ? 0 : field.get(padded)) << field.name << ' ' << length;
            }
            EXPECT_EQ(made.getUnitsString(), padded.getUnitsString());
            EXPECT_EQ(made.getSensorTypeString(), padded.getSensorTypeString());
            const unsigned char* bytes = nullptr;
            int kept = -1;
            made.RawRecord(bytes, kept);
            EXPECT_EQ(kept, length);
            EXPECT_EQ(bytes, made.getSdr());
            EXPECT_TRUE(std::equal(cut.begin(), cut.end(), bytes));
        }
    }
    EXPECT_EQ(IpmiDiscreteSensor(-1, nullptr, 0).getSensorNumber(), 0);
    EXPECT_EQ(IpmiDiscreteSensor(48, nullptr, 0).getName(), "Sensor 0x00");
}

TEST(IpmiSensor, DumpPrintsTheRecord)
{
    testing::internal::CaptureStdout();
    sensor<IpmiDiscreteSensor>({}).dump();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n");
    testing::internal::CaptureStdout();
    sensor<IpmiDiscreteSensor>(sensorRecord(kFull, {{7, 0xab}, {16, 0xcd}}, 17)).dump();
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "Sensor : 0xab\nData 0x00: 0x00 0x00 0x00 0x01 0x00 0x00 0x00 0xab 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00"
        "\nData 0x10: 0xcd\n");
}

// --- readings

TEST(IpmiSensor, AttemptsKeepTheirHistory)
{
    auto made = sensor<IpmiDiscreteSensor>(sensorRecord(kFull));
    EXPECT_FALSE(made.getLastReading().present);
    const struct {
        int result;
        unsigned int stored, repeats;
        bool present;
    } rows[] = {{0, 0, 1, true},       {0, 0, 2, true},        {0xc3, 0xc3, 0, true},
                {0xc3, 0xc3, 1, true}, {0xcb, 0xcb, 0, false}, {0xcb, 0xcb, 1, false},
                {-1, ~0U, 0, true},    {-1, ~0U, 1, true},     {0, 0, 0, true}};
    const unsigned char answer[5] = {0, 0x12, 0x40, 1, 2};
    for (const auto& row : rows) {
        SensorAccess::beginReadAttempt(made);
        EXPECT_TRUE(made.getLastReading().present);
        EXPECT_FALSE(made.getLastReading().valid);
        EXPECT_TRUE(made.readingStateUnavailable());
        SensorAccess::endReadAttempt(made, row.result);
        EXPECT_EQ(made.getLastReadResult(), row.stored);
        EXPECT_EQ(made.getReadResultRepeats(), row.repeats) << "row " << &row - rows;
        EXPECT_EQ(made.getLastReading().present, row.present);
        if (row.result == 0)
            made.setReading(answer);
        EXPECT_EQ(made.getLastReading().valid, row.result == 0);
        EXPECT_EQ(made.getLastReading().raw, 0x12) << "the bytes stay";
    }
}

TEST(IpmiSensor, AReadingIsKeptWithItsTime)
{
    FakeClock clock;
    clock.setWallTime(std::chrono::seconds(1'767'225'599) + std::chrono::microseconds(999'999));
    auto made = sensor<IpmiDiscreteSensor>(sensorRecord(kFull));
    std::string time;
    EXPECT_FALSE(made.hasReadingTime());
    made.getReadingTime(time);
    EXPECT_EQ(time, "1970-01-01T00:00:00Z");
    made.setReading(nullptr);
    EXPECT_FALSE(made.getLastReading().valid);

    const unsigned char answer[6] = {0, 0x12, 0x60, 0x34, 0x56, 0x78};
    for (unsigned int length = 0; length <= 6; ++length) {
        made.setReading(answer, length);
        const IpmiSensor::Reading reading = made.getLastReading();
        const std::uint8_t bytes[] = {reading.cc, reading.raw, reading.flags, reading.state1, reading.state2};
        for (unsigned int i = 0; i < 5; ++i)
            EXPECT_EQ(bytes[i], i < length ? answer[i] : 0) << length;
        EXPECT_EQ(reading.length, std::min(length, 5U));
        EXPECT_TRUE(reading.valid && reading.present);
        EXPECT_FALSE(reading.available()) << "the BMC says so";
        EXPECT_EQ(made.readingStateUnavailable(), length > 2);
        EXPECT_EQ(made.scanningDisabled(), length <= 2);
    }
    EXPECT_TRUE(made.hasReadingTime());
    made.getReadingTime(time);
    EXPECT_EQ(time, "2025-12-31T23:59:59Z");
}

TEST(IpmiSensor, StatesAsText)
{
    const struct {
        Bytes answer;
        const char *threshold, *discrete;
    } rows[] = {
        {{0, 1, 0x40, 0x00, 0x00}, "ok", "none"},
        {{0, 1, 0xc0, 0xc0, 0x80}, "ok", "6,7"}, // reserved bits
        {{0, 1, 0x40, 0x01, 0x00}, "lower non-critical", "0"},
        {{0, 1, 0x40, 0x02, 0x00}, "lower critical", "1"},
        {{0, 1, 0x40, 0x04, 0x00}, "lower non-recoverable", "2"},
        {{0, 1, 0x40, 0x08, 0x00}, "upper non-critical", "3"},
        {{0, 1, 0x40, 0x10, 0x00}, "upper critical", "4"},
        {{0, 1, 0x40, 0x20, 0x00}, "upper non-recoverable", "5"},
        {{0, 1, 0x40, 0x03, 0x00}, "lower critical", "0,1"},
        {{0, 1, 0x40, 0x19, 0x00}, "upper critical", "0,3,4"},
        {{0, 1, 0x40, 0x23, 0x00}, "upper non-recoverable", "0,1,5"},
        {{0, 1, 0x40, 0x3f, 0x00}, "lower non-recoverable", "0,1,2,3,4,5"},
        {{0, 1, 0x40, 0x00, 0xc1}, "ok", "8,14"},
        {{0, 1, 0x40}, "ok", "none"},
        {{0, 1, 0x60, 0x01, 0x00}, "", ""},
        {{0, 1, 0x00, 0x01, 0x00}, "", ""},
        {{0, 1}, "", ""},
        {{0}, "", ""},
    };
    auto analog = sensor<IpmiThresholdSensor>(sensorRecord(kEventOnly));
    auto discrete = sensor<IpmiDiscreteSensor>(sensorRecord(kEventOnly));
    EXPECT_EQ(analog.getState(false) + discrete.getState(false), "") << "never read";
    for (const auto& row : rows) {
        for (IpmiSensor* made : {static_cast<IpmiSensor*>(&analog), static_cast<IpmiSensor*>(&discrete)}) {
            made->setReading(row.answer.data(), static_cast<unsigned int>(row.answer.size()));
            EXPECT_EQ(made->getState(false), made->isDiscrete() ? row.discrete : row.threshold)
                << "row " << &row - rows;
        }
    }
}

// --- thresholds

TEST(IpmiSensor, ThresholdsInUnitsOrNotAvailable)
{
    using Getter = double (IpmiThresholdSensor::*)() const;
    constexpr Getter kGetters[] = {
        &IpmiThresholdSensor::getLowerThresholdNonCritical,    &IpmiThresholdSensor::getLowerThresholdCritical,
        &IpmiThresholdSensor::getLowerThresholdNonRecoverable, &IpmiThresholdSensor::getUpperThresholdNonCritical,
        &IpmiThresholdSensor::getUpperThresholdCritical,       &IpmiThresholdSensor::getUpperThresholdNonRecoverable,
    };
    const struct {
        std::uint8_t type;
        unsigned int units, record, cc, answer, available;
    } rows[] = {
        {kFull, 0x00, 0x3f, 0x00, 0x3f, 0x3f},    {kFull, 0x00, 0x1b, 0x00, 0x3f, 0x1b},
        {kFull, 0x00, 0x3f, 0x00, 0xe4, 0x24},    {kFull, 0x00, 0x2a, 0x00, 0x15, 0x00},
        {kFull, 0x00, 0x3f, 0xcd, 0x3f, 0x00},    {kFull, 0xc0, 0x3f, 0x00, 0x3f, 0x00},
        {kCompact, 0x00, 0x3f, 0x00, 0x3f, 0x00}, {kEventOnly, 0x00, 0x3f, 0x00, 0x3f, 0x00},
    };
    for (const auto& row : rows) {
        auto made = sensor<IpmiThresholdSensor>(sensorRecord(row.type, {{18, row.record}, {20, row.units}, {24, 2}}));
        const auto available = [&](unsigned int mask) {
            for (unsigned int i = 0; i < 6; ++i) {
                try {
                    EXPECT_EQ((made.*kGetters[i])(), 2.0 * (10 + i));
                    EXPECT_TRUE(mask >> i & 1) << "row " << &row - rows << ", threshold " << i;
                } catch (const Ipmi::CmpiStatus& status) {
                    EXPECT_EQ(status.rc(), CMPI_RC_ERR_FAILED);
                    EXPECT_FALSE(mask >> i & 1) << "row " << &row - rows << ", threshold " << i;
                }
            }
        };
        available(0); // not asked yet
        const Bytes answer = {
            static_cast<std::uint8_t>(row.cc), static_cast<std::uint8_t>(row.answer), 10, 11, 12, 13, 14, 15};
        made.setThresholdReading(answer.data());
        made.setThresholdReading(nullptr);
        available(row.available);
        EXPECT_EQ(made.getLastThresholds().raw[5], 15);
        EXPECT_EQ(made.getLastThresholds().readable, row.answer & 0x3f);
    }
}

// --- threads

TEST(IpmiSensor, NoReaderSeesHalfOfTwoAnswers)
{
    auto made = sensor<IpmiThresholdSensor>(sensorRecord(kFull));
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
