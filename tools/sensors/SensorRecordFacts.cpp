// SPDX-License-Identifier: Apache-2.0
// What a sensor's record says, field by field.
#include "sensors/SensorFacts.h"

#include "ipmi/IpmiSdrRecord.h"
#include "sdr/SdrBytes.h"
#include "sdr/SdrSummary.h"
#include "sensors/EntityOutline.h"
#include "sensors/EventNames.h"
#include "wire/EventTypes.h"
#include "wire/SdrLayout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace Tool
{

namespace sdr = Ipmi::wire::sdr;

namespace
{

// IPMI 2.0, table 43-1, by code
const Words kHysteresisAccess{"none", "readable", "readable and settable", "fixed, unreadable"};
const Words kThresholdAccess{"none", "readable", "readable and settable", "fixed, unreadable"};
const Words kEventMessages{"per threshold or state", "entire sensor only", "global disable only", "none"};
const Words kFormats{"unsigned", "one's complement", "two's complement", "no analog reading"};
const Words kRates{"none",       "per microsecond", "per millisecond", "per second",
                   "per minute", "per hour",        "per day",         "reserved"};
const Words kModifierUses{"none", "divided by", "multiplied by", "reserved"};
const Words kLinearizations{"linear", "ln",  "log10",  "log2", "e^x",         "10^x",
                            "2^x",    "1/x", "square", "cube", "square root", "cube root"};
const Words kThresholdNames{"lower non-critical", "lower critical", "lower non-recoverable",
                            "upper non-critical", "upper critical", "upper non-recoverable"};

struct Flag {
    std::size_t index;
    unsigned bit;
    const char* name;
};
constexpr std::array<Flag, 11> kFlags{{
    {sdr::kInitialization, 7, "settable"},
    {sdr::kInitialization, 6, "init scanning"},
    {sdr::kInitialization, 5, "init events"},
    {sdr::kInitialization, 4, "init thresholds"},
    {sdr::kInitialization, 3, "init hysteresis"},
    {sdr::kInitialization, 2, "init type"},
    {sdr::kInitialization, 1, "events enabled"},
    {sdr::kInitialization, 0, "scanning enabled"},
    {sdr::kCapabilities, 7, "ignore without entity"},
    {sdr::kCapabilities, 6, "auto re-arm"},
    {sdr::kUnits, 0, "percentage"},
}};

SdrBytes recordOf(const Ipmi::IpmiSensor& sensor)
{
    const unsigned char* bytes = nullptr;
    int length = 0;
    sensor.RawRecord(bytes, length);
    const std::size_t size =
        std::clamp<std::size_t>(static_cast<std::size_t>(std::max(length, 0)), 0, Ipmi::IpmiSdrRecord::kCapacity);
    return SdrBytes({bytes, size});
}

class RecordFacts
{
public:
    RecordFacts(const Ipmi::IpmiSensor& sensor, const SensorView& view, Facts& facts);

private:
    void identity();
    void capabilities();
    void units();
    void factors();
    void addValue(std::string key, double value);
    void analogReadings();
    void masks();
    void thresholdMasks();
    void events(std::string key, unsigned mask);
    void thresholdList(std::string key, unsigned mask);

    const Ipmi::IpmiSensor& sensor_;
    const SensorView& view_;
    SdrBytes record_;
    Facts& facts_;
};

RecordFacts::RecordFacts(const Ipmi::IpmiSensor& sensor, const SensorView& view, Facts& facts)
    : sensor_(sensor), view_(view), record_(recordOf(sensor)), facts_(facts)
{
    const std::uint8_t type = record_.at(sdr::kType);
    const bool full = type == sdr::kFullType;
    identity();
    if (full || type == sdr::kCompactType) {
        capabilities();
        units();
    }
    if (full) {
        factors();
        analogReadings();
    }
    if (full || type == sdr::kCompactType)
        masks();
    facts_.text("record", fmt::format("{:02x}", fmt::join(record_.all(), " ")));
}

void RecordFacts::identity()
{
    const std::uint8_t type = record_.at(sdr::kType);
    const Ipmi::IpmiEntity parent = sensor_.getEntity().getParent();
    const bool contained = parent.getId() != 0 || parent.getInstance() != 0;
    facts_.put("record_id", fmt::format("0x{:04x}", view_.recordId), view_.recordId);
    facts_.coded("record_type", type, recordTypeName(type));
    facts_.number("record_length", static_cast<int>(record_.size()));
    facts_.hex("sdr_version", record_.at(sdr::kVersion));
    facts_.hex("owner", view_.owner);
    facts_.number("channel", sensor_.getChannel());
    facts_.number("lun", sensor_.getLun());
    facts_.hex("number", view_.number);
    facts_.text("device_id", sensor_.getDeviceId());
    facts_.text("id_string", sensor_.getSensorIdString());
    facts_.text("description", sensor_.getDescription());
    facts_.put("entity", entityTitle(view_.entity), jsonOf(view_.entity));
    facts_.put("entity_parent", contained ? entityTitle(parent) : "", contained ? jsonOf(parent) : Json(nullptr));
    facts_.text("entity_kind", record_.bit(sdr::kEntityInstance, sdr::kLogicalEntityBit) ? "logical" : "physical");
    facts_.text("type", view_.type);
    facts_.hex("type_code", view_.typeCode);
    facts_.coded("event_type", sensor_.getEventReadingType(), sensor_.getEventReadingTypeString());
    facts_.text("direction", sensor_.getSensorDirectionString());
}

void RecordFacts::capabilities()
{
    std::vector<std::string> flags;
    for (const Flag& flag : kFlags) {
        if (record_.bit(flag.index, flag.bit))
            flags.emplace_back(flag.name);
    }
    facts_.coded("hysteresis_access", sensor_.getHysteresisSupport(), kHysteresisAccess);
    facts_.coded("threshold_access", sensor_.getThresholdAccessSupport(), kThresholdAccess);
    facts_.coded("event_messages", sensor_.getEventMessageSupport(), kEventMessages);
    facts_.list("flags", flags);
}

void RecordFacts::units()
{
    facts_.text("unit", view_.unit);
    facts_.coded("data_format", record_.bits(sdr::kUnits, 7, 6), kFormats);
    // Of a compact record the library may name the event type instead, when it is used from the command line.
    const bool named = record_.at(sdr::kType) == sdr::kFullType;
    facts_.coded("base_unit", sensor_.getBaseUnit(), named ? sensor_.getBaseUnitString() : "");
    facts_.coded("modifier_use", sensor_.getModifierUnitUse(), kModifierUses);
    facts_.coded("modifier_unit", sensor_.getModifierUnit(), sensor_.getModifierUnitString());
    facts_.coded("rate", sensor_.getRateUnit(), kRates);
}

void RecordFacts::factors()
{
    using namespace sdr::full;
    constexpr unsigned kNonlinear = 0x70;
    const unsigned linearization = record_.bits(kLinearization, 6, 0);
    if (linearization < kNonlinear)
        facts_.coded("linearization", linearization, kLinearizations);
    else
        facts_.coded("linearization", linearization, linearization == kNonlinear ? "non-linear" : "OEM non-linear");
    facts_.number("m", record_.tenBits(kM));
    facts_.number("b", record_.tenBits(kB));
    facts_.number("b_exponent", Ipmi::wire::signExtend(record_.bits(kExponents, 3, 0), 4));
    facts_.number("result_exponent", Ipmi::wire::signExtend(record_.bits(kExponents, 7, 4), 4));
    const double tolerance = record_.bits(kTolerance, 5, 0) / 2.0;
    facts_.put("tolerance", fmt::format("+/- {} raw", tolerance), tolerance);
    const unsigned accuracy = record_.bits(kAccuracy, 5, 0) | record_.bits(kAccuracyExponent, 7, 4) << 6;
    const double percent = accuracy * std::pow(10.0, record_.bits(kAccuracyExponent, 3, 2)) / 100.0;
    facts_.put("accuracy", fmt::format("{} %", percent), percent);
}

void RecordFacts::addValue(std::string key, double value)
{
    facts_.put(std::move(key), view_.withUnit(value), jsonNumber(value));
}

/// What the record says of usual readings; nothing for a sensor that gives no number.
void RecordFacts::analogReadings()
{
    struct Named {
        const char* key;
        std::size_t index;
        int flag; ///< which bit says that it is specified; -1: always
    };
    using namespace sdr::full;
    constexpr std::array<Named, 5> kReadings{{{"nominal", kNominal, 0},
                                              {"normal_max", kNormalMax, 1},
                                              {"normal_min", kNormalMin, 2},
                                              {"sensor_max", kMax, -1},
                                              {"sensor_min", kMin, -1}}};
    if (!view_.isNumeric)
        return;
    for (const Named& reading : kReadings) {
        if (reading.flag < 0 || record_.bit(kAnalogFlags, static_cast<unsigned>(reading.flag)))
            addValue(reading.key, sensor_.convertRawValue(record_.at(reading.index)));
        else
            facts_.put(reading.key, "", nullptr);
    }
}

void RecordFacts::thresholdList(std::string key, unsigned mask)
{
    std::vector<std::string> names;
    for (unsigned i = 0; i < kThresholdNames.size(); ++i) {
        if ((mask >> i & 1) != 0)
            names.emplace_back(kThresholdNames[i]);
    }
    facts_.list(std::move(key), names);
}

void RecordFacts::masks()
{
    constexpr unsigned kStates = 0x7fff;
    if (sensor_.getEventReadingType() == Ipmi::wire::event_type::kThreshold)
        return thresholdMasks();
    events("assertion_events", record_.le16(sdr::kAssertionMask) & kStates);
    events("deassertion_events", record_.le16(sdr::kDeassertionMask) & kStates);
    events("readable_states", record_.le16(sdr::kReadingMask) & kStates);
}

/// Above the events, the masks of a threshold sensor say with which thresholds a reading is compared.
void RecordFacts::thresholdMasks()
{
    constexpr unsigned kEvents = 0x0fff, kComparedShift = 12, kComparedBits = 3;
    const unsigned lower = record_.le16(sdr::kAssertionMask) >> kComparedShift & 7;
    const unsigned upper = record_.le16(sdr::kDeassertionMask) >> kComparedShift & 7;
    events("assertion_events", record_.le16(sdr::kAssertionMask) & kEvents);
    events("deassertion_events", record_.le16(sdr::kDeassertionMask) & kEvents);
    thresholdList("compared_thresholds", lower | upper << kComparedBits);
    thresholdList("readable_thresholds", record_.at(sdr::kReadableThresholds));
    thresholdList("settable_thresholds", record_.at(sdr::kSettableThresholds));
}

void RecordFacts::events(std::string key, unsigned mask)
{
    facts_.list(std::move(key), eventNames(sensor_.getEventReadingType(), sensor_.getSensorType(), mask));
}

} // namespace

void addRecordFacts(const Ipmi::IpmiSensor& sensor, const SensorView& view, Facts& facts)
{
    RecordFacts(sensor, view, facts);
}

} // namespace Tool
