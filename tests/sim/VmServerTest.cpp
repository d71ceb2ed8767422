#include "sim/vm/VmServer.h"

#include "sim/SimSupport.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>

namespace Sim
{
namespace
{

using std::chrono::milliseconds;

constexpr int kPatience = 10'000;

class Script final : public Responder
{
public:
    Answer handle(const Request& request) override
    {
        asked.push_back(request.cmd);
        return answer;
    }

    Answer answer{.bytes = {0x00}};
    Bytes asked;
};

class VmServerTest : public ::testing::Test
{
protected:
    /// A new virtual machine.
    Descriptor connect()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(server.port());
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
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
    void at(int time)
    {
        clock = milliseconds(time);
        EXPECT_TRUE(server.serve());
    }

    milliseconds clock{0};
    Script script;
    SystemInterface interface {
        script, [this] { return clock; }
    };
    VmServer server{interface, [this] { return clock; }, 0};
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

TEST_F(VmServerTest, NeverSendsAnAnswerThatQemuHasGivenUp)
{
    const Descriptor machine = connect();
    hears(machine, kHello);
    const struct {
        Answer answer;
        int early, late; ///< when to look
        const char* heard;
    } rows[] = {
        {{.delay = milliseconds(300), .bytes = {0}}, 299, 300, "03 1c 01 00 e0 a0"},
        {{.delay = milliseconds(3800), .bytes = {0}}, 3799, 3800, "03 1c 01 00 e0 a0"},
        {{.delay = milliseconds(3800), .bytes = {0}}, 3799, 4100, ""}, // the simulator itself was held up
        {{.delay = milliseconds(4001), .bytes = {0}}, 4000, 5000, ""},
        {{.answered = false, .bytes = {}}, 0, 60000, ""},
    };
    for (const auto& row : rows) {
        clock = milliseconds(0);
        script.answer = row.answer;
        say(machine, kThird);
        at(row.early);
        hears(machine, "");
        at(row.late);
        hears(machine, row.heard);
        EXPECT_FALSE(server.nextDue());
    }
    script.answer = {.delay = milliseconds(300), .bytes = {0}};
    say(machine, kThird);
    say(machine, kFourth); // the third is given up
    at(60300);
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

    script.answer.delay = milliseconds(500);
    say(machine, kSend);
    hears(machine, "05 1c 34 00 ab a0");
    EXPECT_EQ(server.nextDue(), milliseconds(500));
    at(500);
    hears(machine, "02 a1");
}

} // namespace Sim
