// The sample machine is sound, and has one of everything.
#include "SimSupport.h"
#include "sim/FruWriter.h"
#include "sim/SdrLayout.h"
#include "sim/SdrSensors.h"

#include <gtest/gtest.h>

#include <numeric>
#include <set>
#include <stdexcept>

namespace Sim
{

namespace
{

using namespace SdrLayout;

std::size_t idCodeAt(std::uint8_t type)
{
    switch (type) {
    case kFullType:
        return Full::kIdCode;
    case kCompactType:
        return Compact::kIdCode;
    case kEventOnlyType:
        return EventOnly::kIdCode;
    case kGenericLocatorType:
    case kFruLocatorType:
    case kMcLocatorType:
        return 15;
    default:
        return 0;
    }
}

unsigned sum(const Bytes& bytes, std::size_t from, std::size_t count)
{
    return std::accumulate(bytes.begin() + static_cast<std::ptrdiff_t>(from),
                           bytes.begin() + static_cast<std::ptrdiff_t>(from + count), 0U) &
           0xff;
}

} // namespace

TEST(SimSampleMachine, RecordsDecode)
{
    const Machine machine = loadMachine("sample");
    std::set<unsigned> ids;
    Bytes all;
    for (const Bytes& record : machine.sdr) {
        ASSERT_GE(record.size(), kHeaderSize);
        EXPECT_EQ(record.size(), kHeaderSize + record[kLength]);
        EXPECT_LE(record.size(), 64U);
        EXPECT_TRUE(ids.insert(word(record, kId)).second);
        const std::size_t id = idCodeAt(record[kType]);
        if (id != 0) {
            EXPECT_EQ(record.size(), id + 1 + (record.at(id) & 0x1f)) << ids.size();
        }
        all.insert(all.end(), record.begin(), record.end());
    }
    EXPECT_EQ(sdrBytes(machine), all);
    EXPECT_LT(sdrBytes(machine, true).size(), all.size());
}

TEST(SimSampleMachine, SensorsAnswer)
{
    Bmc bmc(loadMachine("sample"));
    const Machine machine = bmc.machine();
    std::size_t described = 0;
    for (const Bytes& record : machine.sdr)
        described += sensorCount(record);
    EXPECT_GE(described, 60U);
    for (const auto& [key, sensor] : machine.sensors) {
        ASSERT_TRUE(machine.hasController(key.owner));
        const Bytes reading = ask(bmc, 0x04, 0x2d, {key.number}, key.lun, key.owner);
        ASSERT_EQ(reading.size(), 5U);
        EXPECT_EQ(reading[0], 0);
        const bool crossed = sensor.hasThresholds() && (reading[3] & 0x3f) != 0;
        EXPECT_EQ(crossed, key == (SensorKey{0x20, 0, 3})) << int{key.number}; // one fan is too slow
    }
    for (std::uint8_t number = 0; number < 20; ++number)
        EXPECT_NE(machine.find({0x20, 0, number}), nullptr) << int{number};
}

TEST(SimSampleMachine, HasOneOfEverything)
{
    std::set<unsigned> types, linearizations, formats, encodings, modifiers, rates;
    bool negativeM = false, software = false, oemType = false, oemEvent = false, sharedEvent = false;
    for (const Bytes& record : loadMachine("sample").sdr) {
        const std::uint8_t type = record[kType];
        types.insert(type);
        if (const std::size_t id = idCodeAt(type); id != 0 && (record[id] & 0x1f) != 0)
            encodings.insert(record[id] >> 6);
        if (sensorCount(record) != 0)
            software = software || record[kOwner] % 2 != 0;
        sharedEvent = sharedEvent || (type == kEventOnlyType && sensorCount(record) > 1);
        if (type == kCompactType && sensorCount(record) > 1)
            modifiers.insert(record[Compact::kShare] >> 4 & 3);
        if (type == kFullType || type == kCompactType) {
            formats.insert(record[kUnits] >> 6);
            rates.insert(record[kUnits] & 0x3f);
            oemType = oemType || record[kSensorType] >= 0xc0;
            oemEvent = oemEvent || record[kEventType] >= 0x70;
        }
        if (type == kFullType) {
            linearizations.insert(record[Full::kLinearization]);
            negativeM = negativeM || (record[Full::kFactors + 1] & 0x80) != 0;
        }
    }
    EXPECT_EQ(types, (std::set<unsigned>{0x01, 0x02, 0x03, 0x08, 0x09, 0x10, 0x11, 0x12, 0x14, 0xc0}));
    EXPECT_EQ(linearizations, (std::set<unsigned>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 0x70, 0x75}));
    EXPECT_EQ(formats, (std::set<unsigned>{0, 1, 2, 3}));
    EXPECT_EQ(encodings, (std::set<unsigned>{0, 1, 2, 3}));
    EXPECT_EQ(modifiers, (std::set<unsigned>{0, 1}));
    EXPECT_GE(rates.size(), 5U);
    EXPECT_TRUE(negativeM && software && oemType && oemEvent && sharedEvent);
}

TEST(SimSampleMachine, FruImagesAddUp)
{
    for (const auto& [device, image] : loadMachine("sample").fru) {
        constexpr std::size_t kUnit = 8;
        EXPECT_EQ(sum(image, 0, kUnit), 0U);
        for (std::size_t pointer = 2; pointer <= 4; ++pointer) {
            const std::size_t area = image.at(pointer) * kUnit;
            if (area != 0) {
                EXPECT_EQ(sum(image, area, image.at(area + 1) * kUnit), 0U) << pointer;
            }
        }
    }
    EXPECT_THROW(writeFru({.hasProduct = true, .product = {std::string(64, 'x')}}), std::invalid_argument);
    EXPECT_THROW(writeFru({.hasProduct = true, .product = std::vector<std::string>(32, std::string(63, 'x'))}),
                 std::invalid_argument);
}

} // namespace Sim
