// SPDX-License-Identifier: Apache-2.0
// A sensor's reading, thresholds and hysteresis, each stored as a whole.
#include "ipmi/IpmiSensor.h"

#include "base/Clock.h"
#include "ipmi/IpmiIfc.h"
#include "sdr/SensorAccess.h"
#include "sdr/SensorCommands.h"
#include "sdr/SensorNaming.h"
#include "wire/AnswerLayout.h"
#include "wire/Cursor.h"
#include "wire/SdrLayout.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace Ipmi
{

namespace
{

// A reading in one word: the answer's five bytes from bit 0, their number at bit 40, what is known of them at bit 48.
constexpr unsigned int kAnswerBytes = 5, kLengthShift = 40;
constexpr std::uint64_t kValid = 1ULL << 48, kPresent = 1ULL << 49;

// Hysteresis in one word: positive, negative, and whether both are known.
constexpr std::uint32_t kHysteresisKnown = 1U << 16;

std::uint64_t pack(const unsigned char* bytes, std::size_t count)
{
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < count; ++i)
        word |= static_cast<std::uint64_t>(bytes[i]) << 8 * i;
    return word;
}

std::uint8_t byteOf(std::uint64_t word, unsigned int index)
{
    return static_cast<std::uint8_t>(word >> 8 * index);
}

} // namespace

IpmiSensor::IpmiSensor(int len, const unsigned char* sdr, int node)
    : record_(static_cast<unsigned int>(std::max(len, 0)), sdr), node_(node)
{
    constexpr unsigned int kShortest = 9;
    if (record_.length < kShortest)
        return;
    sensorNumber_ = record_.at(wire::sdr::kNumber);
    recordId_ = record_.le16(wire::sdr::kId);
}

IpmiSensor::~IpmiSensor() = default;

// --- reading

IpmiSensor::Reading IpmiSensor::getLastReading() const
{
    const std::uint64_t word = reading_.load();
    Reading reading;
    reading.cc = byteOf(word, 0);
    reading.raw = byteOf(word, 1);
    reading.flags = byteOf(word, 2);
    reading.state1 = byteOf(word, 3);
    reading.state2 = byteOf(word, 4);
    reading.length = byteOf(word, kAnswerBytes);
    reading.valid = (word & kValid) != 0;
    reading.present = (word & kPresent) != 0;
    return reading;
}

void IpmiSensor::setReading(const unsigned char* answer, unsigned int length)
{
    if (answer == nullptr)
        return;
    const unsigned int count = std::min(length, kAnswerBytes);
    const std::uint64_t bytes = pack(answer, count) | static_cast<std::uint64_t>(count) << kLengthShift;
    readAt_ = TRX::Clock::get().steadyTime().count();
    readingTime_ = static_cast<std::uint64_t>(TRX::Clock::get().wallTime().count());
    reading_ = bytes | kValid | kPresent;
}

bool IpmiSensor::readingStateUnavailable() const
{
    const Reading reading = getLastReading();
    return !reading.valid || (reading.flags & wire::reading::kUnavailable) != 0;
}

bool IpmiSensor::scanningDisabled() const
{
    const Reading reading = getLastReading();
    return reading.valid && (reading.flags & wire::reading::kScanning) == 0;
}

bool IpmiSensor::hasReadingTime() const
{
    return readingTime_ != 0;
}

void IpmiSensor::getReadingTime(std::string& text) const
{
    constexpr std::uint64_t kMicrosecondsPerSecond = 1'000'000;
    const auto seconds = static_cast<std::time_t>(readingTime_ / kMicrosecondsPerSecond);
    std::tm utc{};
    char buffer[33] = "";
    if (gmtime_r(&seconds, &utc) != nullptr)
        std::strftime(buffer, sizeof buffer, "%FT%TZ", &utc);
    text = buffer;
}

std::int64_t IpmiSensor::getReadingAge() const
{
    return hasReadingTime() ? std::max<std::int64_t>(TRX::Clock::get().steadyTime().count() - readAt_, 0) : -1;
}

void SensorAccess::beginReadAttempt(IpmiSensor& sensor)
{
    std::uint64_t before = sensor.reading_.load();
    while (!sensor.reading_.compare_exchange_weak(before, (before | kPresent) & ~kValid)) {
    }
}

void SensorAccess::endReadAttempt(IpmiSensor& sensor, int result)
{
    const auto code = static_cast<std::uint32_t>(result);
    if (sensor.lastReadResult_.exchange(code) == code)
        ++sensor.readResultRepeats_;
    else
        sensor.readResultRepeats_ = 0;
    if (result == wire::cc::kNotPresent)
        sensor.reading_.fetch_and(~kPresent);
}

int SensorAccess::fetchReading(IpmiSensor& sensor)
{
    Answer answer;
    beginReadAttempt(sensor);
    const int result = readSensor(SensorAddress::of(sensor), answer);
    endReadAttempt(sensor, result);
    if (result == 0)
        sensor.setReading(answer.bytes().data(), static_cast<unsigned int>(answer.bytes().size()));
    return result;
}

int IpmiSensor::readNow()
{
    return SensorAccess::fetchReading(*this);
}

void IpmiSensor::prepareState(bool refresh, std::atomic<bool>& first)
{
    const bool neverRead = reading_ == 0 && lastReadResult_ == 0;
    if (refresh || (first.exchange(false) && neverRead && isFullOrCompact()))
        readNow();
}

// --- thresholds and hysteresis

IpmiSensor::Thresholds IpmiSensor::getLastThresholds() const
{
    const std::uint64_t word = thresholds_.load();
    Thresholds thresholds;
    thresholds.cc = byteOf(word, 0);
    thresholds.readable = byteOf(word, 1) & 0x3f;
    for (unsigned int i = 0; i < std::size(thresholds.raw); ++i)
        thresholds.raw[i] = byteOf(word, 2 + i);
    return thresholds;
}

void IpmiSensor::setThresholdReading(const unsigned char* answer)
{
    if (answer != nullptr)
        thresholds_ = pack(answer, wire::thresholds::kSize);
}

bool SensorAccess::hasReadableHysteresis(const IpmiSensor& sensor)
{
    constexpr unsigned char kReadable = 1, kReadableAndSettable = 2;
    const unsigned char support = sensor.getHysteresisSupport();
    return support == kReadable || support == kReadableAndSettable;
}

int IpmiSensor::getHysteresis(unsigned char& positive, unsigned char& negative, bool refresh)
{
    std::uint32_t word = hysteresis_.load();
    positive = negative = 0;
    if (refresh || (word & kHysteresisKnown) == 0) {
        if (!SensorAccess::hasReadableHysteresis(*this))
            return -1;
        const Answer answer =
            askSensor(SensorAddress::of(*this), wire::kGetHysteresis, wire::Writer().u8(wire::hysteresis::kReserved));
        if (!answer.good())
            return answer.code();
        word = kHysteresisKnown | answer.le16(wire::hysteresis::kPositive);
        hysteresis_ = word;
    }
    positive = byteOf(word, 0);
    negative = byteOf(word, 1);
    return 0;
}

// --- the rest

int IpmiSensor::getManufacturerId(unsigned char* id, unsigned char& length) const
{
    return IpmiIfc::getManufacturerId(node_, id, length);
}

std::string IpmiSensor::getName() const
{
    return name_.empty() ? plainName(*this) : name_;
}

void IpmiSensor::dump() const
{
    constexpr unsigned int kPerLine = 16;
    if (record_.length != 0)
        std::printf("Sensor : 0x%02x", record_.at(wire::sdr::kNumber));
    for (unsigned int i = 0; i < record_.length; ++i) {
        if (i % kPerLine == 0)
            std::printf("\nData 0x%02x:", i);
        std::printf(" 0x%02x", record_.at(i));
    }
    std::printf("\n");
}

} // namespace Ipmi
