// Messages between a driver and the controllers behind the BMC: what goes where, and what comes back.
#include "sim/SystemInterface.h"
#include "SimSupport.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace Sim
{

namespace
{

constexpr const char* kMachine = R"({"controllers": [{"address": "0x82"}, {"address": "0x86", "latency_ms": 70},
    {"address": "0x84", "absent": "silent"}, {"address": "0x88", "absent": "nak"}, {"address": "0x8a", "busy": 2},
    {"address": "0x8c", "channel": 6}], "sdr": [{"name": "a", "number": 3, "owner": "0x82", "lun": 1, "entity": 1,
    "type": "fan", "value": 7}]})";

class SimSystemInterface : public ::testing::Test
{
protected:
    /// Network function, command, data bytes, in hexadecimal.
    Bytes give(const std::string& request, std::uint8_t lun = 0)
    {
        const Bytes bytes = hex(request);
        return driver.handle({0x0f, 0x20, lun, bytes.at(0), bytes.at(1), {bytes.begin() + 2, bytes.end()}}).bytes;
    }
    /// Send Message with Get Device ID, or another request.
    Bytes sendTo(std::uint8_t address, const std::string& request = "06 01", std::uint8_t lun = 0,
                 std::uint8_t channel = 0)
    {
        const Bytes asked = hex(request);
        const IpmbFrame frame{address, lun, 0x20, 2, asked.at(0), 5, asked.at(1), {asked.begin() + 2, asked.end()}};
        Bytes data{channel};
        const Bytes bytes = frame.bytes();
        data.insert(data.end(), bytes.begin(), bytes.end());
        return driver.handle({.netfn = 6, .cmd = 0x34, .data = data}).bytes;
    }
    /// The completion code that came back from a controller; nullopt: no message, or a damaged one.
    std::optional<std::uint8_t> received()
    {
        Bytes message = give("06 33");
        if (message.size() < 2)
            return std::nullopt;
        message[1] = 0x20;
        const auto frame = readIpmbFrame(std::span(message).subspan(1));
        return frame && frame->intact ? std::optional(frame->data.at(0)) : std::nullopt;
    }

    std::chrono::milliseconds time{1000};
    Bmc bmc{parseMachine(kMachine, "file")};
    SystemInterface driver{bmc, [this] { return time; }};
};

} // namespace

TEST_F(SimSystemInterface, RefusesOrLosesWhatIsWrong)
{
    const struct {
        const char *name, *request, *answer;
        bool comes = false;
        std::uint8_t lun = 0;
    } rows[] = {
        {"no IPMB", "06 34 03 82 18 66 20 02 01 dd", "cc"},
        {"system interface", "06 34 0f 82 18 66 20 02 01 dd", "cc"},
        {"tracked", "06 34 40 82 18 66 20 02 01 dd", "00", true},
        {"broadcast", "06 34 00 00 82 18 66 20 02 01 dd", "00", true},
        {"raw", "06 34 80 82 18 66 20 02 01 dd", "cc"},
        {"encrypted", "06 34 20 82 18 66 20 02 01 dd", "cc"},
        {"nothing", "06 34", "c7"},
        {"short", "06 34 00 82 18 66 20 02 01", "c7"},
        {"33 bytes", "06 34 00 82 18 66 20 02 01 1 2 3 4 5 6 7 8 9 a b c d e f 1 2 3 4 5 6 7 8 9 a b c", "c7"},
        {"other LUN", "06 34 00 82 18 66 20 02 01 dd", "c2", false, 1},
        {"header's checksum", "06 34 00 82 18 67 20 02 01 dd", "00"},
        {"checksum", "06 34 00 82 18 66 20 02 01 de", "00"},
        {"not from the BMC", "06 34 00 82 18 66 22 02 01 db", "00"},
        {"not from the software", "06 34 00 82 18 66 20 00 01 df", "00"},
        {"flags with data", "06 31 00", "c7"},
        {"enables without", "06 2e", "c7"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(give(row.request, row.lun), hex(row.answer)) << row.name;
        EXPECT_EQ(received().has_value(), row.comes) << row.name;
    }
    for (std::size_t length = 0; length < 300; ++length)
        EXPECT_EQ(driver.handle({.netfn = 6, .cmd = 0x34, .data = Bytes(length)}).bytes.size(), 1U) << length;
    EXPECT_FALSE(driver.attention());
}

TEST_F(SimSystemInterface, ControllersAnswerEachInTheirWay)
{
    using Codes = std::vector<std::optional<std::uint8_t>>;
    const struct {
        const char* name;
        std::uint8_t address, sent;
        std::chrono::milliseconds delay;
        Codes codes;
        const char* request = "06 01";
        std::uint8_t lun = 0, channel = 0;
    } rows[] = {
        {"there", 0x82, 0, 0ms, {0x00, 0x00}},
        {"its sensor", 0x82, 0, 0ms, {0x00}, "04 2d 03", 1},
        {"no such sensor", 0x82, 0, 0ms, {0xcb}, "04 2d 03", 0},
        {"the BMC's alone", 0x82, 0, 0ms, {0xc1}, "0a 20"},
        {"the BMC", 0x20, 0, 0ms, {0x00}, "0a 20"},
        {"slow", 0x86, 0, 70ms, {0x00}},
        {"silent", 0x84, 0, 0ms, {std::nullopt}},
        {"not there", 0x88, 0x83, 0ms, {std::nullopt}},
        {"unknown", 0x8e, 0, 0ms, {std::nullopt}},
        {"busy", 0x8a, 0, 0ms, {0xc0, 0xc0, 0x00, 0xc0}},
        {"other IPMB", 0x8c, 0, 0ms, {0x00}, "06 01", 0, 6},
        {"on the wrong IPMB", 0x8c, 0, 0ms, {std::nullopt}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        for (const auto& code : row.codes) {
            EXPECT_EQ(sendTo(row.address, row.request, row.lun, row.channel), Bytes{row.sent});
            EXPECT_EQ(driver.attention(), code && row.delay == 0ms);
            EXPECT_EQ(driver.nextDue(), row.delay == 0ms ? std::nullopt : std::optional(time + row.delay));
            time += row.delay;
            EXPECT_EQ(received(), code);
        }
    }
}

TEST_F(SimSystemInterface, QueueIsBoundedAndInTheOrderOfArrival)
{
    sendTo(0x86, "04 2d 01"); // CBh, late
    for (std::size_t i = 0; i < 2 * SystemInterface::kQueueSize; ++i)
        sendTo(0x82);
    time += 70ms;
    for (std::size_t i = 1; i < SystemInterface::kQueueSize; ++i)
        EXPECT_EQ(received(), 0x00);
    EXPECT_EQ(received(), 0xcb);
    EXPECT_EQ(received(), std::nullopt);
    sendTo(0x82);
    EXPECT_EQ(give("06 30 01"), Bytes{0});
    EXPECT_FALSE(driver.attention());
}

TEST_F(SimSystemInterface, EventsWaitForADriverThatEnablesThem)
{
    const Bytes event(16, 0x11);
    EXPECT_EQ(give("06 2f"), hex("00 09"));
    EXPECT_FALSE(driver.putEvent(event));
    EXPECT_EQ(give("06 2e 0f"), Bytes{0});
    EXPECT_EQ(give("06 2f"), hex("00 0f"));
    for (const char* taken : {"06 35", "06 30 02"}) {
        EXPECT_TRUE(driver.putEvent(event));
        EXPECT_FALSE(driver.putEvent(event)) << "one at a time";
        EXPECT_TRUE(driver.attention());
        EXPECT_EQ(give("06 31"), hex("00 02"));
        give(taken);
        EXPECT_FALSE(driver.attention()) << taken;
    }
    EXPECT_EQ(give("06 35"), Bytes{0x80});
}

} // namespace Sim
