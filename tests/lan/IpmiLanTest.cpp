// SPDX-License-Identifier: Apache-2.0
// The LAN settings: refreshes and their texts, and what the BMC says by the standard.
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "node/IpmiNode.h"
#include "support/SimNode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <thread>
#include <utility>

using namespace Ipmi;

namespace
{

using Bytes = std::vector<std::uint8_t>;
using Lines = std::vector<std::string>;
using Answers = std::map<std::string, Bytes>; ///< by question; an empty one is silence

/// Questions as words: "c2", Get Channel Info of channel 2; "56.3@1", parameter 56, set 3 of channel 1; "3@1", set 0.
std::string wordOf(const Sim::Request& request)
{
    const auto data = [&](std::size_t i) { return std::to_string(request.data.at(i)); };
    if (request.netfn == 0x06 && request.cmd == 0x42)
        return "c" + data(0);
    if (request.netfn != 0x0c || request.cmd != 0x02 || request.data.size() != 4 || request.data[3] != 0)
        return "other";
    return data(1) + (request.data[2] != 0 ? "." + data(2) : "") + "@" + data(0);
}

Bytes ipv6Set(std::uint8_t set, std::uint8_t source, std::uint8_t last, std::uint8_t state = 0)
{
    return {0, 0x11, set, source, 0x20, 1, 0xd, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, last, 64, state};
}

/// Of a BMC with its LAN on channel 1; what is not here is refused with 80h.
const Answers kGood = {
    {"c1", {0, 1, 0x84, 1, 0x80, 0xf2, 0x1b, 0, 0, 0}}, // bit 7 of the medium is reserved
    {"3@1", {0, 0x11, 192, 0, 2, 17}},
    {"4@1", {0, 0x11, 0xf2}},
    {"5@1", {0, 0x11, 0, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e}},
    {"6@1", {0, 0x11, 255, 255, 255, 0}},
    {"12@1", {0, 0x11, 192, 0, 2, 1}},
    {"13@1", {0, 0x11, 2, 0, 0x5e, 0, 0x53, 1}},
    {"20@1", {0, 0x11, 0x2a, 0xa9}},
    {"21@1", {0, 0x11, 0xfb}},
    {"50@1", {0, 0x11, 3}},
    {"51@1", {0, 0x11, 2}},
    {"55@1", {0, 0x11, 2, 2, 3}},
    {"56@1", ipv6Set(0, 0x80, 0x17)},
    {"56.1@1", {0, 0x11, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}},
    {"59@1", ipv6Set(0, 1, 0x18, 4)},
    {"59.1@1", ipv6Set(1, 9, 0x19, 8)},
    {"56@0", {0, 0x11, 0, 0x80, 0x20, 1, 0xd, 0xb8, 0, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
};

Answers with(Answers answers, const Answers& changes)
{
    for (const auto& [question, answer] : changes)
        answers[question] = answer;
    return answers;
}

/// Silence, completion codes, and the good answer cut off anywhere.
std::vector<Bytes> failuresOf(const Bytes& good)
{
    std::vector<Bytes> failures{{}, {0x80}, {0xc0}, {0xc1}, {0xc3}, {0xff}};
    for (std::size_t length = 1; length < good.size(); ++length)
        failures.emplace_back(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length));
    return failures;
}

Lines split(const std::string& text, char at)
{
    Lines parts;
    std::istringstream all(text);
    for (std::string part; std::getline(all, part, at);)
        parts.push_back(part);
    return parts;
}

struct LanBmc : Sim::Responder {
    Answers answers = kGood;
    std::string asked; ///< since the test has taken it last
    std::function<void(const std::string&)> before;
    Support::SimNode sim{*this};
    IpmiLan& lan = *IpmiIfc::getLan();

    LanBmc()
    {
        EXPECT_GE(IpmiIfcOpenIpmiOpen(0), 0);
        EXPECT_EQ(IpmiIfcInitForCLI(0), 0);
        takeAsked();
        forget();
    }
    ~LanBmc() override { IpmiIfcCloseForCLI(0); }

    Sim::Answer handle(const Sim::Request& request) override
    {
        const std::string word = wordOf(request);
        asked += (asked.empty() ? "" : " ") + word;
        if (before)
            before(word);
        const auto found = answers.find(word);
        if (found == answers.end())
            return {.bytes = {0x80}};
        return {.answered = !found->second.empty(), .bytes = found->second};
    }
    std::string takeAsked()
    {
        sim.log().clear();
        return std::exchange(asked, {});
    }
    std::string texts() const
    {
        std::string text = std::to_string(lan.isEnabled()) + ' ' + lan.getMACAddress() + ' ' + lan.getIPv4Address() +
                           ' ' + lan.getIPv4Netmask() + ' ' + lan.getIPv4DefaultGateway();
        for (const std::string& one : lan.getIPv6Addresses())
            text += ' ' + one;
        return text;
    }
    std::string lines()
    {
        std::string text;
        for (const auto& line : sim.log().lines())
            if (!line.text.starts_with("Node "))
                text += std::to_string(line.priority) + ' ' + line.text + '\n';
        return text;
    }
    /// Before the first refresh again.
    void forget()
    {
        std::destroy_at(&lan);
        std::construct_at(&lan);
    }
};

TEST(IpmiLan, Refreshes)
{
    const std::string mac = "1 00:1a:2b:3c:4d:5e ", four = mac + "192.0.2.17 255.255.255.0 192.0.2.1",
                      v6 = " 00:80:20:01:0d:b8:00:07", entering = "7 Entering IpmiIfcLanInstantiate\n";
    const Bytes ipmb{0, 1, 1}, other{0, 2, 6}, address = kGood.at("3@1"), zeros{0, 0x11, 0, 0, 0, 0};
    const auto good = [](const Answers& changes) { return with(kGood, changes); };
    const struct {
        const char* name;
        Answers answers;
        std::string channels, texts;
        std::string line; ///< among others
    } rows[] = {
        {"all is well", kGood, "c1", four + v6,
         entering + "7 Entering IpmiLan::initChannelNumber\n7 Channel 1, Medium: 4\n7 IP Address 192.0.2.17\n"
                    "7 MAC address 00:1a:2b:3c:4d:5e\n7 Netmask 255.255.255.0\n7 Netmask 192.0.2.1\n"
                    "7 load_v6_addresses: loaded 1 ipv6 addresses\n"},
        {"no channel is a LAN: 1",
         good(
             {{"c1", {}}, {"c2", ipmb}, {"c3", {0xcc}}, {"c4", {0, 1}}, {"c5", ipmb}, {"c6", ipmb}, {"c7", {0, 7, 5}}}),
         "c1 c2 c3 c4 c5 c6 c7", four + v6,
         "7 Unable to get Channel 1 Info - NULL response\n7 Channel 2, Medium: 1\n7 Failed to get Channel 3 Info: "
         "cc=0xcc\n7 Failed to get Channel 4 Info: cc=0x0\n7 Channel 5, Medium: 1\n7 Channel 6, Medium: 1\n"
         "7 Channel 7, Medium: 5\n7 IP Address"},
        {"channel 2, and 0 for IPv6",
         good({{"c1", ipmb}, {"c2", other}, {"3@2", address}, {"6@2", {0, 0x11, 1, 2, 3, 4}}, {"12@2", zeros}}),
         "c1 c2", "1  192.0.2.17 1.2.3.4 0.0.0.0" + v6, "7 Channel 2, Medium: 6\n"},
        {"0.0.0.0 is an address", good({{"3@1", zeros}}), "c1", mac + "0.0.0.0 255.255.255.0 192.0.2.1" + v6, entering},
        {"IPv6 is not active", good({{"56@0", ipv6Set(0, 0x80, 0x17)}}), "c1", four,
         "4 load_v6_addresses: Ignore BMC V6 IP addr, not active, state=64\n"},
    };
    LanBmc bmc;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        bmc.forget();
        bmc.answers = row.answers;
        EXPECT_EQ(bmc.texts(), "0    ");
        EXPECT_EQ(bmc.lan.IpmiIfcLanInstantiate(0), 0);
        EXPECT_EQ(bmc.texts(), row.texts);
        EXPECT_NE(bmc.lines().find(row.line), std::string::npos) << bmc.lines();
        const std::string parameters = row.channels == "c1 c2" ? "3@2 5@2 6@2 12@2 56@0" : "3@1 5@1 6@1 12@1 56@0";
        EXPECT_EQ(bmc.takeAsked(), row.channels + ' ' + parameters);
        bmc.lan.IpmiIfcLanInstantiate(0); // the channel is known now
        EXPECT_EQ(bmc.takeAsked(), parameters);
    }
}

// A question that fails leaves its text as it was; those of netmask and gateway end the refresh.
TEST(IpmiLan, EachStepFailsInEachWay)
{
    const struct {
        std::string question, name; ///< in the log
        std::size_t part;           ///< of the texts
        bool ends = false;
    } steps[] = {{"3@1", "IP addr", 2},
                 {"5@1", "MAC address", 1},
                 {"6@1", "netmask", 3, true},
                 {"12@1", "default gateway", 4, true},
                 {"56@0", "V6 Manual address", 5}};
    Answers later = kGood;
    for (const auto& step : steps)
        ++later[step.question][3]; // the second byte of each
    LanBmc bmc;
    for (const auto& step : steps) {
        for (const Bytes& failure : failuresOf(later[step.question])) {
            SCOPED_TRACE(step.question + " of " + std::to_string(failure.size()));
            bmc.forget();
            bmc.answers = kGood;
            bmc.lan.IpmiIfcLanInstantiate(0);
            const Lines before = split(bmc.texts(), ' ');
            bmc.takeAsked();
            bmc.answers = with(later, {{step.question, failure}});
            EXPECT_EQ(bmc.lan.IpmiIfcLanInstantiate(0), step.ends ? -1 : 0);
            const Lines after = split(bmc.texts(), ' ');
            EXPECT_EQ(after[0], step.part == 2 ? "0" : "1");
            for (std::size_t part = 1; part < 5; ++part)
                EXPECT_EQ(after[part] == before[part], part == step.part || (step.ends && part > step.part)) << part;
            EXPECT_EQ(after.size(), step.ends || step.part == 5 ? 6u : 7u); // IPv6 once again, or not
            EXPECT_TRUE(bmc.asked.ends_with(step.ends ? step.question : "56@0")) << bmc.asked;
            std::ostringstream line;
            if (failure.empty())
                line << (step.part == 5 ? "load_v6_addresses: Get " : "Unable to get ") << step.name
                     << " - NULL response";
            else
                line << "Failed to get " << step.name << ": cc=0x" << std::hex << +failure[0];
            EXPECT_EQ(bmc.sim.log().has(LOG_DEBUG, line.str()), step.part != 5 || failure.empty()) << bmc.lines();
            EXPECT_EQ(bmc.lines().find("V6 Manual address failed"), std::string::npos);
        }
    }
}

TEST(IpmiLan, The4097thIpv6TextIsNotKept)
{
    LanBmc bmc;
    for (int i = 0; i < 4100; ++i)
        bmc.lan.load_v6_addresses(0);
    EXPECT_EQ(bmc.lan.getIPv6Addresses().size(), 4096u);
    EXPECT_TRUE(bmc.sim.log().has(LOG_DEBUG, "load_v6_addresses: loaded 4096 ipv6 addresses"));
}

TEST(IpmiLan, GettersDoNotWaitForRefreshesWhichComeOneAfterTheOther)
{
    LanBmc bmc;
    bmc.lan.IpmiIfcLanInstantiate(0);
    const std::string before = bmc.texts();
    bmc.takeAsked();
    std::promise<void> blocked, go;
    bmc.before = [&, first = true](const std::string& word) mutable {
        if (word != "6@1" || !std::exchange(first, false))
            return;
        blocked.set_value();
        go.get_future().wait();
    };
    bmc.answers["3@1"][2] = 193;
    const auto refresh = [&bmc] { bmc.lan.IpmiIfcLanInstantiate(0); };
    std::thread one(refresh);
    blocked.get_future().wait();
    EXPECT_EQ(bmc.texts(), before);
    std::thread two(refresh), three([&bmc] { bmc.lan.status(); });
    EXPECT_EQ(bmc.texts(), before);
    go.set_value();
    one.join(), two.join(), three.join();
    EXPECT_EQ(bmc.lan.getIPv4Address(), "193.0.2.17");
    EXPECT_EQ(bmc.lan.getIPv6Addresses().size(), 3u);
    const std::string whole = "3@1 5@1 6@1 12@1 56@0";
    EXPECT_TRUE(bmc.asked.starts_with(whole + ' '));
    EXPECT_NE(bmc.asked.find(whole, whole.size()), std::string::npos) << bmc.asked;
}

// --- by the standard

std::string asText(const std::string& text)
{
    return text;
}
template <typename Number> std::string asText(Number number)
{
    return std::to_string(+number);
}

/// What is known; "ipv6" where the addresses are.
Lines linesOf(const IpmiLanStatus& status)
{
    Lines lines;
    const auto note = [&lines](const char* name, const auto& value) {
        if (value)
            lines.push_back(name + asText(*value));
    };
    note("channel ", status.channel);
    note("enabled ", status.enabled);
    note("mac ", status.mac);
    note("address ", status.ipv4.address);
    note("netmask ", status.ipv4.netmask);
    note("gateway ", status.ipv4.gateway);
    note("gatewayMac ", status.ipv4.gatewayMac);
    note("source ", status.ipv4.source);
    note("vlan ", status.vlan.enabled);
    note("id ", status.vlan.id);
    note("priority ", status.vlan.priority);
    note("ipv6Enabled ", status.ipv6Enabled);
    if (status.ipv6)
        lines.emplace_back("ipv6");
    for (const auto& one : status.ipv6.value_or(std::vector<IpmiLanStatus::Ipv6>{}))
        lines.push_back(one.address + '/' + asText(one.prefix) + ' ' + asText(one.kind) + ' ' + asText(one.source) +
                        ' ' + asText(one.status));
    return lines;
}

const Lines kAll = split("channel 1|enabled 1|mac 00:1a:2b:3c:4d:5e|address 192.0.2.17|netmask 255.255.255.0|"
                         "gateway 192.0.2.1|gatewayMac 02:00:5e:00:53:01|source 2|vlan 1|id 2346|priority 3|"
                         "ipv6Enabled 1|ipv6|2001:db8::17/64 0 0 0|2001:db8::18/64 1 1 4|2001:db8::19/64 1 9 8",
                         '|');
const char* const kQuestions = "c1 3@1 4@1 5@1 6@1 12@1 13@1 20@1 21@1 50@1 51@1 55@1 56@1 56.1@1 59@1 59.1@1";

/// `lines` without those that begin with one of the words.
Lines without(Lines lines, const Lines& words)
{
    std::erase_if(lines, [&](const std::string& line) {
        return std::ranges::any_of(words, [&](const std::string& word) { return line.starts_with(word); });
    });
    return lines;
}

TEST(IpmiLanStatus, IsWhatEachQuestionBroughtAndNoMore)
{
    // what is not known when a question fails
    const std::pair<std::string, const char*> lost[] = {
        {"3@1", "address"},      {"4@1", "source"},    {"5@1", "mac"},
        {"6@1", "netmask"},      {"12@1", "gateway "}, {"13@1", "gatewayMac"},
        {"20@1", "vlan|id"},     {"21@1", "priority"}, {"50@1", ""},
        {"51@1", "ipv6Enabled"}, {"56.1@1", ""},       {"59.1@1", "2001:db8::19"},
        {"55@1", "2001:db8::19"}};
    const std::string all = kQuestions, oneOfEach = "c1 3@1 4@1 5@1 6@1 12@1 13@1 20@1 21@1 50@1 51@1 55@1 56@1 59@1";
    LanBmc bmc;
    EXPECT_EQ(linesOf(bmc.lan.status()), kAll);
    EXPECT_EQ(bmc.takeAsked(), kQuestions);
    bmc.lan.status(); // the channel is known now
    EXPECT_EQ("c1 " + bmc.takeAsked(), kQuestions);
    for (const auto& [question, words] : lost) {
        for (const Bytes& failure : failuresOf(kGood.at(question))) {
            if (question == "55@1" && failure.size() == 4) // the counts are there
                continue;
            SCOPED_TRACE(question + " of " + std::to_string(failure.size()));
            bmc.forget();
            bmc.answers = with(kGood, {{question, failure}});
            const IpmiLanStatus status = bmc.lan.status();
            const Lines lines = linesOf(status);
            const bool isNotThere = failure == Bytes{0x80} || failure == Bytes{0xc1};
            const bool mayHideAnAddress = question == "55@1" || question.find('.') != question.npos;
            EXPECT_EQ(status.whole, !failure.empty() && (isNotThere || !mayHideAnAddress));
            const std::string asked = bmc.takeAsked();
            if (failure.empty()) { // nothing more is asked, and nothing is made up
                EXPECT_EQ(asked, all.substr(0, all.find(question) + question.size()));
                EXPECT_TRUE(
                    std::ranges::all_of(lines, [](const auto& line) { return std::ranges::count(kAll, line) > 0; }));
                continue;
            }
            Lines expected = without(kAll, split(words, '|'));
            if (question == "3@1")
                expected[1] = "enabled 0";
            EXPECT_EQ(lines, expected);
            EXPECT_EQ(asked, question == "55@1" ? oneOfEach : all);
        }
    }
}

TEST(IpmiLanStatus, FallsBackAndStaysInBounds)
{
    Answers plain = kGood, channelLess, hostile = with(kGood, {{"55@1", {0, 0x11, 255, 255, 0}}});
    for (const char* question : {"50@1", "51@1", "55@1", "56@1", "59@1"})
        plain[question] = {0xc1};
    for (int set = 0; set < 256; ++set)
        for (const char* parameter : {"56", "59"})
            hostile[parameter + (set != 0 ? '.' + std::to_string(set) : "") + "@1"] = ipv6Set(7, 1, 1);
    Answers moved = with(kGood, {{"c1", {0xcc}}});
    const Lines ipv4 = without(kAll, {"ipv6", "2001"});
    Lines hostileLines = without(kAll, {"2001"});
    hostileLines.insert(hostileLines.end(), {"2001:db8::1/64 0 1 0", "2001:db8::1/64 1 1 0"});
    const struct {
        const char* name;
        Answers answers;
        Lines lines;
        std::size_t questions;
    } rows[] = {
        {"no IPv6 parameters", plain, ipv4, 14},
        {"IPv6 is not supported", with(kGood, {{"50@1", {0, 0x11, 4}}}), without(kAll, {"2001"}), 11},
        {"counts more than it has", with(kGood, {{"55@1", {0, 0x11, 255, 255, 0}}}), kAll, 12 + 3 + 3},
        {"no room for addresses", with(kGood, {{"55@1", {0, 0x11, 0, 0, 0}}}), without(kAll, {"2001"}), 12},
        {"room that cannot be looked into", with(kGood, {{"56@1", {0xc9}}, {"59@1", {0xc0}}, {"59.1@1", {0xd5}}}),
         without(ipv4, {"ipv6"}), 15},
        {"the same set for every number", hostile, hostileLines, 12 + 2 * 255},
        {"no LAN channel, but channel 1", moved, kAll, 7 + 15},
        {"nothing", {}, {"enabled 0"}, 7 + 13},
        {"silence", {{"c1", {}}}, {}, 1},
    };
    LanBmc bmc;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        bmc.forget();
        bmc.answers = row.answers;
        Lines expected = row.lines;
        if (std::string_view(row.name).starts_with("room"))
            expected.emplace_back("ipv6Enabled 1");
        EXPECT_EQ(linesOf(bmc.lan.status()), expected);
        const Lines words = split(bmc.takeAsked(), ' ');
        EXPECT_EQ(words.size(), row.questions);
        EXPECT_EQ(std::set(words.begin(), words.end()).size(), words.size()); // none twice
    }
    IpmiLan nobodys;
    EXPECT_EQ(linesOf(nobodys.status()), Lines{});
    EXPECT_EQ(bmc.takeAsked(), "");
}

} // namespace
