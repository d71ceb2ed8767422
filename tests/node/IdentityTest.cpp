// SPDX-License-Identifier: Apache-2.0
// What a node knows of its BMC, from good answers and from hostile ones.
#include "node/IpmiIfcIdentity.h"
#include "node/NodeFixture.h"

#include <climits>

using namespace Ipmi;

namespace
{

using Identity = NodeFixture;
using Bytes = std::vector<std::uint8_t>;

const Bytes kDeviceId{0x00, 0x20, 0xf1, 0x82, 0x30, 0x02, 0xbf, 0x57, 0x01, 0x00, 0x34, 0x12, 1, 2, 3, 4};
const Bytes kAskId{0x06, 0x01}, kAskSelfTest{0x06, 0x04};

template <typename T, int (*getter)(int, T&)> std::string number(int node)
{
    T value = 9;
    const int result = getter(node, value);
    return std::to_string(result) + ':' + std::to_string(value);
}

int makerIdLength(int node, unsigned char& length)
{
    unsigned char id[3];
    return IpmiIfc::getManufacturerId(node, id, length);
}

TEST_F(Identity, everyTruncationOfTheDeviceId)
{
    const struct {
        std::size_t needs; ///< bytes of the answer
        std::string (*ask)(int node);
        const char *known, *unknown;
    } getters[] = {
        {2, number<unsigned char, IpmiIfc::getDeviceId>, "0:32", "4:0"},
        {3, number<unsigned char, IpmiIfc::getDeviceRevision>, "0:1", "4:0"},
        {5, IpmiIfc::getFirmwareVersion, "2.30", ""},
        {6, IpmiIfc::getIpmiVersion, "2.0", ""},
        {10, number<unsigned char, makerIdLength>, "0:3", "4:0"},
        {10, IpmiIfc::getManufacturerName, "Intel Corporation", ""},
        {12, number<unsigned short, IpmiIfc::getProductId>, "0:4660", "4:0"},
    };
    for (std::size_t length = 0; length <= kDeviceId.size(); ++length) {
        init();
        IpmiIfc::maj = -1;
        Bytes answer = kDeviceId;
        answer.resize(length);
        for (const auto& getter : getters) {
            if (&getter == getters || length < 2 || length < getter.needs)
                bmc.expect(kAskId, length == 0 ? Bytes{0xff} : answer);
            EXPECT_EQ(getter.ask(0), length < getter.needs ? getter.unknown : getter.known) << length;
            bmc.done();
        }
        EXPECT_EQ(IpmiIfc::maj, length >= 10 ? 2 : -1);
    }
    EXPECT_EQ(IpmiIfc::min, 0x30);
}

TEST_F(Identity, makersByEnterpriseNumber)
{
    const std::pair<Bytes, const char*> rows[] = {{{0xa2, 0x02, 0x00}, "Dell Inc."},
                                                  {{0x5c, 0xb8, 0x00}, "Hewlett Packard Enterprise"},
                                                  {{0x00, 0x00, 0x00}, "Unknown (0x000000)"},
                                                  {{0x57, 0x01, 0xf0}, "Unknown (0xf00157)"}};
    for (const auto& [maker, name] : rows) {
        Bytes answer = kDeviceId;
        std::ranges::copy(maker, answer.begin() + 7);
        init(answer);
        EXPECT_EQ(IpmiIfc::getManufacturerName(), name);
        EXPECT_EQ(IpmiIfc::hpe_bmc, &maker == &rows[1].first);
        unsigned char id[3], length;
        EXPECT_EQ(IpmiIfc::getManufacturerId(id, length), 0);
        EXPECT_EQ(Bytes(id, id + length), maker);
    }
}

TEST_F(Identity, hostOperatingSystem)
{
    const struct {
        const char* name;
        std::vector<Bytes> blocks;
        const char* text = nullptr; ///< null: not kept, asked again
    } rows[] = {
        {"utf-16", {{0, 0x11, 0, 0x02, 4, 'a', 0, 0xe9, 0}}, "a\u00e9"},
        {"utf-8, a character in two blocks", {{0, 0x11, 0, 0xf1, 3, 'a', 0xc3}, {0, 0x11, 1, 0xa9}}, "a\u00e9"},
        {"three blocks", {{0, 0x11, 0, 0, 6, 'a', 'b'}, {0, 0x11, 1, 7, 'd'}, {0, 0x11, 2, 'e', 'f', 'X'}}, "ab?def"},
        {"a block has 14 bytes",
         {{0, 0x11, 0, 0, 15, 1, 2, 3, 4, 5, 6, 7, 8, 9, 'a', 'b', 'c', 'd', 'e', 'X'}, {0, 0x11, 1, 'f'}},
         "?????????abcdef"},
        {"next one refused", {{0, 0x11, 0, 0, 255, 'a', 'b'}, {0xc9, 0x11, 1, 'c'}}, "ab"},
        {"next one cut off", {{0, 0x11, 0, 0, 255, 'a', 'b'}, {0, 0x11}}, "ab"},
        {"empty", {{0, 0x11, 0, 0, 0}}, ""},
        {"no text", {{0, 0x11, 0, 0}}},
        {"refused", {{0xcb}}},
    };
    const std::pair<std::uint8_t, std::string (*)()> parameters[] = {{4, IpmiIfc::getHostOsName},
                                                                     {5, IpmiIfc::getHostOsVersion}};
    for (const auto& [parameter, get] : parameters)
        for (const auto& row : rows) {
            SCOPED_TRACE(row.name);
            init();
            for (std::uint8_t set = 0; set < row.blocks.size(); ++set)
                bmc.expect({0x06, 0x59, 0, parameter, set, 0}, row.blocks[set]).times(row.text ? 1 : 2);
            for (int time = 0; time < 2; ++time)
                EXPECT_EQ(get(), row.text ? row.text : "");
            bmc.done();
        }
}

TEST_F(Identity, selfTestInWords)
{
    const char* damaged = "corrupted or inaccessible data or devices: cannot access SEL device, "
                          "controller operational firmware corrupted";
    const struct {
        Bytes answer;
        unsigned int code;
        const char* text;
    } rows[] = {{{0, 0x55, 0x00}, 0x5500, "passed"},
                {{0, 0x57, 0x81}, 0x5781, damaged},
                {{0, 0x57, 0x40}, 0x5740, "corrupted or inaccessible data or devices: cannot access SDR repository"},
                {{0, 0x58, 0x12}, 0x5812, "fatal hardware error (0x5812)"},
                {{0, 0xff, 0x01, 0x02}, 0xff01, "device-specific failure (0xff01)"},
                {{0, 0x56, 0x00}, 0x5600, "not implemented"},
                {{0, 0x55}, 0, ""},
                {{0xc1}, 0, ""}};
    for (const auto& [answer, expected, text] : rows) {
        init();
        bmc.expect(kAskSelfTest, answer).times(expected ? 1 : 2); // what has failed is asked again
        unsigned short code = 9;
        EXPECT_EQ(IpmiIfc::getSelfTest(code), expected ? 0 : 4);
        EXPECT_EQ(code, expected);
        EXPECT_EQ(IpmiIfc::getSelfTestText(), text);
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
    otherBmc.expect(kAskId, kDeviceId);
    EXPECT_EQ(IpmiIfc::getIpmiVersion(1), "2.0");
    EXPECT_EQ(IpmiIfc::getFirmwareVersion(1), "2.30");
    EXPECT_EQ(IpmiIfc::maj, -1); // node 0's
    IpmiIfcCloseForCLI(1);
}

TEST_F(Identity, handlersTrustNoAnswer)
{
    ipmiifc_resp resp;
    resp.cc = 0;
    resp.data[4] = 255;
    for (const auto handler :
         {IpmiIfcRhGetDeviceId, IpmiIfcRhGetOS_Name, IpmiIfcRhGetOS_Version, IpmiIfcRhGetSelfTest}) {
        EXPECT_EQ(handler(nullptr), -1);
        for (const int at : {-1, kNodeCount, 1})
            for (const int length : {INT_MIN, 16, INT_MAX}) { // there are 32
                resp.node = at, resp.datalen = length;
                EXPECT_EQ(handler(&resp), at == 1 && length > 0 ? 0 : -1) << at << ' ' << length;
            }
    }
    InitIpmiNode(1);
}

} // namespace
