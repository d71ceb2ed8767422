// Every way that one exchange can go.
#include "node/NodeFixture.h"

#include <linux/ipmi.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <thread>

using namespace Ipmi;
using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

namespace
{

constexpr std::uint8_t kCmd = 0x01;
const Bytes kAsk{0x06, kCmd}, kGood{0x00, 0x11, 0x22};

class Exchange : public NodeFixture
{
protected:
    /// Hangs the device up as soon as somebody waits.
    struct HangUp final : Support::Timed {
        explicit HangUp(Support::SimNode& sim) : sim(sim) { sim.clock().attach(*this); }
        ~HangUp() override { sim.clock().detach(*this); }
        std::optional<std::chrono::milliseconds> nextDue() override
        {
            return armed ? std::optional(0ms) : std::nullopt;
        }
        void act() override
        {
            if (std::exchange(armed, false))
                sim.device([](Sim::Device& device) { device.hangUp(); });
        }
        Support::SimNode& sim;
        bool armed = false;
    };

    void silentThen(std::function<void()> action) { bmc.expect(kAsk, {}).silent().then(std::move(action)); }
    void pokePipe() { EXPECT_EQ(write(node.signalCmdPipeFds[FD_WRITE], "\xff", 1), 1); }

    HangUp hangUp{sim};
};

enum class End {
    kRecord,   ///< a reply
    kNoAnswer, ///< the supplied record with cc FFh, else null
    kNull,     ///< null; a supplied record stays with its owner
    kFreed,    ///< null; a supplied record is gone
};

TEST_F(Exchange, everyPathEndsAsDocumented)
{
    struct Path {
        const char* name;
        End end;
        int reopened;
        std::function<void()> prepare;
        std::vector<Support::LogLine> log; ///< FD stands for the descriptor
        int cc = 0, datalen = 3;
    };
    const Bytes longAnswer(40, 0x00);
    const Path paths[] = {
        {"answer", End::kRecord, 0, [&] { bmc.expect(kAsk, kGood); }, {}},
        {"completion code", End::kRecord, 0, [&] { bmc.expect(kAsk, {0xc1}); }, {}, 0xc1, 1},
        {"40 bytes", End::kRecord, 0, [&] { bmc.expect(kAsk, longAnswer); }, {}, 0, 32},
        {"no byte", End::kRecord, 0, [&] { silentThen([&] { deliver(1, 5, {}); }); }, {}, 0xef, 0},
        {"id unknown", End::kRecord, 0, [&] { silentThen([&] { deliver(1, 99, kGood); }); }, {}},
        {"send fails",
         End::kNoAnswer,
         1,
         [&] { sim.fail(IPMICTL_SEND_COMMAND, EIO); },
         {{LOG_ERR, "Node 0: ioctl IPMICTL_SEND_COMMAND(fd=FD), errno(5):Input/output error"}}},
        {"silence",
         End::kNoAnswer,
         0,
         [&] { silentThen({}); },
         {{LOG_WARNING, "Node 0: poll(fd=FD) timeout with no reply."}}},
        {"poll fails",
         End::kNoAnswer,
         0,
         [&] {
             silentThen({});
             sim.clock().failPoll(EINTR);
         },
         {{LOG_ERR, "Node 0: poll(fd=FD), errno=4 Interrupted system call"}}},
        {"hang-up", End::kNoAnswer, 0, [&] { silentThen([&] { hangUp.armed = true; }); }, {}},
        {"woken by the pipe", End::kNoAnswer, 0, [&] { silentThen([&] { pokePipe(); }); }, {}},
        {"receive finds nothing",
         End::kFreed,
         1,
         [&] {
             bmc.expect(kAsk, kGood);
             sim.fail(IPMICTL_RECEIVE_MSG_TRUNC, EAGAIN);
         },
         {}},
        {"receive fails",
         End::kFreed,
         1,
         [&] {
             bmc.expect(kAsk, kGood);
             sim.fail(IPMICTL_RECEIVE_MSG_TRUNC, EFAULT);
         },
         {{LOG_ERR, "Node 0: ioctl IPMICTL_RECEIVE_MSG_TRUNC(fd=FD), errno(14):Bad address"}}},
        {"event", End::kFreed, 0, [&] { silentThen([&] { deliver(2, 0, kGood); }); }, {}},
        {"shut down before", End::kNull, 0, [&] { node.shutdown = true; }, {}},
        {"shut down while waiting",
         End::kNull,
         0,
         [&] {
             silentThen([&] {
                 node.shutdown = true;
                 pokePipe();
             });
         },
         {}},
    };
    for (const Path& path : paths) {
        for (const bool supply : {false, true}) {
            SCOPED_TRACE(std::string(path.name) + (supply ? ", record supplied" : ""));
            ASSERT_GT(IpmiIfcOpenIpmiOpen(0), 0);
            const std::string fd = std::to_string(node.fd);
            path.prepare();
            ipmiifc_resp* supplied = nullptr;
            if (supply) {
                ASSERT_EQ(IpmiIfcRespNew(&supplied), 0);
                supplied->req.msg.data = new std::uint8_t[4]; // of its last use
            }
            const int opens = sim.calls(Support::SimNode::kOpen);
            ipmiifc_resp* resp = send(kCmd, 5, 0, supplied);

            ASSERT_EQ(resp != nullptr, path.end == End::kRecord || (path.end == End::kNoAnswer && supply));
            if (supply && resp) {
                EXPECT_EQ(resp, supplied);
            }
            if (path.end == End::kRecord) {
                EXPECT_EQ(resp->cc, path.cc);
                EXPECT_EQ(resp->datalen, path.datalen);
                EXPECT_EQ(resp->req.addr, nullptr);
                const auto used = std::span(resp->data).subspan(static_cast<std::size_t>(path.datalen));
                EXPECT_TRUE(std::ranges::all_of(used, [](std::uint8_t byte) { return byte == 0xef; }));
            } else if (resp) {
                EXPECT_EQ(resp->cc, kNoAnswer);
            }
            EXPECT_EQ(sim.calls(Support::SimNode::kOpen) - opens, path.reopened);
            auto expected = path.log;
            for (auto& line : expected)
                line.text.replace(line.text.find("FD)"), 2, fd);
            EXPECT_EQ(sim.log().complaints(), expected);

            if (path.end != End::kFreed && !resp)
                resp = supplied;
            IpmiIfcRespDel(&resp);
            node.shutdown = false;
            pollfd pipe{node.signalCmdPipeFds[FD_READ], POLLIN, 0};
            char poke;
            if (::poll(&pipe, 1, 0) > 0) {
                EXPECT_EQ(read(pipe.fd, &poke, 1), 1);
            }
            bmc.done();
            sim.log().clear();
        }
    }
}

TEST_F(Exchange, failedReopenSilencesTheNode)
{
    sim.fail(IPMICTL_SEND_COMMAND, EIO);
    sim.fail(Support::SimNode::kOpen, ENODEV);
    const std::string fd = std::to_string(node.fd);
    EXPECT_EQ(send(kCmd), nullptr);
    EXPECT_LT(node.fd, 0);
    EXPECT_EQ(node.deviceOpen, 0);
    const std::vector<Support::LogLine> expected{
        {LOG_ERR, "Node 0: ioctl IPMICTL_SEND_COMMAND(fd=" + fd + "), errno(5):Input/output error"},
        {LOG_ERR, "IpmiIfcOpenIpmiOpen: open(/dev/ipmi0, RDWR) failed 19 No such device"},
        {LOG_INFO, "Node 0: Unable to open node No such device"}};
    EXPECT_EQ(sim.log().lines(), expected);
    EXPECT_EQ(send(kCmd), nullptr);
    EXPECT_EQ(sim.calls(Support::SimNode::kOpen), 2);
}

TEST_F(Exchange, copiesTheRequestWhenAsked)
{
    bmc.expect({0x06, kCmd, 0xaa, 0xbb}, kGood).times(2);
    for (const unsigned int target : {0x20U, 0x82U}) {
        if (target == 0x82)
            bmc.expect({0x06, kCmd, 0xaa, 0xbb}, kGood).to(0x82, 2);
        node.targetAddress = target;
        node.targetLun = 2;
        ipmiifc_resp* resp = send(kCmd, 7, 1);
        ASSERT_NE(resp, nullptr);
        const ipmiifc_req& copy = resp->req;
        EXPECT_EQ(copy.msgid, 7);
        EXPECT_EQ(copy.msg.cmd, kCmd);
        EXPECT_EQ(Bytes(copy.msg.data, copy.msg.data + copy.msg.data_len), (Bytes{0xaa, 0xbb}));
        const Bytes bmcAddress{0x0c, 0, 0, 0, 0x0f, 0, 0, 0}, ipmb{0x01, 0, 0, 0, 0x00, 0, 0x82, 2};
        EXPECT_EQ(Bytes(copy.addr, copy.addr + copy.addr_len), target == 0x20 ? bmcAddress : ipmb);
        if (target == 0x20) { // reused: the copies of before are freed
            EXPECT_EQ(send(kCmd, 8, 1, resp), resp);
            bmc.expect({0x06, kCmd, 0xaa, 0xbb}, {0xc1});
            EXPECT_EQ(send(kCmd, 9, 1, resp), resp);
            EXPECT_EQ(resp->req.msg.data, nullptr);
        }
        EXPECT_EQ(IpmiIfcRespDel(&resp), 0);
        EXPECT_EQ(resp, nullptr);
    }
}

// --- answers that come after their exchange was given up

TEST_F(Exchange, lateAnswerIsNotTakenForTheNextOne)
{
    struct Row {
        const char* name;
        std::uint8_t cmd;
        long id;
        bool comes; ///< the late answer
        bool answered;
    };
    const Row rows[] = {
        {"another exchange", 0x02, 6, true, true},
        {"another command with the same id", 0x02, 5, true, true},
        {"the same in all", 0x01, 5, true, true},
        {"another exchange, the BMC has lost the first", 0x02, 6, false, true},
        {"another command with the same id, the BMC has lost the first", 0x02, 5, false, true},
        {"the same in all, the BMC has lost the first", 0x01, 5, false, false}, // nobody can tell: better no answer
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        ReopenPort(0);
        auto& first = bmc.expect({0x06, 0x01}, {0x00, 0x01});
        row.comes ? first.after(40s) : first.silent();
        EXPECT_EQ(send(0x01, 5), nullptr);
        bmc.expect({0x06, row.cmd}, {0x00, 0x02});
        const Response second(send(row.cmd, row.id));
        EXPECT_EQ(second.at(1), row.answered ? 0x02 : 0x00);
    }
}

TEST_F(Exchange, lateAnswersDoNotProlongTheWait)
{
    bmc.expect({0x06, 0x01}, {0x00, 0x01}).after(40s);
    EXPECT_EQ(send(0x01, 5), nullptr);
    bmc.expect({0x06, 0x02}, {0x00, 0x02}).after(25s); // the BMC begins with it 10 s into its exchange
    const auto before = sim.clock().steadyTime();
    ipmiifc_resp* supplied = nullptr;
    ASSERT_EQ(IpmiIfcRespNew(&supplied), 0);
    EXPECT_EQ(send(0x02, 6, 0, supplied), supplied);
    EXPECT_EQ(supplied->cc, kNoAnswer);
    EXPECT_EQ(sim.clock().steadyTime() - before, 30s);
    bmc.expect({0x06, 0x03}, {0x00, 0x03});
    EXPECT_EQ(send(0x03, 7, 0, supplied), supplied);
    EXPECT_EQ(supplied->data[1], 0x03);
    IpmiIfcRespDel(&supplied);
}

TEST_F(Exchange, everyGivenUpExchangeIsRemembered)
{
    const std::function<void()> ways[] = {
        [&] { sim.clock().failPoll(EINTR); },
        [&] { deliver(2, 0, kGood); }, // an event is not its answer, and not a late answer either
        [&] { pokePipe(); },
    };
    for (const auto& way : ways) {
        bmc.expect({0x06, 0x01}, {0x00, 0x01}).after(1s).then(way);
        EXPECT_EQ(send(0x01, 5), nullptr);
        char poke;
        if (&way == &ways[2]) {
            EXPECT_EQ(read(node.signalCmdPipeFds[FD_READ], &poke, 1), 1);
        }
        bmc.expect({0x06, 0x02}, {0x00, 0x02});
        const Response second(send(0x02, 6));
        EXPECT_EQ(second.at(1), 0x02);
    }
}

TEST_F(Exchange, anOpeningForgetsWhatWasGivenUp)
{
    bmc.expect({0x06, 0x01}, {0x00, 0x01}).silent();
    EXPECT_EQ(send(0x01, 5), nullptr);
    ReopenPort(0);
    bmc.expect({0x06, 0x02}, {0x00, 0x02});
    const Response second(send(0x02, 5));
    EXPECT_EQ(second.at(1), 0x02);
}

TEST(GivenUpIds, keepsTheLast64WithRepetitions)
{
    GivenUpIds ids;
    ids.useOpening(1);
    for (long id = 0; id < 70; ++id)
        ids.add({id, 6, 1});
    EXPECT_FALSE(ids.take(5));
    for (long id = 69; id > 5; --id)
        EXPECT_TRUE(ids.take(id)) << id;
    EXPECT_FALSE(ids.take(30));
    ids.add({1, 6, 1});
    ids.add({1, 6, 1});
    EXPECT_FALSE(ids.take({1, 6, 2}) || ids.take({1, 4, 1}));
    EXPECT_TRUE(ids.take({1, 6, 1}));
    ids.useOpening(1);
    EXPECT_TRUE(ids.take(1));
    EXPECT_FALSE(ids.take(1));
    ids.add({1, 6, 1});
    ids.useOpening(2);
    EXPECT_FALSE(ids.take(1));
}

// --- where exchanges go

TEST_F(Exchange, scopesChangeTheTargetOfTheirThreadAndNode)
{
    struct Expected {
        unsigned int address;
        std::uint8_t lun, channel;
    };
    const auto goesTo = [this](const Expected& expected) {
        if (expected.address == 0x20)
            bmc.expect(kAsk, kGood);
        else
            bmc.expect(kAsk, kGood).to(static_cast<std::uint8_t>(expected.address), expected.lun, expected.channel);
        EXPECT_TRUE(sendCommand(0, 0x06, kCmd));
        bmc.done();
    };
    goesTo({0x20, 0, 0});
    node.targetAddress = 0x82;
    node.targetLun = 1;
    node.targetChannel = 0xf0; // the low four bits count
    goesTo({0x82, 1, 0});
    {
        const TargetScope outer(0, 0x2c, 2, 0);
        goesTo({0x2c, 2, 0});
        try {
            const TargetScope inner(0, 0x20, 3, 0);
            const TargetScope other(1, 0x40, 0, 0);
            goesTo({0x20, 0, 0});
            std::thread([&] { goesTo({0x82, 1, 0}); }).join();
            throw 1;
        } catch (int) {
        }
        goesTo({0x2c, 2, 0});
    }
    goesTo({0x82, 1, 0});
}

// --- the owning form

TEST_F(Exchange, theOwningFormNeitherLeaksNorShowsOldAnswers)
{
    const std::function<void()> ways[] = {
        [&] { bmc.expect(kAsk, kGood); },
        [&] { sim.fail(IPMICTL_SEND_COMMAND, EIO); },
        [&] { silentThen({}); },
        [&] {
            bmc.expect(kAsk, kGood);
            sim.fail(IPMICTL_RECEIVE_MSG_TRUNC, EIO);
        },
        [&] { silentThen([&] { deliver(2, 0, kGood); }); },
        [&] { node.shutdown = true; },
    };
    for (const auto& before : ways) {
        for (const auto& way : ways) {
            Response response;
            before();
            sendCommand(0, 0x06, kCmd, {}, response);
            node.shutdown = false;
            way();
            sendCommand(0, 0x06, kCmd, {}, response);
            node.shutdown = false;
            const bool answered = &way == &ways[0];
            EXPECT_EQ(Bytes(response.bytes().begin(), response.bytes().end()), answered ? kGood : Bytes());
            EXPECT_EQ(response.at(1), answered ? 0x11 : 0);
            EXPECT_EQ(response.at(32), 0);
            if (response && !answered) {
                EXPECT_EQ(response->cc, kNoAnswer);
            }
        }
    }
    const Bytes tooLong(0x10000);
    EXPECT_FALSE(sendCommand(0, 0x06, kCmd, tooLong));
}

TEST_F(Exchange, messageIdsCountFrom1445)
{
    InitIpmiNode(0);
    bmc.expect(kAsk, kGood).times(2);
    for (const int id : {1445, 1446}) {
        ipmiifc_resp* resp = IpmiIfcSendCmd(0, kCmd, 0x06, 77, 0, nullptr, 1);
        ASSERT_NE(resp, nullptr);
        EXPECT_EQ(resp->req.msgid, id);
        IpmiIfcRespDel(&resp);
    }
    node.nextMsgId = INT_MAX;
    bmc.expect(kAsk, kGood);
    EXPECT_TRUE(sendCommand(0, 0x06, kCmd));
    EXPECT_EQ(node.nextMsgId, INT_MIN);
}

TEST_F(Exchange, sendCmdCopiesWhatFits)
{
    const Bytes sixteen{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, forty(40, 0);
    struct Row {
        Bytes answer; ///< empty: none
        unsigned short room;
        int result, length;
    };
    const Row rows[] = {
        {sixteen, 16, 0, 16}, {sixteen, 40, 0, 16}, {sixteen, 4, 16, 4},        {sixteen, 0, 16, 0}, {forty, 32, 0, 32},
        {forty, 31, 16, 31},  {{0}, 1, 0, 1},       {{0xc1, 1, 2}, 9, 0xc1, 9}, {{}, 9, 0xff, 9},
    };
    for (const Row& row : rows) {
        auto& step = bmc.expect({0x06, kCmd, 0x77}, row.answer);
        if (row.answer.empty())
            step.silent();
        unsigned char data[] = {0x77}, out[40];
        std::fill(std::begin(out), std::end(out), 0x5a);
        unsigned short length = row.room;
        EXPECT_EQ(IpmiIfc::sendCmd(kCmd, 0x06, 1, data, &length, out), row.result);
        EXPECT_EQ(length, row.length);
        const bool copied = row.result == 0 || row.result == 16;
        for (std::size_t i = 0; i < sizeof out; ++i)
            ASSERT_EQ(out[i], copied && i < length ? row.answer[i] : 0x5a) << i;
    }
    silentThen([&] { deliver(1, 1, {}); });
    EXPECT_EQ(IpmiIfc::sendCmd(kCmd, 0x06, 0, nullptr, nullptr, nullptr), 0xff); // an answer without a byte
    bmc.expect(kAsk, kGood).times(2);
    unsigned short room = 7;
    EXPECT_EQ(IpmiIfc::sendCmd(kCmd, 0x06, 0, nullptr, &room, nullptr), 16);
    EXPECT_EQ(room, 0);
    unsigned char out[3];
    EXPECT_EQ(IpmiIfc::sendCmd(kCmd, 0x06, 0, nullptr, nullptr, out), 16);
}

TEST_F(Exchange, badArgumentsGetNoAnswer)
{
    ipmiifc_req req;
    ipmiifc_resp* none = nullptr;
    for (const int bad : {-1, kNodeCount, INT_MAX, INT_MIN}) {
        EXPECT_EQ(IpmiIfcSendWresponse(bad, &req, 0, nullptr), nullptr);
        EXPECT_EQ(IpmiIfcSendCmd(bad, 1, 6, 0, 0, nullptr, 0), nullptr);
        EXPECT_EQ(IpmiIfc::OemIpmiIfcSend(bad, &req, 0), nullptr);
        EXPECT_EQ(IpmiIfc::sendCmd(bad, 1, 6, 0, nullptr, nullptr, nullptr), 0xff);
        EXPECT_FALSE(sendCommand(bad, 6, 1));
    }
    EXPECT_EQ(IpmiIfcSendWresponse(0, nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(IpmiIfc::sendCmd(1, 6, 5, nullptr, nullptr, nullptr), 0xff);
    EXPECT_EQ(sim.calls(Support::SimNode::kOpen), 1); // the device has not seen it
    EXPECT_EQ(IpmiIfcRespNew(nullptr), -1);
    EXPECT_EQ(IpmiIfcRespReuse(nullptr), -1);
    EXPECT_EQ(IpmiIfcRespDel(nullptr), -1);
    EXPECT_EQ(IpmiIfcRespDel(&none), -1);
}

} // namespace
