// What the simulated driver's requests do, beside what the Linux driver was seen to do.
#include "sim/Bmc.h"
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
#include <numeric>
#include <tuple>

using namespace std::chrono_literals;
using Support::ScriptedBmc;
using Support::SimNode;
using Bytes = std::vector<std::uint8_t>;

namespace
{

class Descriptor
{
public:
    explicit Descriptor(const char* path = "/dev/ipmi0", int flags = O_RDWR | O_CLOEXEC) : fd_(::open(path, flags)) {}
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    ~Descriptor()
    {
        if (fd_ >= 0)
            ::close(fd_);
    }
    int fd() const { return fd_; }
    /// 0 or the errno.
    int control(unsigned long request, void* argument) const
    {
        return ::ioctl(fd_, request, argument) == 0 ? 0 : errno;
    }
    short ready(short wanted = POLLIN) const
    {
        pollfd waiting{fd_, wanted, 0};
        ::poll(&waiting, 1, 0);
        return waiting.revents;
    }

private:
    int fd_;
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
    Send& to(int type, short channel, std::uint8_t byte6, std::uint8_t byte7 = 0)
    {
        const ipmi_ipmb_addr given{type, channel, byte6, byte7};
        std::memcpy(address.data(), &given, sizeof given);
        return *this;
    }
    Send& length(std::size_t size)
    {
        data.resize(size);
        request.msg.data_len = static_cast<std::uint16_t>(size);
        return *this;
    }
    int by(const Descriptor& device) { return device.control(IPMICTL_SEND_COMMAND, &request); }
};

struct Receive {
    std::array<std::uint8_t, 64> address{};
    Bytes room;
    ipmi_recv message{};

    explicit Receive(std::uint16_t size = 64) : room(size, 0xef)
    {
        message.addr = address.data();
        message.addr_len = sizeof address;
        message.msg.data = room.data();
        message.msg.data_len = size;
        message.recv_type = -1;
    }
    int by(const Descriptor& device, unsigned long request = IPMICTL_RECEIVE_MSG_TRUNC)
    {
        return device.control(request, &message);
    }
    Bytes data() const { return {room.begin(), room.begin() + message.msg.data_len}; }
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
        EXPECT_GE(Descriptor(path).fd(), 0) << path;
    for (const int fd : {::open64("/dev/ipmi0", O_RDWR), ::openat(AT_FDCWD, "/dev/ipmi0", O_RDWR),
                         ::openat64(AT_FDCWD, "/dev/ipmi0", O_RDWR)})
        EXPECT_EQ(::close(fd), 0);
    EXPECT_EQ(Sim::Shim::served() - before, 6U) << "the shim is bypassed";
    for (const char* path : {"/dev/ipmi1", "/dev/ipmi", "/dev/ipmix", "/dev/ipmi00000000000", "/dev/ipmi256"})
        EXPECT_TRUE(Descriptor(path).fd() < 0 && errno == ENOENT && ::access(path, F_OK) == -1) << path;
    EXPECT_EQ(::access("/dev/ipmi0", R_OK | W_OK), 0);
    for (const int closeOnExec : {O_CLOEXEC, 0})
        EXPECT_EQ(::fcntl(Descriptor("/dev/ipmi0", O_RDWR | closeOnExec).fd(), F_GETFD) != 0, closeOnExec != 0);
}

TEST_F(Driver, knowsItsDescriptorsByMoreThanTheirNumber)
{
    EXPECT_EQ(::ioctl(STDIN_FILENO, IPMICTL_GET_MY_ADDRESS_CMD, nullptr), -1) << "not a device";
    const int copy = ::dup(device.fd());
    EXPECT_EQ(::ioctl(copy, IPMICTL_GET_MY_ADDRESS_CMD, &value), 0) << "duplicated";
    ::close(copy);
    EXPECT_EQ(device.control(IPMICTL_GET_MY_ADDRESS_CMD, &value), 0);
    const Descriptor other("/dev/null");
    ::dup2(other.fd(), device.fd()); // the device is closed behind the shim's back
    EXPECT_EQ(device.control(IPMICTL_GET_MY_ADDRESS_CMD, &value), ENOTTY) << "another file by now";
}

TEST_F(Driver, answersCarryWhatTheDriverFillsIn)
{
    struct Row {
        const char* name;
        int type;
        std::uint8_t channel, byte6, byte7;
    };
    sim.device([](Sim::Device& driver) { driver.setIpmbChannels(1U << 0 | 1U << 6); });
    const Descriptor later; // the channels hold for those that open from now on
    for (const Row& row : {Row{"the BMC", 0x0c, 15, 0, 0}, Row{"the BMC, LUN 3", 0x0c, 15, 3, 0},
                           Row{"a satellite", 0x01, 0, 0x82, 2}, Row{"another IPMB", 0x01, 6, 0x2c, 0}}) {
        SCOPED_TRACE(row.name);
        auto& step = bmc.expect({0x06, 0x01, 0xaa}, {0x00, 0x20});
        row.type == 0x0c ? step.lun(row.byte6) : step.to(row.byte6, row.byte7, row.channel);
        Send send({0x06, 0x01, 0xaa}, 0x123456789abcL);
        EXPECT_EQ(later.ready(), 0);
        EXPECT_EQ(send.to(row.type, row.channel, row.byte6, row.byte7).by(later), 0);
        EXPECT_EQ(later.ready(POLLIN | POLLRDNORM | POLLPRI), POLLIN | POLLRDNORM);
        Receive receive;
        EXPECT_EQ(receive.by(later), 0);
        const ipmi_recv& message = receive.message;
        EXPECT_EQ(std::tuple(message.recv_type, message.msgid, message.msg.netfn, message.msg.cmd, message.addr_len),
                  std::tuple(IPMI_RESPONSE_RECV_TYPE, 0x123456789abcL, 0x07, 0x01, 8U));
        EXPECT_EQ(receive.data(), (Bytes{0x00, 0x20}));
        EXPECT_EQ(std::memcmp(receive.address.data(), send.address.data(), 8), 0);
        EXPECT_EQ(later.ready(), 0);
    }
}

TEST_F(Driver, refusesBadRequests)
{
    const struct {
        const char* name;
        int error;
        void (*bend)(Send&);
    } rows[] = {
        {"271 bytes", EMSGSIZE, [](Send& s) { s.length(271); }},
        {"odd network function", EINVAL, [](Send& s) { s.request.msg.netfn = 0x07; }},
        {"short address", EINVAL, [](Send& s) { s.request.addr_len = 7; }},
        {"long address", EINVAL, [](Send& s) { s.request.addr_len = 41; }},
        {"the driver's own Send Message", EINVAL, [](Send& s) { s.request.msg.cmd = 0x34; }},
        {"broadcast of a reset", EINVAL, [](Send& s) { s.to(0x41, 0, 0x82), s.request.msg.cmd = 0x02; }},
        {"bad address pointer", EFAULT, [](Send& s) { s.request.addr = nullptr; }},
        {"unmapped address pointer", EFAULT, [](Send& s) { s.request.addr = reinterpret_cast<std::uint8_t*>(-64L); }},
        {"bad data pointer", EFAULT,
         [](Send& s) { s.length(2), s.request.msg.data = reinterpret_cast<std::uint8_t*>(1); }},
    };
    for (const auto& row : rows) {
        Send send;
        row.bend(send);
        EXPECT_EQ(send.by(device), row.error) << row.name;
    }
    // BMC on channel 0, LUN 4 of the BMC and of a satellite, an unknown type, channels without an IPMB
    const std::array<int, 4> addresses[] = {{0x0c, 0, 0, 0}, {0x0c, 15, 4, 0}, {0x01, 0, 0x82, 4}, {0x22, 0, 0, 0},
                                            {1, 1, 0x82, 0}, {1, 12, 0x82, 0}, {1, -1, 0x82, 0}};
    for (const auto& [type, channel, byte6, byte7] : addresses)
        EXPECT_EQ(Send()
                      .to(type, static_cast<short>(channel), static_cast<std::uint8_t>(byte6),
                          static_cast<std::uint8_t>(byte7))
                      .by(device),
                  EINVAL)
            << type << ' ' << channel;
    for (const auto request : {IPMICTL_SEND_COMMAND, IPMICTL_RECEIVE_MSG})
        EXPECT_EQ(device.control(request, nullptr), EFAULT) << request;
    for (const unsigned long request : {_IO('i', 99), static_cast<unsigned>(TIOCGWINSZ)})
        EXPECT_EQ(device.control(request, nullptr), ENOTTY) << request;
    EXPECT_EQ(bmc.handled(), 0);
    bmc.expect({0x06, 0x01}, {0x00}); // no pointer: no data, whatever the length says
    Send noData;
    noData.length(9).request.msg.data = nullptr;
    EXPECT_EQ(noData.by(device), 0);
    Bytes longest(272, 0);
    longest[0] = 0x06, longest[1] = 0x01;
    bmc.expect(longest, {0x00});
    EXPECT_EQ(Send(longest).by(device), 0) << "270 bytes fit";
}

TEST_F(Driver, receivesByTheRoomGiven)
{
    const struct {
        const char* name;
        unsigned long request;
        std::uint16_t room, addressRoom;
        int error;
        bool consumed;
        std::uint8_t given;
    } rows[] = {
        {"fits", IPMICTL_RECEIVE_MSG_TRUNC, 40, 64, 0, true, 40},
        {"fits, not truncating", IPMICTL_RECEIVE_MSG, 40, 8, 0, true, 40},
        {"cut", IPMICTL_RECEIVE_MSG_TRUNC, 32, 64, EMSGSIZE, true, 32},
        {"cut to nothing", IPMICTL_RECEIVE_MSG_TRUNC, 0, 64, EMSGSIZE, true, 0},
        {"stays", IPMICTL_RECEIVE_MSG, 39, 64, EMSGSIZE, false, 0},
        {"address room 4", IPMICTL_RECEIVE_MSG_TRUNC, 64, 4, EINVAL, false, 0},
        {"address room 4, not truncating", IPMICTL_RECEIVE_MSG, 64, 4, EINVAL, false, 0},
    };
    Bytes answer(40);
    std::iota(answer.begin(), answer.end(), std::uint8_t{0});
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        bmc.expect({0x06, 0x01}, answer);
        ASSERT_EQ(Send().by(device), 0);
        Receive receive(64);
        receive.message.msg.data_len = row.room;
        receive.message.addr_len = row.addressRoom;
        EXPECT_EQ(receive.by(device, row.request), row.error);
        EXPECT_EQ(device.ready() == 0, row.consumed);
        EXPECT_EQ(receive.room[row.given], 0xef) << "past the room";
        if (row.consumed) {
            EXPECT_EQ(receive.data(), Bytes(answer.begin(), answer.begin() + row.given));
            EXPECT_EQ(receive.message.recv_type, IPMI_RESPONSE_RECV_TYPE);
        } else {
            EXPECT_EQ(receive.message.recv_type, -1) << "untouched";
            Receive again;
            EXPECT_EQ(again.by(device), 0);
            EXPECT_EQ(again.data(), answer);
        }
        Receive nothing;
        EXPECT_EQ(nothing.by(device, row.request), EAGAIN);
        EXPECT_EQ(nothing.message.recv_type, -1);
    }
}

TEST_F(Driver, keepsSettingsPerDescriptor)
{
    const Descriptor other;
    ipmi_timing_parms timing{};
    const auto timingOf = [&](const Descriptor& of) {
        EXPECT_EQ(of.control(IPMICTL_GET_TIMING_PARMS_CMD, &timing), 0);
        return std::pair(timing.retries, timing.retry_time_ms);
    };
    timing = {7, 1234};
    EXPECT_EQ(device.control(IPMICTL_SET_TIMING_PARMS_CMD, &timing), 0);
    EXPECT_EQ(timingOf(other), std::pair(-1, 0U));
    EXPECT_EQ(timingOf(device), std::pair(7, 1234U));

    const struct {
        const char* name;
        unsigned long set, get;
        unsigned int before, given, after;
        int error = 0;
    } rows[] = {
        {"address", IPMICTL_SET_MY_ADDRESS_CMD, IPMICTL_GET_MY_ADDRESS_CMD, 0x20, 0x182, 0x82},
        {"LUN", IPMICTL_SET_MY_LUN_CMD, IPMICTL_GET_MY_LUN_CMD, 2, 7, 3},
        {"maintenance", IPMICTL_SET_MAINTENANCE_MODE_CMD, IPMICTL_GET_MAINTENANCE_MODE_CMD, 0, 2, 2},
        {"no such mode", IPMICTL_SET_MAINTENANCE_MODE_CMD, IPMICTL_GET_MAINTENANCE_MODE_CMD, 2, 3, 2, EINVAL},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_TRUE(device.control(row.get, &value) == 0 && value == row.before) << value;
        value = row.given;
        EXPECT_EQ(device.control(row.set, &value), row.error);
        EXPECT_TRUE(device.control(row.get, &value) == 0 && value == row.after) << value;
    }
    ipmi_channel_lun_address_set set{11, 0x42};
    EXPECT_EQ(device.control(IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD, &set), 0);
    set.value = 0;
    EXPECT_TRUE(device.control(IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD, &set) == 0 && set.value == 0x42);
    set.channel = 12;
    EXPECT_EQ(device.control(IPMICTL_GET_MY_CHANNEL_LUN_CMD, &set), EINVAL);

    ipmi_cmdspec spec{0x06, 0x01};
    ipmi_cmdspec_chans onChannels{0x06, 0x01, 1U << 3};
    EXPECT_EQ(device.control(IPMICTL_UNREGISTER_FOR_CMD, &spec), ENOENT);
    EXPECT_EQ(device.control(IPMICTL_REGISTER_FOR_CMD, &spec), 0);
    EXPECT_EQ(other.control(IPMICTL_REGISTER_FOR_CMD_CHANS, &onChannels), EBUSY);
    EXPECT_EQ(device.control(IPMICTL_UNREGISTER_FOR_CMD_CHANS, &onChannels), 0);
    EXPECT_EQ(other.control(IPMICTL_REGISTER_FOR_CMD_CHANS, &onChannels), 0);
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
    for (long i = 0; i < 100; ++i) {
        Receive receive;
        ASSERT_EQ(receive.by(device), 0);
        ASSERT_EQ(receive.message.msgid, i);
    }
    std::vector<Descriptor> users;
    for (int i = 1; i < 30; ++i)
        ASSERT_GE(users.emplace_back().fd(), 0) << i;
    EXPECT_TRUE(Descriptor().fd() < 0 && errno == EBUSY);
    users.clear();
    EXPECT_GE(Descriptor().fd(), 0);
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
    EXPECT_EQ(Receive().by(device), 0) << "the answer that came with it";
    sim.clock().advance(1ms);
    EXPECT_EQ(Send().by(later), 0);
}

TEST_F(Driver, sendsAMessageAgainOrGivesUpAsTheBmcAndTheSatelliteAnswer)
{
    using Sim::FaultAction;
    struct Row {
        const char* name;
        std::vector<Sim::FaultRule> rules;
        std::chrono::milliseconds delivered;
        std::uint8_t code = 0;
        std::uint64_t sent = 1; ///< Send Messages
        ipmi_timing_parms timing{-1, 0};
    };
    using Rules = std::vector<Sim::FaultRule>;
    const auto satellite = [](const FaultAction& first, const FaultAction& later = {}) {
        return Rules{{.address = 0x82, .count = 1, .action = first}, {.address = 0x82, .from = 2, .action = later}};
    };
    const auto bmcs = [](std::uint8_t cmd, const FaultAction& action, std::uint64_t count = 1) {
        return Rules{{.cmd = cmd, .count = count, .action = action}};
    };
    constexpr std::uint8_t kFlags = 0x31, kGet = 0x33, kSend = 0x34;
    std::vector<Row> rows{
        {"all is well", bmcs(0xee, {}), 0ms},
        {"satellite busy", satellite({.completionCode = 0xc0}), 0ms, 0xc0},
        {"satellite silent", satellite({.noAnswer = true}, {.noAnswer = true}), 10250ms, 0xc3, 5},
        {"no more tries", satellite({.noAnswer = true}), 1000ms, 0xc3, 1, {0, 1000}},
        {"late", satellite({.delay = 1500ms}), 1000ms, 0xc3, 1, {0, 1000}},
        {"in the second try", satellite({.delay = 1500ms}, {.noAnswer = true}), 1500ms, 0x00, 2, {1, 1000}},
        {"never sent", bmcs(kSend, {.completionCode = 0x83}, 0), 10250ms, 0xc3, 5},
        {"checksums are not looked at", bmcs(kGet, {.changed = {{3, 0x55}}}), 0ms},
        {"flags refused", bmcs(kFlags, {.completionCode = 0xff}, 3), 300ms},
        {"flags empty", bmcs(kFlags, {.changed = {{1, 0}}}), 100ms},
        {"Get Message refused", bmcs(kGet, {.completionCode = 0xff}), 100ms},
        {"Get Message cut", bmcs(kGet, {.cutTo = 5}), 2050ms, 0, 2},
        {"Get Message silent", bmcs(kGet, {.noAnswer = true}), 100ms},
        {"Send Message silent", bmcs(kSend, {.noAnswer = true}), 2050ms, 0, 2},
    };
    for (const std::uint8_t again : Bytes{0x81, 0x82, 0x83, 0xc0})
        rows.push_back({"sent in the third try", bmcs(kSend, {.completionCode = again}, 2), 4100ms, 0, 3});
    for (const std::uint8_t final : Bytes{0x80, 0xc1, 0xc3, 0xcb, 0xd3, 0xff})
        rows.push_back({"refused", bmcs(kSend, {.completionCode = final}, 0), 0ms, final});
    for (const std::uint8_t offset : Bytes{1, 2, 4, 5, 6})
        rows.push_back({"another's response", bmcs(kGet, {.changed = {{offset, 0x55}}}), 2050ms, 0, 2});
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Sim::Bmc machine(Sim::parseMachine(R"({"controllers": [{"address": 130}]})", "file"));
        machine.setFaults(Sim::FaultPlan(row.rules));
        SimNode node(machine, 1);
        const Descriptor device("/dev/ipmi1");
        ipmi_timing_parms timing = row.timing;
        EXPECT_EQ(device.control(IPMICTL_SET_TIMING_PARMS_CMD, &timing), 0);
        EXPECT_EQ(Send().to(0x01, 0, 0x82).by(device), 0);
        if (row.delivered != 0ms)
            sim.clock().advance(row.delivered - 1ms);
        EXPECT_EQ(device.ready() == 0, row.delivered != 0ms);
        sim.clock().advance(1ms);
        Receive receive;
        ASSERT_EQ(receive.by(device), 0);
        EXPECT_EQ(receive.data().at(0), row.code);
        EXPECT_EQ(machine.count(0x06, 0x34), row.sent);
        sim.clock().advance(1min);
        EXPECT_EQ(device.ready(), 0) << "answered twice";
    }
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
        Receive receive;
        ASSERT_EQ(receive.by(device), 0) << i;
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
    for (const std::uint8_t byte : {std::uint8_t{0x11}, std::uint8_t{0x22}}) {
        Receive receive;
        EXPECT_EQ(receive.by(device), 0);
        EXPECT_EQ(receive.message.recv_type, IPMI_ASYNC_EVENT_RECV_TYPE);
        EXPECT_EQ(receive.data(), Bytes(16, byte));
    }
}
