// What a node knows of its BMC, from good answers and from hostile ones.
#include "node/IpmiIfcIdentity.h"
#include "node/NodeFixture.h"

#include <climits>

using namespace Ipmi;
using Bytes = std::vector<std::uint8_t>;

namespace
{

using Identity = NodeFixture;

const Bytes kDeviceId{0x00, 0x20, 0x81, 0x82, 0x30, 0x02, 0xbf, 0x57, 0x01, 0x00, 0x34, 0x12, 1, 2, 3, 4};
const Bytes kAskId{0x06, 0x01}, kAskName{0x06, 0x59, 0, 4, 0, 0}, kAskVersion{0x06, 0x59, 0, 5, 0, 0},
    kAskSelfTest{0x06, 0x04};

Bytes first(const Bytes& bytes, std::size_t count)
{
    return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
}

template <typename T> std::string ask(int (*getter)(int, T&), int node)
{
    T value = 9;
    const int result = getter(node, value);
    return std::to_string(result) + ':' + std::to_string(value) + ' ';
}

std::string askMaker(int node)
{
    unsigned char id[3], length = 9;
    const int result = IpmiIfc::getManufacturerId(node, id, length);
    return std::to_string(result) + ':' + std::to_string(length) + ' ';
}

/// All that the device id says, as one line.
std::string summary(int node)
{
    std::string text = ask<unsigned char>(IpmiIfc::getDeviceId, node);
    text += ask<unsigned char>(IpmiIfc::getDeviceRevision, node);
    text += IpmiIfc::getFirmwareVersion(node) + ' ';
    text += IpmiIfc::getIpmiVersion(node) + ' ';
    text += askMaker(node);
    text += IpmiIfc::getManufacturerName(node) + ' ';
    return text + ask<unsigned short>(IpmiIfc::getProductId, node);
}

TEST_F(Identity, everyTruncationOfTheDeviceId)
{
    for (std::size_t length = 0; length <= kDeviceId.size(); ++length) {
        bmc.expect(kAskId, {0xc1});
        ASSERT_EQ(IpmiIfcInitForCLI(0), 0);
        IpmiIfc::maj = -1;
        const Bytes answer = first(kDeviceId, length);
        const std::size_t needs[] = {2, 3, 5, 6, 10, 10, 12}; // of the getters, in the order of the summary
        int questions = 1;
        for (const std::size_t need : needs)
            questions += need > std::max<std::size_t>(length, 2) ? 1 : 0;
        if (length < 2)
            questions = 7; // each asks again
        bmc.expect(kAskId, length == 0 ? Bytes{0xff} : answer).times(questions);
        const auto have = [length](std::size_t need, const char* yes, const char* no) {
            return length >= need ? yes : no;
        };
        const std::string expected = std::string(have(2, "0:32", "4:0")) + ' ' + have(3, "0:1", "4:0") + ' ' +
                                     have(5, "2.30", "") + ' ' + have(6, "2.0", "") + ' ' + have(10, "0:3", "4:0") +
                                     ' ' + have(10, "Intel Corporation", "") + ' ' + have(12, "0:4660", "4:0") + ' ';
        EXPECT_EQ(summary(0), expected) << length;
        EXPECT_EQ(IpmiIfc::maj, length >= 10 ? 2 : -1);
        bmc.done();
    }
    EXPECT_EQ(IpmiIfc::min, 0x30);
    EXPECT_EQ(summary(kNodeCount), "4:0 4:0   4:0  4:0 ");
    unsigned char length = 9;
    EXPECT_EQ(IpmiIfc::getManufacturerId(nullptr, length), 5);
    EXPECT_EQ(length, 0);
}

TEST_F(Identity, makersByEnterpriseNumber)
{
    struct Row {
        Bytes id;
        const char* name;
        bool flagged;
    };
    const Row rows[] = {
        {{0x02, 0x00, 0x00}, "IBM", false},
        {{0xa2, 0x02, 0x00}, "Dell Inc.", false},
        {{0x7c, 0x2a, 0x00}, "Super Micro Computer Inc.", false},
        {{0x5c, 0xb8, 0x00}, "Hewlett Packard Enterprise", true},
        {{0x00, 0x00, 0x00}, "Unknown (0x000000)", false},
        {{0x57, 0x01, 0xf0}, "Unknown (0xf00157)", false},
        {{0xff, 0xff, 0xff}, "Unknown (0xffffff)", false},
    };
    for (const Row& row : rows) {
        Bytes answer = kDeviceId;
        std::ranges::copy(row.id, answer.begin() + 7);
        bmc.expect(kAskId, answer);
        ASSERT_EQ(IpmiIfcInitForCLI(0), 0);
        EXPECT_EQ(IpmiIfc::getManufacturerName(), row.name);
        EXPECT_EQ(IpmiIfc::hpe_bmc, row.flagged);
        unsigned char id[3], length;
        EXPECT_EQ(IpmiIfc::getManufacturerId(id, length), 0);
        EXPECT_EQ(Bytes(id, id + length), row.id);
    }
}

TEST_F(Identity, hostOperatingSystem)
{
    struct Row {
        const char* name;
        Bytes answer;
        const char* text; ///< null: not kept, asked again
    };
    const Row rows[] = {
        {"name", {0, 0x11, 0, 0x00, 5, 'L', 'i', 'n', 'u', 'x', 0, 0}, "Linux"},
        {"utf-8", {0, 0x11, 0, 0xf1, 3, 'a', 0xc3, 0xa9}, "a\u00e9"},
        {"utf-16", {0, 0x11, 0, 0x02, 4, 'a', 0, 0xe9, 0}, "a\u00e9"},
        {"length beyond the answer", {0, 0x11, 0, 0, 255, 'a', 'b'}, "ab"},
        {"length beyond the block",
         {0, 0x11, 0, 0, 20, 1, 2, 3, 4, 5, 6, 7, 8, 9, 'a', 'b', 'c', 'd', 'e', 'X'},
         "?????????abcde"},
        {"empty", {0, 0x11, 0, 0, 0}, ""},
        {"no text", {0, 0x11, 0, 0}, nullptr},
        {"only a completion code", {0}, nullptr},
        {"refused", {0xcb}, nullptr},
    };
    for (const bool version : {false, true}) {
        const auto get = [version] { return version ? IpmiIfc::getHostOsVersion() : IpmiIfc::getHostOsName(); };
        for (const Row& row : rows) {
            SCOPED_TRACE(row.name);
            bmc.expect(kAskId, {0xc1});
            ASSERT_EQ(IpmiIfcInitForCLI(0), 0);
            bmc.expect(version ? kAskVersion : kAskName, row.answer).times(row.text ? 1 : 2);
            EXPECT_EQ(get(), row.text ? row.text : "");
            EXPECT_EQ(get(), row.text ? row.text : "");
            bmc.done();
        }
    }
}

TEST_F(Identity, selfTestInWords)
{
    struct Row {
        Bytes answer;
        int result;
        unsigned int code;
        const char* text;
    };
    const Row rows[] = {
        {{0, 0x55, 0x00}, 0, 0x5500, "passed"},
        {{0, 0x56, 0x00}, 0, 0x5600, "not implemented"},
        {{0, 0x57, 0x81},
         0,
         0x5781,
         "corrupted or inaccessible data or devices: cannot access SEL device, controller operational firmware "
         "corrupted"},
        {{0, 0x57, 0x00}, 0, 0x5700, "corrupted or inaccessible data or devices"},
        {{0, 0x58, 0x12}, 0, 0x5812, "fatal hardware error (0x5812)"},
        {{0, 0xff, 0x01, 0x02}, 0, 0xff01, "device-specific failure (0xff01)"},
        {{0, 0x55}, 4, 0, ""},
        {{0xc1}, 4, 0, ""},
    };
    for (const Row& row : rows) {
        bmc.expect(kAskId, {0xc1});
        ASSERT_EQ(IpmiIfcInitForCLI(0), 0);
        bmc.expect(kAskSelfTest, row.answer).times(row.result == 0 ? 1 : 2);
        unsigned short code = 9;
        EXPECT_EQ(IpmiIfc::getSelfTest(code), row.result);
        EXPECT_EQ(code, row.code);
        EXPECT_EQ(IpmiIfc::getSelfTestText(), row.text);
        bmc.done();
    }
}

TEST_F(Identity, otherNodesAskOnTheFirstQuestion)
{
    Support::ScriptedBmc otherBmc;
    Support::SimNode other(otherBmc, 1);
    EXPECT_EQ(IpmiIfc::getIpmiVersion(1), ""); // closed: nothing is sent
    ASSERT_GT(IpmiIfcOpenIpmiOpen(1), 0);
    bmc.expect(kAskId, {0xc1}); // IpmiIfcInitForCLI asks node 0, whatever its node
    ASSERT_EQ(IpmiIfcInitForCLI(1), 0);
    IpmiIfc::maj = -1;
    otherBmc.expect(kAskId, {0xc0});
    EXPECT_EQ(IpmiIfc::getIpmiVersion(1), "");
    Bytes answer = kDeviceId;
    answer[5] = 0x51;
    otherBmc.expect(kAskId, answer);
    EXPECT_EQ(IpmiIfc::getIpmiVersion(1), "1.5");
    EXPECT_EQ(IpmiIfc::getFirmwareVersion(1), "2.30");
    EXPECT_EQ(IpmiIfc::maj, -1); // node 0's
    IpmiIfcCloseForCLI(1);
}

TEST_F(Identity, oneShotListGoesToNode0InOrder)
{
    bmc.expect(kAskId, kDeviceId);
    bmc.expect(kAskName, {0, 0x11, 0, 0, 1, 'n'});
    bmc.expect(kAskVersion, {}).silent();
    bmc.expect(kAskSelfTest, {0, 0x55, 0}).after(std::chrono::seconds(31)); // beyond its exchange
    bmc.expect({0x0a, 0x20}, {0xc1});
    EXPECT_EQ(IpmiIfcDataGet(7), 0);
    bmc.done();
    EXPECT_EQ(IpmiIfcDataGet(0), 0);
    EXPECT_EQ(IpmiIfcDataGet(INT_MIN), 0);
    EXPECT_EQ(IpmiIfc::getHostOsName(), "n");
    EXPECT_EQ(IpmiIfc::getFirmwareVersion(), "2.30");
}

TEST_F(Identity, handlersTrustNoAnswer)
{
    for (const auto handler :
         {IpmiIfcRhGetDeviceId, IpmiIfcRhGetOS_Name, IpmiIfcRhGetOS_Version, IpmiIfcRhGetSelfTest}) {
        EXPECT_EQ(handler(nullptr), -1);
        ipmiifc_resp resp;
        EXPECT_EQ(handler(&resp), -1); // no byte
        resp.datalen = 16;
        for (const int bad : {-1, kNodeCount, INT_MAX, INT_MIN}) {
            resp.node = bad;
            EXPECT_EQ(handler(&resp), -1);
        }
        resp.node = 1;
        resp.cc = 0xc3;
        EXPECT_EQ(handler(&resp), 0xc3);
        resp.cc = 0;
        resp.datalen = INT_MAX; // there are 32
        resp.data[4] = 255;
        EXPECT_EQ(handler(&resp), 0);
        resp.datalen = INT_MIN;
        EXPECT_EQ(handler(&resp), -1);
    }
    InitIpmiNode(1);
}

} // namespace
