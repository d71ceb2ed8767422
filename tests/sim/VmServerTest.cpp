// SPDX-License-Identifier: Apache-2.0
// The VM protocol as QEMU speaks it.
#include "sim/vm/VmServer.h"

#include "sim/vm/VmFrame.h"

#include "sim/SimSupport.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <numeric>

namespace Sim
{
namespace
{

using std::chrono::milliseconds;

constexpr int kPatience = 10'000;

class VmServerTest : public ::testing::Test, protected World
{
protected:
    VmServerTest() : World(parseMachine(R"({"controllers": [{"address": "0x82"}]})", "file"))
    {
        converse(R"({"cmd": 1, "cut_to": 1})"); // short answers
    }
    /// A new virtual machine.
    Descriptor connect()
    {
        const sockaddr_in address{AF_INET, htons(server.port()), {htonl(INADDR_LOOPBACK)}, {}};
        Descriptor machine(::socket(AF_INET, SOCK_STREAM, 0));
        EXPECT_EQ(::connect(machine.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        serveWhatComes();
        return machine;
    }
    void serveWhatComes()
    {
        std::vector<pollfd> waiting;
        server.addTo(waiting);
        EXPECT_GT(::poll(waiting.data(), waiting.size(), kPatience), 0);
        EXPECT_TRUE(server.serve());
    }
    void say(const Descriptor& machine, const std::string& bytes)
    {
        const Bytes raw = hex(bytes);
        EXPECT_EQ(::send(machine.get(), raw.data(), raw.size(), MSG_NOSIGNAL), static_cast<ssize_t>(raw.size()));
        serveWhatComes();
    }
    /// Takes what must have been sent, and nothing more; null: the connection must have ended.
    static void hears(const Descriptor& machine, const char* bytes)
    {
        const Bytes expected = hex(bytes ? bytes : "");
        Bytes room(expected.size() + 1);
        pollfd waiting{machine.get(), POLLIN, 0};
        std::size_t got = 0;
        ssize_t more = 1;
        for (; more > 0 && got < room.size(); got += static_cast<std::size_t>(std::max<ssize_t>(more, 0))) {
            ::poll(&waiting, 1, got < expected.size() || !bytes ? kPatience : 0);
            more = ::recv(machine.get(), room.data() + got, room.size() - got, MSG_DONTWAIT);
        }
        room.resize(got);
        EXPECT_EQ(room, expected);
        EXPECT_EQ(more == 0, bytes == nullptr);
    }
    void pass(int span)
    {
        time += milliseconds(span);
        server.serve();
    }

    VmServer server{driver, [this] { return time; }, 0};
};

// Sequence bytes 3 and 4: Get Device ID. Send Message to 82h, Get Message.
constexpr const char *kThird = "03 18 01 e4 a0", *kFourth = "04 18 01 e3 a0";
constexpr const char* kSend = "05 18 34 00 82 18 66 20 02 01 dd af a0";
constexpr const char* kGet = "06 18 33 af a0";
constexpr const char* kHello = "05 a1";

} // namespace

TEST_F(VmServerTest, ServesOneMachineAtATime)
{
    const Descriptor first = connect();
    hears(first, kHello);
    say(first, "ff 01 a1 08 3f a1");
    say(first, "03 18 01");
    say(first, "e4 a0");
    hears(first, "03 1c 01 00 e0 a0");
    say(first, "04 18"); // must not be taken for the beginning of the next machine's request

    const Descriptor second = connect();
    hears(first, nullptr);
    hears(second, kHello);
    say(second, std::string(kThird) + " " + kFourth);
    hears(second, "03 1c 01 00 e0 a0 04 1c 01 00 df a0");
    ::shutdown(second.get(), SHUT_WR);
    serveWhatComes();
    hears(second, nullptr);
    hears(connect(), kHello);
}

TEST_F(VmServerTest, AnswersWhatIsWholeAndDropsTheRest)
{
    const std::string one = "03 18 42 00 a3 a0", answer = "03 1c 42 00 00 01 01 00 f2 1b 00 00 00 90 a0";
    const std::pair<std::string, std::string> rows[] = {
        {"commands: ff 01 a1 08 3f a1 " + one, answer},
        {"escapes: 01 18 01 aa b0 aa b1 aa ba fb a0", "01 1c 01 c7 1b a0"},
        {"more escapes: aa b0 18 01 47 a0 aa b1 18 01 46 a0", "aa b0 1c 01 00 43 a0 aa b1 1c 01 00 42 a0"},
        {"LUN 1: 05 29 20 b2 a0", "05 2d 20 c2 ec a0"},
        {"escaped end: 01 18 01 e6 a0 aa ba 18 01 3d a0", "01 1c 01 00 e2 a0 aa ba 1c 01 00 39 a0"},
        {"cut before another: 04 18 a0 " + one, answer},
        {"wrong checksum: 04 18 01 e2 a0 " + one, answer},
        {"escape without its byte: 04 18 01 e3 aa a0 " + one, answer},
        {"nothing: a0 a1 a0 aa a1 00 a0 04 18 e4 a0 " + one, answer},
    };
    const Descriptor machine = connect();
    hears(machine, kHello);
    for (const auto& [said, heard] : rows) {
        SCOPED_TRACE(said);
        say(machine, said.substr(said.find(':') + 1));
        hears(machine, heard.c_str());
    }
    for (const std::size_t count : {VmDecoder::kLongest - 1, VmDecoder::kLongest, 10 * VmDecoder::kLongest}) {
        Bytes bytes{0x04, 0x18, 0x01};
        bytes.resize(count, 0x11);
        bytes.push_back(static_cast<std::uint8_t>(-std::accumulate(bytes.begin(), bytes.end(), 0)));
        say(machine, text(bytes) + " a0 " + one);
        hears(machine, ((count < VmDecoder::kLongest ? "04 1c 01 c7 18 a0 " : "") + answer).c_str());
    }
}

TEST_F(VmServerTest, NeverSendsAnAnswerThatQemuHasGivenUp)
{
    const Descriptor machine = connect();
    hears(machine, kHello);
    const std::tuple<const char*, int, int, const char*> rows[] = {
        // the rule; when to look, and again; what is heard then
        {R"({"cut_to": 1, "delay_ms": 3800})", 3799, 1, "03 1c 01 00 e0 a0"},
        {R"({"cut_to": 1, "delay_ms": 3800})", 3799, 301, ""}, // the simulator itself was held up
        {R"({"cut_to": 1, "delay_ms": 4001})", 4000, 1000, ""},
        {R"({"no_answer": true})", 0, 60000, ""},
        {R"({"cut_to": 1, "delay_ms": 300})", 299, 1, "03 1c 01 00 e0 a0"},
    };
    for (const auto& [rule, early, late, heard] : rows) {
        converse(rule);
        say(machine, kThird);
        pass(early);
        hears(machine, "");
        pass(late);
        hears(machine, heard);
        EXPECT_FALSE(server.nextDue());
    }
    say(machine, kThird);
    say(machine, kFourth); // the third is given up
    pass(300);
    hears(machine, "04 1c 01 00 df a0");
}

TEST_F(VmServerTest, TellsAttention)
{
    Descriptor machine = connect();
    hears(machine, kHello);
    say(machine, kSend);
    hears(machine, "05 1c 34 00 ab a0 02 a1"); // the satellite has answered at once
    machine = connect();
    hears(machine, "05 a1 02 a1");
    say(machine, kGet);
    hears(machine, "00 a1 06 1c 33 00 00 1e c2 82 00 01 00 7d cb a0");

    converse(R"({"address": "0x82", "delay_ms": 500})");
    say(machine, kSend);
    hears(machine, "05 1c 34 00 ab a0");
    EXPECT_EQ(server.nextDue(), time + milliseconds(500));
    pass(500);
    hears(machine, "02 a1");
}

} // namespace Sim
