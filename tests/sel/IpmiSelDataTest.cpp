// SPDX-License-Identifier: Apache-2.0
// What a record of the event log says, and how it is deleted. Captions are compared with ipmitool's words by
// compare_captions.py.
#include "ipmi/IpmiSelData.h"
#include "ipmi/CmpiTypes.h"
#include "ipmi/IpmiEventNames.h"
#include "node/NodeFixture.h"
#include "wire/SelLayout.h"

#include <algorithm>
#include <climits>

using namespace Ipmi;
using namespace Ipmi::wire::sel;

namespace
{

using Patch = std::vector<std::pair<std::size_t, unsigned int>>;
constexpr unsigned int kTime = 0x659a5e10, kNoTime = 0xffffffff;
constexpr std::size_t kEvent = kDirectionAndType;

/// "Upper Critical going high" of a temperature, with other bytes in places.
IpmiSelData record(const Patch& patch = {})
{
    sel_event_record bytes{
        {0x57, 0x04, 0x02, 0x10, 0x5e, 0x9a, 0x65, 0x20, 0x61, 0x04, 0x01, 0x31, 0x01, 0x59, 0x2c, 0x2d}};
    for (const auto& [at, value] : patch)
        bytes.bytes[at] = static_cast<std::uint8_t>(value);
    return {&bytes, 0};
}

TEST(IpmiSelData, OnlySomeKindsHaveEventsAndTimes)
{
    for (unsigned int type = 0; type < 0x100; ++type) {
        const IpmiSelData data = record({{kType, type}});
        const bool event = type == 0 || type == 2;
        EXPECT_EQ(data.isSelEventRecord(), event);
        EXPECT_EQ(
            (std::vector<int>{data.getSensorNumber(), data.getGeneratorId(), data.eventType(), int(data.alertType())}),
            (event ? std::vector{0x31, 0x6120, 1, 6} : std::vector{0, 0, -1, 0}));
        EXPECT_EQ(data.messageTimeStamp(), event || (type >= 0xc0 && type <= 0xdf) ? kTime : kNoTime);
        EXPECT_EQ(data.caption(), event ? "Assert + Temperature Upper Critical going high" : "");
        const std::string format = data.messageFormat(), values = data.recordDataString();
        EXPECT_EQ(std::ranges::count(format, '*') + 2, event ? std::ranges::count(values, '*') : 2);
    }
    EXPECT_EQ(record({{kEvmRevision, 0x03}}).caption(), "");
    EXPECT_EQ(record({{kEvent, 0xef}, {kData1, 0xf0}}).caption(), "Deassert + Temperature");
}

TEST(IpmiSelData, TimesCountFromTheEpochOrFromTheStart)
{
    for (const auto& [time, text] : {std::pair(0x20000000U, "00006213184832.000000:000"),
                                     {0x20000001, "19870105184833.000000+000"},
                                     {0xfffffffe, "21060207062814.000000+000"},
                                     {kNoTime, "99990101000000.000000+000"}}) {
        const auto dateTime = record({{3, time}, {4, time >> 8}, {5, time >> 16}, {6, time >> 24}}).getCmpiDateTime();
        const CMPIString* shown = dateTime.get()->ft->getStringFormat(dateTime.get(), nullptr);
        EXPECT_STREQ(shown->ft->getCharPtr(shown, nullptr), text);
    }
}

TEST(IpmiSelData, SeverityAlertTypeAndTexts)
{
    const unsigned int severities[16] = {5, 5, 6, 6, 7, 7, 5, 5, 6, 6, 7, 7};
    for (unsigned int n = 0; n < 16; ++n) {
        EXPECT_EQ(record({{kEvent, 0x81}, {kData1, n | 0xf0}}).severity(), severities[n]);
        EXPECT_EQ(record({{kEvent, n + 2}}).severity(), 0u);
        EXPECT_EQ(record({{kEvent, 0xef}, {kSensorType, n}}).alertType(), n == 1 ? 6u : n == 5 || n == 6 ? 8u : 5u);
        EXPECT_EQ(record({{kEvent, 0x70 + n}}).alertType(), 0u);
    }
    EXPECT_EQ(record().recordDataString(), "*49*49.97.32*87 4*2*16 94 154 101*32 97*4*1*49*49*false*1*89*44*45*1*");
    EXPECT_EQ(record({{kType, 0xc1}, {kEvent, 0xef}}).recordDataString(),
              "*0*49.97.32*87 4*193*16 94 154 101*32 97*4*1*49*0*true*111*89*44*45*1*");
    EXPECT_EQ(IpmiSelData(nullptr, 0).recordDataString(), "*0*0.0.0*0 0*0*0 0 0 0*0 0*0*0*0*0*false*0*0*0*0*1*");
    EXPECT_EQ(record().recordId(), 0x457);
    for (const auto& [number, text] : {std::pair(0, "Invalid"), {7, "0007"}, {INT_MIN, "-2147483648"}})
        EXPECT_EQ(IpmiSelData::recordId(number), text);
}

using SelRecord = NodeFixture;

TEST_F(SelRecord, ReservesAndDeletes)
{
    using Row = std::tuple<Bytes, int, int>; // answer, none if empty; result of a reservation, and of a deletion
    const Bytes reservation{0x0a, 0x46}, deletion{0x0a, 0x46, 0x34, 0x12, 0x57, 0x04}, reserved{0x00, 0x34, 0x12, 9};
    const auto expect = [this](const Bytes& request, const Bytes& answer) {
        if (auto& step = bmc.expect(request, answer); answer.empty())
            step.silent();
    };
    for (const auto& [answer, ofReservation, ofDeletion] :
         {Row{reserved, 0, 0}, Row{{0x00, 0x34}, 4, 0}, Row{{0xc1, 0x34, 0x12}, 1, 1}, Row{{0xcd}, 1, 1},
          Row{{0xc5}, 5, 5}, Row{{}, 4, 4}}) {
        expect(reservation, answer);
        if (ofReservation == 0)
            expect(deletion, answer);
        EXPECT_EQ(record().clear(), ofReservation) << "nothing is deleted without a reservation";
        expect(reservation, reserved);
        expect(deletion, answer);
        EXPECT_EQ(record().clear(), ofDeletion);
        bmc.done();
    }
    unsigned short id = 0;
    expect(reservation, reserved);
    EXPECT_EQ(record().reserve(id), 0);
    EXPECT_EQ(id, 0x1234);
}

TEST(EventNames, AreTheCaptionsWords)
{
    using Row = std::tuple<unsigned, unsigned, unsigned, const char*>; // event type, sensor type, offset, name
    for (const auto& [eventType, sensorType, offset, name] :
         {Row{0x01, 0x01, 2, "Lower Critical going low"},               // without the blank that the caption ends with
          Row{0x0c, 0x01, 3, "D3 Power State"}, Row{0x17, 0x01, 0, ""}, // a sensor type among the generic words
          Row{0x6f, 0x05, 4, "System unplugged from LAN"}, Row{0x6f, 0x08, 5, "AC out-of-range, but present"},
          Row{0x6f, 0x08, 6, "Config Error"}, // which one, event data tell
          Row{0x6f, 0x0f, 1, "System Firmware Hang"}, Row{0x6f, 0x19, 1, "thermal trip"}, Row{0x6f, 0x01, 0, ""},
          Row{0x6f, 0x22, 13, ""}, Row{0x71, 0x08, 0, ""}})
        EXPECT_EQ(eventName(static_cast<unsigned char>(eventType), static_cast<unsigned char>(sensorType),
                            static_cast<unsigned char>(offset)),
                  name);
}

} // namespace
