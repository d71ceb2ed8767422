// The sample machine is sound, and has one of everything.
#include "SimSupport.h"
#include "sim/FruWriter.h"
#include "sim/SdrLayout.h"
#include "sim/SdrSensors.h"

#include <gtest/gtest.h>

#include <map>
#include <numeric>
#include <set>
#include <stdexcept>

namespace Sim
{

using namespace SdrLayout;

TEST(SimSampleMachine, RecordsDecodeAndAreOneOfEverything)
{
    const std::map<unsigned, std::size_t> idCodes = {
        {1, Full::kIdCode}, {2, Compact::kIdCode}, {3, EventOnly::kIdCode}, {0x10, 15}, {0x11, 15}, {0x12, 15}};
    using Found = std::set<unsigned>;
    std::map<std::string, Found> found;
    Found ids;
    Bytes all;
    std::size_t sensors = 0;
    const Machine machine = loadMachine("sample");
    for (const Bytes& record : machine.sdr) {
        ASSERT_GE(record.size(), kHeaderSize);
        EXPECT_EQ(record.size(), kHeaderSize + record[kLength]);
        EXPECT_LE(record.size(), 64U);
        EXPECT_TRUE(ids.insert(word(record, kId)).second);
        all.insert(all.end(), record.begin(), record.end());
        const unsigned type = record[kType];
        found["type"].insert(type);
        if (const auto id = idCodes.find(type); id != idCodes.end()) {
            EXPECT_EQ(record.size(), id->second + 1 + (record.at(id->second) & 0x1f)) << ids.size();
            if (record.size() > id->second + 1)
                found["encoding"].insert(record[id->second] >> 6);
        }
        const std::size_t count = sensorCount(record);
        sensors += count;
        if (count != 0)
            found["software owner"].insert(record[kOwner] & 1);
        if (type == kEventOnlyType)
            found["shared event"].insert(count > 1);
        if (type == kCompactType && count > 1)
            found["modifier"].insert(record[Compact::kShare] >> 4 & 3);
        if (type == kFullType || type == kCompactType) {
            found["format"].insert(record[kUnits] >> 6);
            found["rate"].insert(record[kUnits] & 0x3f);
            found["OEM type"].insert(record[kSensorType] >= 0xc0);
            found["OEM event"].insert(record[kEventType] >= 0x70);
        }
        if (type == kFullType) {
            found["linearization"].insert(record[Full::kLinearization]);
            found["negative M"].insert(record[Full::kFactors + 1] >> 7);
        }
    }
    EXPECT_EQ(sdrBytes(machine), all);
    EXPECT_LT(sdrBytes(machine, true).size(), all.size());
    EXPECT_GE(sensors, 120U);
    EXPECT_EQ(found["type"], (Found{0x01, 0x02, 0x03, 0x08, 0x09, 0x10, 0x11, 0x12, 0x14, 0xc0}));
    EXPECT_EQ(found["linearization"], (Found{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 0x70, 0x75}));
    EXPECT_GE(found["rate"].size(), 5U);
    for (const char* four : {"format", "encoding"})
        EXPECT_EQ(found[four].size(), 4U) << four;
    for (const char* both : {"modifier", "software owner", "OEM type", "OEM event", "shared event", "negative M"})
        EXPECT_EQ(found[both], (Found{0, 1})) << both;
}

TEST(SimSampleMachine, SensorsAnswer)
{
    Bmc bmc(loadMachine("sample"));
    const Machine machine = bmc.machine();
    for (const auto& [key, sensor] : machine.sensors) {
        const Bytes reading = ask(bmc, 0x04, 0x2d, {key.number}, key.lun, key.owner);
        ASSERT_EQ(reading.size(), 5U);
        EXPECT_EQ(reading[0], 0);
        const bool crossed = sensor.hasThresholds() && (reading[3] & 0x3f) != 0;
        EXPECT_EQ(crossed, key == (SensorKey{0x20, 0, 3})) << int{key.number}; // one fan is too slow
    }
}

TEST(SimSampleMachine, FruImagesAddUp)
{
    const auto addsUp = [](const Bytes& image, std::size_t from, std::size_t units) {
        const auto begin = image.begin() + static_cast<std::ptrdiff_t>(from);
        return std::accumulate(begin, begin + static_cast<std::ptrdiff_t>(units * 8), 0U) % 256 == 0;
    };
    for (const auto& [device, image] : loadMachine("sample").fru) {
        EXPECT_TRUE(addsUp(image, 0, 1));
        for (std::size_t pointer = 2; pointer <= 4; ++pointer) {
            const std::size_t area = image.at(pointer) * 8U;
            EXPECT_TRUE(area == 0 || addsUp(image, area, image.at(area + 1))) << pointer;
        }
    }
    for (const auto& tooLong : {std::vector{std::string(64, 'x')}, std::vector(32, std::string(63, 'x'))})
        EXPECT_THROW(writeFru({.hasProduct = true, .product = tooLong}), std::invalid_argument);
}

} // namespace Sim
