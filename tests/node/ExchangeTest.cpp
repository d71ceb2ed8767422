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

namespace
{

constexpr std::uint8_t kCmd = 0x01;

class Exchange : public NodeFixture
{
protected:
    enum class End {
        kRecord,   ///< a reply
        kNoAnswer, ///< the supplied record with cc FFh, else null
        kNull,     ///< null; a supplied record stays with its owner
        kFreed,    ///< null; a supplied record is gone
    };
    struct Path {
        const char* name;
        End end;
        std::function<void()> prepare;
        std::vector<Support::LogLine> log; ///< FD stands for the descriptor
        int reopened = 0, cc = 0, datalen = 3;
    };

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

    void answer(const Bytes& bytes) { bmc.expect(kAsk, bytes); }
    void silence(std::function<void()> then = {}) { bmc.expect(kAsk, {}).silent().then(std::move(then)); }
    void pokePipe() { EXPECT_EQ(write(node.signalCmdPipeFds[FD_WRITE], "\xff", 1), 1); }
    void failReceive(int error)
    {
        answer(kGood);
        sim.fail(IPMICTL_RECEIVE_MSG_TRUNC, error);
    }
    void failPoll()
    {
        silence();
        sim.clock().failPoll(EINTR);
    }
    void shutDown()
    {
        node.shutdown = true;
        pokePipe();
    }
    void settle()
    {
        node.shutdown = false;
        pollfd pipe{node.signalCmdPipeFds[FD_READ], POLLIN, 0};
        char poke;
        if (::poll(&pipe, 1, 0) > 0) {
            EXPECT_EQ(read(pipe.fd, &poke, 1), 1);
        }
        bmc.done();
        sim.log().clear();
        ASSERT_GT(IpmiIfcOpenIpmiOpen(0), 0);
    }

    const Bytes kAsk{0x06, kCmd}, kGood{0x00, 0x11, 0x22};
    HangUp hangUp{sim};
    const Support::LogLine kTimeOut{LOG_WARNING, "Node 0: poll(fd=FD) timeout with no reply."},
        kPollFailed{LOG_ERR, "Node 0: poll(fd=FD), errno=4 Interrupted system call"},
        kSendFailed{LOG_ERR, "Node 0: ioctl IPMICTL_SEND_COMMAND(fd=FD), errno(5):Input/output error"},
        kReceiveFailed{LOG_ERR, "Node 0: ioctl IPMICTL_RECEIVE_MSG_TRUNC(fd=FD), errno(14):Bad address"};
    const Path paths[15] = {
        {"answer", End::kRecord, [&] { answer(kGood); }, {}},
        {"completion code", End::kRecord, [&] { answer({0xc1}); }, {}, 0, 0xc1, 1},
        {"40 bytes", End::kRecord, [&] { answer(Bytes(40, 0x00)); }, {}, 0, 0, 32},
        {"no byte", End::kRecord, [&] { silence([&] { deliver(1, 5, {}); }); }, {}, 0, 0xef, 0},
        {"id unknown", End::kRecord, [&] { silence([&] { deliver(1, 99, kGood); }); }, {}},
        {"send fails", End::kNoAnswer, [&] { sim.fail(IPMICTL_SEND_COMMAND, EIO); }, {kSendFailed}, 1},
        {"silence", End::kNoAnswer, [&] { silence(); }, {kTimeOut}},
        {"poll fails", End::kNoAnswer, [&] { failPoll(); }, {kPollFailed}},
        {"hang-up", End::kNoAnswer, [&] { silence([&] { hangUp.armed = true; }); }, {}},
        {"woken by the pipe", End::kNoAnswer, [&] { silence([&] { pokePipe(); }); }, {}},
        {"receive finds nothing", End::kFreed, [&] { failReceive(EAGAIN); }, {}, 1},
        {"receive fails", End::kFreed, [&] { failReceive(EFAULT); }, {kReceiveFailed}, 1},
        {"event", End::kFreed, [&] { silence([&] { deliver(2, 0, kGood); }); }, {}},
        {"shut down before", End::kNull, [&] { node.shutdown = true; }, {}},
        {"shut down while waiting", End::kNull, [&] { silence([&] { shutDown(); }); }, {}},
    };
};

TEST_F(Exchange, everyPathEndsAsDocumented)
{
    for (const Path& path : paths) {
        for (const bool supply : {false, true}) {
            SCOPED_TRACE(std::string(path.name) + (supply ? ", record supplied" : ""));
            settle();
            auto expected = path.log;
            for (auto& line : expected)
                line.text.replace(line.text.find("FD)"), 2, std::to_string(node.fd));
            path.prepare();
            ipmiifc_resp* supplied = nullptr;
            if (supply) {
                ASSERT_EQ(IpmiIfcRespNew(&supplied), 0);
                supplied->req.msg.data = new std::uint8_t[4]; // of its last use
            }
            const int opens = sim.calls(Support::SimNode::kOpen);
            ipmiifc_resp* resp = send(kCmd, 5, 0, supplied);

            ASSERT_EQ(resp != nullptr, path.end == End::kRecord || (path.end == End::kNoAnswer && supply));
            EXPECT_TRUE(!supply || !resp || resp == supplied);
            if (path.end == End::kRecord) {
                EXPECT_EQ(resp->cc, path.cc);
                EXPECT_EQ(resp->datalen, path.datalen);
                EXPECT_EQ(resp->req.addr, nullptr);
                const auto unused = std::span(resp->data).subspan(static_cast<std::size_t>(path.datalen));
                EXPECT_TRUE(std::ranges::all_of(unused, [](std::uint8_t byte) { return byte == 0xef; }));
            } else if (resp) {
                EXPECT_EQ(resp->cc, kNoAnswer);
            }
            EXPECT_EQ(sim.calls(Support::SimNode::kOpen) - opens, path.reopened);
            EXPECT_EQ(sim.log().complaints(), expected);
            if (path.end != End::kFreed && !resp)
                resp = supplied;
            IpmiIfcRespDel(&resp);
        }
        Response owning; // the same, reused
        settle();
        answer(Bytes(40, 0x00));
        sendCommand(0, 0x06, kCmd, {}, owning);
        settle();
        path.prepare();
        sendCommand(0, 0x06, kCmd, {}, owning);
        EXPECT_EQ(owning.bytes().size(), path.end == End::kRecord ? static_cast<std::size_t>(path.datalen) : 0);
        EXPECT_EQ(owning.at(2), path.end == End::kRecord && path.datalen == 3 ? 0x22 : 0);
        EXPECT_TRUE(!owning || owning->cc == (path.end == End::kRecord ? path.cc : kNoAnswer));
    }
}

TEST_F(Exchange, failedReopenSilencesTheNode)
{
    sim.fail(IPMICTL_SEND_COMMAND, EIO);
    sim.fail(Support::SimNode::kOpen, ENODEV);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(send(kCmd), nullptr);
    EXPECT_LT(node.fd, 0);
    EXPECT_EQ(node.deviceOpen, 0);
    EXPECT_TRUE(sim.log().has(LOG_ERR, "IpmiIfcOpenIpmiOpen: open(/dev/ipmi0, RDWR) failed 19 No such device"));
    EXPECT_TRUE(sim.log().has(LOG_INFO, "Node 0: Unable to open node No such device"));
    EXPECT_EQ(sim.calls(Support::SimNode::kOpen), 2);
}

TEST_F(Exchange, copiesTheRequestWhenAsked)
{
    const std::pair<std::uint8_t, Bytes> rows[] = {{0x20, {0x0c, 0, 0, 0, 0x0f, 0, 0, 0}}, // addresses as the driver's
                                                   {0x82, {0x01, 0, 0, 0, 0x00, 0, 0x82, 2}}};
    for (const auto& [target, address] : rows) {
        node.targetAddress = target;
        node.targetLun = 2;
        ipmiifc_resp* resp = nullptr;
        for (const long id : {7, 8, 9}) { // reused: the copies of before are freed
            auto& step = bmc.expect({0x06, kCmd, 0xaa, 0xbb}, id == 9 ? Bytes{0xc1} : kGood);
            if (target != 0x20)
                step.to(target, 2);
            resp = send(kCmd, id, 1, resp);
            ASSERT_NE(resp, nullptr);
            const ipmiifc_req& copy = resp->req;
            ASSERT_EQ(copy.msg.data == nullptr, id == 9) << "only with a good answer";
            if (id == 9)
                continue;
            EXPECT_TRUE(copy.msgid == id && copy.msg.cmd == kCmd);
            EXPECT_EQ(Bytes(copy.msg.data, copy.msg.data + copy.msg.data_len), (Bytes{0xaa, 0xbb}));
            EXPECT_EQ(Bytes(copy.addr, copy.addr + copy.addr_len), address);
        }
        EXPECT_EQ(IpmiIfcRespDel(&resp), 0);
        EXPECT_EQ(resp, nullptr);
    }
}

// --- answers that come after their exchange was given up

TEST_F(Exchange, lateAnswerIsNotTakenForTheNextOne)
{
    using Step = Support::ScriptedBmc::Step;
    using GiveUp = std::function<void(Step&)>;
    const GiveUp late = [](Step&step) { step.after(40s); }, lost = [](Step&step) { step.silent(); };
    const auto with = [](std::function<void()> action) { return [=](Step& step) { step.after(1s).then(action); }; };
    struct Row {
        const char* name;
        GiveUp giveUp; ///< the first
        std::uint8_t cmd;
        long id;
        bool answered = true;
    };
    const Row rows[] = {
        {"another command with the same id", late, 0x02, 5},
        {"the same in all", late, 0x01, 5},
        {"another command with the same id, the BMC has lost the first", lost, 0x02, 5},
        {"the same in all, the BMC has lost the first", lost, 0x01, 5, false}, // nobody can tell: better no answer
        {"the same in all, given up by a failed poll", with([&] { sim.clock().failPoll(EINTR); }), 0x01, 5},
        {"... by an event, which is no late answer either", with([&] { deliver(2, 0, kGood); }), 0x01, 5},
        {"... by the pipe", with([&] { pokePipe(); }), 0x01, 5},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        settle();
        row.giveUp(bmc.expect({0x06, 0x01}, {0x00, 0x01}));
        EXPECT_EQ(send(0x01, 5), nullptr);
        char poke;
        if (&row == std::end(rows) - 1) {
            EXPECT_EQ(read(node.signalCmdPipeFds[FD_READ], &poke, 1), 1);
        }
        bmc.expect({0x06, row.cmd}, {0x00, 0x02});
        EXPECT_EQ(Response(send(row.cmd, row.id)).at(1), row.answered ? 0x02 : 0x00);
        ReopenPort(0); // an opening forgets what was given up
        bmc.expect({0x06, 0x01}, {0x00, 0x03});
        EXPECT_EQ(Response(send(0x01, 5)).at(1), 0x03);
    }
}

TEST_F(Exchange, lateAnswersDoNotProlongTheWait)
{
    bmc.expect({0x06, 0x01}, {0x00, 0x01}).after(40s);
    EXPECT_EQ(send(0x01, 5), nullptr);
    bmc.expect({0x06, 0x02}, {0x00, 0x02}).after(25s); // the BMC begins with it 10 s into its exchange
    const auto before = sim.clock().steadyTime();
    EXPECT_EQ(send(0x02, 6), nullptr);
    EXPECT_EQ(sim.clock().steadyTime() - before, 30s);
    bmc.expect({0x06, 0x03}, {0x00, 0x03});
    EXPECT_EQ(Response(send(0x03, 7)).at(1), 0x03);
}

TEST(GivenUpIds, keepsTheLast64WithRepetitions)
{
    GivenUpIds ids;
    for (long id = 0; id < 70; ++id)
        ids.add({id, 6, 1});
    EXPECT_FALSE(ids.take(5));
    for (long id = 69; id > 5; --id)
        EXPECT_TRUE(ids.take(id)) << id;
    for (int i = 0; i < 2; ++i)
        ids.add({1, 6, 1});
    EXPECT_FALSE(ids.take({1, 6, 2}) || ids.take({1, 4, 1}));
    EXPECT_TRUE(ids.take({1, 6, 1}) && ids.take(1));
    EXPECT_FALSE(ids.take(1));
}

// --- where exchanges go

TEST_F(Exchange, scopesChangeTheTargetOfTheirThreadAndNode)
{
    const auto goesTo = [this](std::uint8_t address, std::uint8_t lun) {
        auto& step = bmc.expect(kAsk, kGood);
        if (address != 0x20)
            step.to(address, lun, 0);
        EXPECT_TRUE(sendCommand(0, 0x06, kCmd));
        bmc.done();
    };
    goesTo(0x20, 0);
    node.targetAddress = 0x82;
    node.targetLun = 1;
    node.targetChannel = 0xf0; // the low four bits count
    goesTo(0x82, 1);
    {
        const TargetScope outer(0, 0x2c, 2, 0);
        goesTo(0x2c, 2);
        try {
            const TargetScope inner(0, 0x20, 3, 0);
            const TargetScope other(1, 0x40, 0, 0);
            goesTo(0x20, 0);
            std::thread([&] { goesTo(0x82, 1); }).join();
            throw 1;
        } catch (int) {
        }
        goesTo(0x2c, 2);
    }
    goesTo(0x82, 1);
}

TEST_F(Exchange, messageIdsCountFrom1445AndWrap)
{
    InitIpmiNode(0);
    for (const int id : {1445, 1446, INT_MAX, INT_MIN}) {
        if (id == INT_MAX)
            node.nextMsgId = id;
        bmc.expect(kAsk, kGood);
        const Response response(IpmiIfcSendCmd(0, kCmd, 0x06, 77, 0, nullptr, 1));
        ASSERT_TRUE(response);
        EXPECT_EQ(response->req.msgid, id);
    }
}

TEST_F(Exchange, sendCmdCopiesWhatFits)
{
    const Bytes sixteen{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, forty(40, 0);
    const struct {
        Bytes answer; ///< empty: none
        unsigned short room;
        int result, length;
    } rows[] = {{sixteen, 16, 0, 16}, {sixteen, 4, 16, 4},        {sixteen, 0, 16, 0}, {forty, 32, 0, 32},
                {forty, 31, 16, 31},  {{0xc1, 1, 2}, 9, 0xc1, 9}, {{}, 9, 0xff, 9}};
    unsigned char data[] = {0x77}, out[40];
    for (const auto& row : rows) {
        auto& step = bmc.expect({0x06, kCmd, 0x77}, row.answer);
        if (row.answer.empty())
            step.silent();
        std::fill(std::begin(out), std::end(out), 0x5a);
        unsigned short length = row.room;
        EXPECT_EQ(IpmiIfc::sendCmd(kCmd, 0x06, 1, data, &length, out), row.result);
        EXPECT_EQ(length, row.length);
        Bytes expected = row.result == 0 || row.result == 16 ? row.answer : Bytes{};
        expected.resize(std::min(expected.size(), std::size_t(row.length)));
        expected.resize(sizeof out, 0x5a);
        EXPECT_EQ(Bytes(std::begin(out), std::end(out)), expected);
    }
    bmc.expect(kAsk, kGood).times(2);
    for (unsigned char* buffer : {static_cast<unsigned char*>(nullptr), out})
        EXPECT_EQ(IpmiIfc::sendCmd(kCmd, 0x06, 0, nullptr, nullptr, buffer), 16) << "no room";
    EXPECT_FALSE(sendCommand(0, 0x06, kCmd, Bytes(0x10000)));
}

} // namespace
