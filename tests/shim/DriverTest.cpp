// SPDX-License-Identifier: Apache-2.0
// What the simulated driver's requests do, beside what the Linux driver was seen to do.
#include "sim/bmc/Bmc.h"
#include "sim/loop/Descriptor.h"
#include "sim/machine/MachineFile.h"
#include "sim/shim/Shim.h"
#include "support/ScriptedBmc.h"
#include "support/SimNode.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/ipmi.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <functional>
#include <numeric>
#include <tuple>

using namespace std::chrono_literals;
using Support::ScriptedBmc;
using Support::SimNode;
using Bytes = std::vector<std::uint8_t>;

namespace
{

/// An open device, or another file.
struct Descriptor : Sim::Descriptor {
    explicit Descriptor(const char* path = "/dev/ipmi0") : Sim::Descriptor(::open(path, O_RDWR)) {}
    /// 0 or the errno.
    int control(unsigned long request, void* argument) const
    {
        return ::ioctl(get(), request, argument) == 0 ? 0 : errno;
    }
    short ready(short wanted = POLLIN) const
    {
        pollfd waiting{get(), wanted, 0};
        ::poll(&waiting, 1, 0);
        return waiting.revents;
    }
};

/// A request with its parts, all of them to be bent by a test.
struct Send {
    std::array<std::uint8_t, 64> address{};
    Bytes data;
    ipmi_req request{};

    explicit Send(const Bytes& bytes = {0x06, 0x01}, long msgid = 1) : data(bytes.begin() + 2, bytes.end())
    {
        data.reserve(512);
        to(IPMI_SYSTEM_INTERFACE_ADDR_TYPE, IPMI_BMC_CHANNEL, 0);
        request.addr = address.data();
        request.addr_len = 8;
        request.msgid = msgid;
        request.msg = {bytes[0], bytes[1], static_cast<std::uint16_t>(data.size()), data.data()};
    }
    Send& to(int type, int channel, int byte6, int byte7 = 0)
    {
        const ipmi_ipmb_addr given{type, static_cast<short>(channel), static_cast<unsigned char>(byte6),
                                   static_cast<unsigned char>(byte7)};
        std::memcpy(address.data(), &given, sizeof given);
        return *this;
    }
    void length(std::size_t size)
    {
        data.resize(size);
        request.msg.data_len = static_cast<std::uint16_t>(size);
    }
    int by(const Descriptor& device) { return device.control(IPMICTL_SEND_COMMAND, &request); }
};

/// What waits at a device.
struct Receive {
    std::array<std::uint8_t, 64> address{};
    Bytes room = Bytes(64, 0xef);
    ipmi_recv message{-1, address.data(), sizeof address, 0, {0, 0, 64, room.data()}};
    int error; ///< 0 or the errno

    explicit Receive(const Descriptor& device, unsigned long request = IPMICTL_RECEIVE_MSG_TRUNC,
                     std::uint16_t length = 64, std::uint16_t addressLength = 64)
    {
        message.msg.data_len = length;
        message.addr_len = addressLength;
        error = device.control(request, &message);
    }
    Bytes data() const
    {
        return {room.begin(), room.begin() + (error == 0 || error == EMSGSIZE ? message.msg.data_len : 0)};
    }
};

class Driver : public ::testing::Test
{
protected:
    ScriptedBmc bmc;
    SimNode sim{bmc};
    const Descriptor device;
    unsigned int value = 0;
};

} // namespace

TEST_F(Driver, opensEveryUsualPathAndNothingElse)
{
    const auto before = Sim::Shim::served();
    for (const char* path : {"/dev/ipmi0", "/dev/ipmi/0", "/dev/ipmidev/0"})
        EXPECT_GE(Descriptor(path).get(), 0) << path;
    for (const int fd : {::open64("/dev/ipmi0", O_RDWR), ::openat(AT_FDCWD, "/dev/ipmi0", O_RDWR),
                         ::openat64(AT_FDCWD, "/dev/ipmi0", O_RDWR)})
        EXPECT_EQ(::close(fd), 0);
    EXPECT_EQ(Sim::Shim::served() - before, 6U) << "the shim is bypassed";
    for (const char* path : {"/dev/ipmi1", "/dev/ipmi", "/dev/ipmix", "/dev/ipmi00000000000", "/dev/ipmi256"})
        EXPECT_TRUE(Descriptor(path).get() < 0 && errno == ENOENT && ::access(path, F_OK) == -1) << path;
    EXPECT_EQ(::access("/dev/ipmi0", R_OK | W_OK), 0);
    const Sim::Descriptor closedOnExec(::open("/dev/ipmi0", O_RDWR | O_CLOEXEC));
    EXPECT_TRUE(::fcntl(device.get(), F_GETFD) == 0 && ::fcntl(closedOnExec.get(), F_GETFD) == FD_CLOEXEC);
}

TEST_F(Driver, knowsItsDescriptorsByMoreThanTheirNumber)
{
    EXPECT_EQ(::ioctl(STDIN_FILENO, IPMICTL_GET_MY_ADDRESS_CMD, nullptr), -1) << "not a device";
    const int copy = ::dup(device.get());
    EXPECT_EQ(::ioctl(copy, IPMICTL_GET_MY_ADDRESS_CMD, &value), 0) << "duplicated";
    ::close(copy);
    EXPECT_EQ(device.control(IPMICTL_GET_MY_ADDRESS_CMD, &value), 0);
    const Descriptor other("/dev/null");
    ::dup2(other.get(), device.get()); // the device is closed behind the shim's back
    EXPECT_EQ(device.control(IPMICTL_GET_MY_ADDRESS_CMD, &value), ENOTTY) << "another file by now";
}

TEST_F(Driver, answersCarryWhatTheDriverFillsIn)
{
    sim.device([](Sim::Device& driver) { driver.setIpmbChannels(1U << 0 | 1U << 6); });
    const Descriptor later; // the channels hold for those that open from now on
    // Type and channel of the address, and two bytes more: the BMC at two LUNs, a satellite, one at another IPMB.
    for (const auto& [type, channel, byte6, byte7] :
         {std::array<std::uint8_t, 4>{0x0c, 15, 0, 0}, {0x0c, 15, 3, 0}, {0x01, 0, 0x82, 2}, {0x01, 6, 0x2c, 0}}) {
        auto& step = bmc.expect({0x06, 0x01, 0xaa}, {0x00, 0x20});
        type == 0x0c ? step.lun(byte6) : step.to(byte6, byte7, channel);
        Send send({0x06, 0x01, 0xaa}, 0x123456789abcL);
        EXPECT_EQ(later.ready(), 0);
        EXPECT_EQ(send.to(type, channel, byte6, byte7).by(later), 0);
        EXPECT_EQ(later.ready(POLLIN | POLLRDNORM | POLLPRI), POLLIN | POLLRDNORM);
        const Receive receive(later);
        const ipmi_recv& message = receive.message;
        EXPECT_EQ(std::tuple(message.recv_type, message.msgid, message.msg.netfn, message.msg.cmd, message.addr_len),
                  std::tuple(IPMI_RESPONSE_RECV_TYPE, 0x123456789abcL, 0x07, 0x01, 8U));
        EXPECT_EQ(receive.data(), (Bytes{0x00, 0x20}));
        EXPECT_EQ(std::memcmp(receive.address.data(), send.address.data(), 8), 0) << int{byte6};
        EXPECT_EQ(later.ready(), 0);
    }
}

TEST_F(Driver, refusesBadRequests)
{
    const auto at = [](long place) { return reinterpret_cast<std::uint8_t*>(place); };
    const std::tuple<const char*, int, std::function<void(Send&)>> rows[] = {
        {"271 bytes", EMSGSIZE, [](Send& s) { s.length(271); }},
        {"odd network function", EINVAL, [](Send& s) { s.request.msg.netfn = 0x07; }},
        {"short address", EINVAL, [](Send& s) { s.request.addr_len = 7; }},
        {"long address", EINVAL, [](Send& s) { s.request.addr_len = 41; }},
        {"the driver's own Send Message", EINVAL, [](Send& s) { s.request.msg.cmd = 0x34; }},
        {"broadcast of a reset", EINVAL, [](Send& s) { s.to(0x41, 0, 0x82), s.request.msg.cmd = 0x02; }},
        {"no address", EFAULT, [&](Send& s) { s.request.addr = nullptr; }},
        {"unmapped address", EFAULT, [&](Send& s) { s.request.addr = at(-64); }},
        {"unmapped data", EFAULT, [&](Send& s) { s.length(2), s.request.msg.data = at(1); }},
        {"the BMC on channel 0", EINVAL, [](Send& s) { s.to(0x0c, 0, 0); }},
        {"LUN 4 of the BMC", EINVAL, [](Send& s) { s.to(0x0c, 15, 4); }},
        {"LUN 4 of a satellite", EINVAL, [](Send& s) { s.to(0x01, 0, 0x82, 4); }},
        {"unknown type", EINVAL, [](Send& s) { s.to(0x22, 0, 0); }},
        {"channel without an IPMB", EINVAL, [](Send& s) { s.to(0x01, 1, 0x82); }},
        {"channel past the last", EINVAL, [](Send& s) { s.to(0x01, 12, 0x82); }},
        {"channel below the first", EINVAL, [](Send& s) { s.to(0x01, -1, 0x82); }},
    };
    for (const auto& [name, error, bend] : rows) {
        Send send;
        bend(send);
        EXPECT_EQ(send.by(device), error) << name;
    }
    for (const auto request : {IPMICTL_SEND_COMMAND, IPMICTL_RECEIVE_MSG})
        EXPECT_EQ(device.control(request, nullptr), EFAULT) << request;
    for (const unsigned long request : {_IO('i', 99), static_cast<unsigned>(TIOCGWINSZ)})
        EXPECT_EQ(device.control(request, nullptr), ENOTTY) << request;
    EXPECT_EQ(bmc.handled(), 0);
    bmc.expect({0x06, 0x01}, {0x00}); // no pointer: no data, whatever the length says
    Send noData;
    noData.length(9);
    noData.request.msg.data = nullptr;
    EXPECT_EQ(noData.by(device), 0);
    Bytes longest(272);
    longest[0] = 0x06, longest[1] = 0x01;
    bmc.expect(longest, {0x00});
    EXPECT_EQ(Send(longest).by(device), 0) << "270 bytes fit";
}

TEST_F(Driver, receivesByTheRoomGiven)
{
    const std::tuple<unsigned long, std::uint16_t, std::uint16_t, int, bool> rows[] = {
        // room for 40 bytes and for the address, the errno, whether the message has gone then
        {IPMICTL_RECEIVE_MSG_TRUNC, 40, 64, 0, true},        {IPMICTL_RECEIVE_MSG, 40, 8, 0, true},
        {IPMICTL_RECEIVE_MSG_TRUNC, 32, 64, EMSGSIZE, true}, {IPMICTL_RECEIVE_MSG_TRUNC, 0, 64, EMSGSIZE, true},
        {IPMICTL_RECEIVE_MSG, 39, 64, EMSGSIZE, false},      {IPMICTL_RECEIVE_MSG_TRUNC, 64, 4, EINVAL, false},
        {IPMICTL_RECEIVE_MSG, 64, 4, EINVAL, false},
    };
    Bytes answer(40);
    std::iota(answer.begin(), answer.end(), std::uint8_t{0});
    for (const auto& [request, room, addressRoom, error, consumed] : rows) {
        SCOPED_TRACE(std::to_string(request) + ' ' + std::to_string(room) + ' ' + std::to_string(addressRoom));
        bmc.expect({0x06, 0x01}, answer);
        ASSERT_EQ(Send().by(device), 0);
        const Receive first(device, request, room, addressRoom), again(device, request);
        EXPECT_EQ(std::pair(first.error, again.error), std::pair(error, consumed ? EAGAIN : 0));
        EXPECT_EQ((consumed ? first : again).message.recv_type, IPMI_RESPONSE_RECV_TYPE);
        EXPECT_EQ((consumed ? again : first).message.recv_type, -1);
        EXPECT_EQ(first.room[consumed ? room : 0U], 0xef) << "past the room";
        EXPECT_EQ((consumed ? first : again).data(), Bytes(answer.begin(), answer.begin() + (consumed ? room : 40)));
    }
}

TEST_F(Driver, keepsSettingsPerDescriptor)
{
    const Descriptor other;
    const auto set = [this](unsigned long request, auto given) { return device.control(request, &given); };
    const auto get = [](const Descriptor& of, unsigned long request, auto room) {
        EXPECT_EQ(of.control(request, &room), 0);
        return room;
    };
    EXPECT_EQ(set(IPMICTL_SET_TIMING_PARMS_CMD, ipmi_timing_parms{7, 1234}), 0);
    for (const auto& [of, retries, time] : {std::tuple(&other, -1, 0U), {&device, 7, 1234U}}) {
        const auto timing = get(*of, IPMICTL_GET_TIMING_PARMS_CMD, ipmi_timing_parms{});
        EXPECT_EQ(std::pair(timing.retries, timing.retry_time_ms), std::pair(retries, time));
    }
    constexpr unsigned long kMode = IPMICTL_SET_MAINTENANCE_MODE_CMD, kGetMode = IPMICTL_GET_MAINTENANCE_MODE_CMD;
    const std::tuple<unsigned long, unsigned long, unsigned, unsigned, unsigned, int> rows[] = {
        // how it is set and got; what it was, is set to, is then; the errno
        {IPMICTL_SET_MY_ADDRESS_CMD, IPMICTL_GET_MY_ADDRESS_CMD, 0x20, 0x182, 0x82, 0},
        {IPMICTL_SET_MY_LUN_CMD, IPMICTL_GET_MY_LUN_CMD, 2, 7, 3, 0},
        {kMode, kGetMode, 0, 2, 2, 0},
        {kMode, kGetMode, 2, 3, 2, EINVAL}, // no such mode
    };
    for (const auto& [setter, getter, before, given, after, error] : rows) {
        EXPECT_EQ(get(device, getter, 0U), before) << given;
        EXPECT_EQ(set(setter, given), error) << given;
        EXPECT_EQ(get(device, getter, 0U), after) << given;
    }
    using OfChannel = ipmi_channel_lun_address_set;
    EXPECT_EQ(set(IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD, OfChannel{11, 0x42}), 0);
    EXPECT_EQ(get(device, IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD, OfChannel{11, 0}).value, 0x42);
    EXPECT_EQ(set(IPMICTL_GET_MY_CHANNEL_LUN_CMD, OfChannel{12, 0}), EINVAL);

    ipmi_cmdspec_chans onThree{0x06, 0x01, 1U << 3}, onFour{0x06, 0x01, 1U << 4};
    EXPECT_EQ(set(IPMICTL_UNREGISTER_FOR_CMD, ipmi_cmdspec{0x06, 0x01}), ENOENT);
    EXPECT_EQ(set(IPMICTL_REGISTER_FOR_CMD, ipmi_cmdspec{0x06, 0x01}), 0);
    EXPECT_EQ(other.control(IPMICTL_REGISTER_FOR_CMD_CHANS, &onThree), EBUSY);
    EXPECT_EQ(set(IPMICTL_UNREGISTER_FOR_CMD_CHANS, onThree), 0);
    EXPECT_EQ(other.control(IPMICTL_REGISTER_FOR_CMD_CHANS, &onThree), 0);
    EXPECT_EQ(other.control(IPMICTL_REGISTER_FOR_CMD_CHANS, &onFour), EBUSY) << "a channel that is still taken";
}

TEST_F(Driver, answersInTheOrderOfSendingAndBoundsEveryUser)
{
    bmc.expect({0x06, 0x01}, {0x00}).after(50ms);
    bmc.expect({0x06, 0x04}, {0x00}).times(99);
    EXPECT_EQ(Send({0x06, 0x01}, 0).by(device), 0);
    for (long i = 1; i < 100; ++i)
        ASSERT_EQ(Send({0x06, 0x04}, i).by(device), 0) << i;
    EXPECT_EQ(Send().by(device), EBUSY);
    EXPECT_EQ(device.ready(), 0) << "all wait for the first";
    sim.clock().advance(50ms);
    for (long i = 0; i < 100; ++i)
        ASSERT_EQ(Receive(device).message.msgid, i);
    bmc.expect({0x06, 0x04}, {0x00}).times(100);
    for (long i = 0; i < 100; ++i)
        ASSERT_EQ(Send({0x06, 0x04}, i).by(device), 0) << i << ": what was refused does not count";
    std::vector<Descriptor> users;
    for (int i = 1; i < 30; ++i)
        ASSERT_GE(users.emplace_back().get(), 0) << i;
    EXPECT_TRUE(Descriptor().get() < 0 && errno == EBUSY);
    users.clear();
    EXPECT_GE(Descriptor().get(), 0);
}

TEST_F(Driver, refusesCommandsForAWhile)
{
    bmc.expect({0x06, 0x02}, {0x00}).busy(30s);
    bmc.expect({0x06, 0x01}, {0x00});
    EXPECT_EQ(Send({0x06, 0x02}).by(device), 0);
    const Descriptor later;
    for (const auto passing : {0ms, 29'999ms}) {
        sim.clock().advance(passing);
        for (const Descriptor* user : {&device, &later})
            EXPECT_EQ(Send().by(*user), EBUSY);
        EXPECT_EQ(Send().to(0x01, 0, 0x82).by(device), EBUSY);
    }
    EXPECT_EQ(Receive(device).data(), Bytes{0x00}) << "the answer that came with it";
    sim.clock().advance(1ms);
    EXPECT_EQ(Send().by(later), 0);
}

TEST_F(Driver, sendsAMessageAgainOrGivesUpAsTheBmcAndTheSatelliteAnswer)
{
    struct Row {
        std::string rules; ///< of the fault plan; the messaging commands are 31h, 33h and 34h
        std::chrono::milliseconds delivered;
        std::uint8_t code = 0;
        std::uint64_t sent = 1; ///< Send Messages
        ipmi_timing_parms timing{-1, 0};
    };
    std::vector<Row> rows{
        {R"("cmd": 99)", 0ms},
        {R"("address": 130, "completion_code": 192)", 0ms, 0xc0},
        {R"("address": 130, "no_answer": true)", 10250ms, 0xc3, 5},
        {R"("address": 130, "no_answer": true)", 1000ms, 0xc3, 1, {0, 1000}},
        {R"("address": 130, "delay_ms": 1500)", 1000ms, 0xc3, 1, {0, 1000}},
        {R"("cmd": 1, "nth": 1, "delay_ms": 1500}, {"cmd": 1, "from": 2, "no_answer": true)", 1500ms, 0, 2, {1, 1000}},
        {R"("cmd": 52, "completion_code": 131)", 10250ms, 0xc3, 5},
        {R"("cmd": 51, "nth": 1, "change": [{"offset": 3, "value": 85}])", 0ms}, // checksums are not looked at
        {R"("cmd": 49, "count": 3, "completion_code": 255)", 300ms},
        {R"("cmd": 49, "nth": 1, "change": [{"offset": 1, "value": 0}])", 100ms},
        {R"("cmd": 51, "nth": 1, "completion_code": 255)", 100ms},
        {R"("cmd": 51, "nth": 1, "cut_to": 5)", 2050ms, 0, 2},
        {R"("cmd": 51, "nth": 1, "no_answer": true)", 100ms},
        {R"("cmd": 52, "nth": 1, "no_answer": true)", 2050ms, 0, 2},
    };
    for (const int again : {0x81, 0x82, 0x83, 0xc0}) // sent in the third try
        rows.push_back({R"("cmd": 52, "count": 2, "completion_code": )" + std::to_string(again), 4100ms, 0, 3});
    for (const std::uint8_t final : Bytes{0x80, 0xc1, 0xc3, 0xcb, 0xd3, 0xff})
        rows.push_back({R"("cmd": 52, "completion_code": )" + std::to_string(final), 0ms, final});
    for (const int at : {1, 2, 4, 5, 6}) // another's response
        rows.push_back(
            {R"("cmd": 51, "nth": 1, "change": [{"value": 85, "offset": )" + std::to_string(at) + "}]", 2050ms, 0, 2});
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rules);
        Sim::Bmc machine(Sim::parseMachine(R"({"controllers": [{"address": 130}]})", "file"));
        machine.setFaults(Sim::parseFaultPlan("{\"faults\": [{" + row.rules + "}]}", "plan"));
        SimNode node(machine, 1);
        const Descriptor device("/dev/ipmi1");
        ipmi_timing_parms timing = row.timing;
        EXPECT_EQ(device.control(IPMICTL_SET_TIMING_PARMS_CMD, &timing), 0);
        EXPECT_EQ(Send().to(0x01, 0, 0x82).by(device), 0);
        if (row.delivered != 0ms)
            sim.clock().advance(row.delivered - 1ms);
        EXPECT_EQ(device.ready() == 0, row.delivered != 0ms);
        sim.clock().advance(1ms);
        EXPECT_EQ(Receive(device).data().at(0), row.code);
        EXPECT_EQ(machine.count(0x06, 0x34), row.sent);
        sim.clock().advance(1min);
        EXPECT_EQ(device.ready(), 0) << "answered twice";
    }
}

TEST_F(Driver, fetchesWhatWaitsBeforeTheNextCommand)
{
    Sim::Bmc machine(Sim::parseMachine(R"({"controllers": [{"address": 130, "latency_ms": 50}]})", "file"));
    machine.setFaults(Sim::FaultPlan({{.cmd = 0x02, .action = {.delay = 100ms}}}));
    SimNode node(machine, 1);
    const Descriptor device("/dev/ipmi1");
    machine.keepLog(true);
    EXPECT_EQ(Send().to(0x01, 0, 0x82).by(device), 0); // its answer waits in the BMC while a command goes on
    for (const std::uint8_t cmd : Bytes{0x02, 0x04})
        EXPECT_EQ(Send({0x06, cmd}).by(device), 0);
    sim.clock().advance(100ms);
    Bytes order;
    for (const Sim::Request& request : machine.log())
        order.push_back(request.cmd);
    EXPECT_EQ(order, (Bytes{0x34, 0x01, 0x02, 0x31, 0x33, 0x33, 0x04}));
}

// More requests than there are sequence numbers, and none gets another's answer.
TEST_F(Driver, tellsManyResponsesApart)
{
    struct Echo final : Sim::Responder {
        Sim::Answer handle(const Sim::Request& request) override
        {
            return {.delay = std::chrono::milliseconds(500 - 2 * request.data.at(0)),
                    .bytes = {0x00, request.data.at(0)}};
        }
    } echo;
    SimNode served(echo, 1);
    const Descriptor device("/dev/ipmi1");
    for (std::uint8_t id = 0; id < 100; ++id)
        ASSERT_EQ(Send({0x06, 0x01, id}, id).to(0x01, 0, 0x82).by(device), 0);
    sim.clock().advance(1s);
    for (int i = 0; i < 100; ++i) {
        const Receive receive(device);
        EXPECT_EQ(receive.data().at(1), receive.message.msgid);
    }
}

TEST_F(Driver, eventsGoToThoseThatTakeThem)
{
    const Descriptor other;
    sim.device([](Sim::Device& driver) { driver.event(Bytes(16, 0x11)); }); // kept for the first taker
    int on = 1;
    EXPECT_EQ(device.control(IPMICTL_SET_GETS_EVENTS_CMD, &on), 0);
    sim.device([](Sim::Device& driver) { driver.event(Bytes(16, 0x22)); });
    EXPECT_EQ(other.ready(), 0);
    for (const std::uint8_t byte : Bytes{0x11, 0x22}) {
        const Receive receive(device);
        EXPECT_EQ(receive.message.recv_type, IPMI_ASYNC_EVENT_RECV_TYPE);
        EXPECT_EQ(receive.data(), Bytes(16, byte));
    }
}
