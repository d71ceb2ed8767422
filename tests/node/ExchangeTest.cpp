// SPDX-License-Identifier: Apache-2.0
// Every way that one exchange can go.
#include "node/NodeFixture.h"

#include <linux/ipmi.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <string>

using namespace Ipmi;
using namespace std::chrono_literals;

namespace
{

constexpr std::uint8_t kCmd = 0x01;

class Exchange : public NodeFixture
{
protected:
    void answer(const Bytes& bytes) { bmc.expect(kAsk, bytes); }
    void silence(std::function<void()> then = {}) { bmc.expect(kAsk, {}).silent().then(std::move(then)); }
    void failPoll()
    {
        sim.clock().atNextPoll([] { return EINTR; });
    }
    void failReceive(int error)
    {
        answer(kGood);
        sim.fail(IPMICTL_RECEIVE_MSG_TRUNC, error);
    }
    void pokePipe(bool shutdown)
    {
        node.shutdown = shutdown;
        EXPECT_EQ(write(node.signalCmdPipeFds[FD_WRITE], "\xff", 1), 1);
    }
    void settle()
    {
        bmc.done();
        node.shutdown = false;
        ASSERT_GT(IpmiIfcOpenIpmiOpen(0), 0);
        init();
        sim.log().clear();
    }

    const Bytes kAsk{0x06, kCmd}, kGood{0x00, 0x11, 0x22};
};

TEST_F(Exchange, everyPathEndsAsDocumented)
{
    enum class End { kRecord, kNoAnswer, kNull, kFreed };
    const auto failSend = [&] { sim.fail(IPMICTL_SEND_COMMAND, EIO); };
    const Support::LogLine timeOut{LOG_WARNING, "Node 0: poll(fd=FD) timeout with no reply."},
        pollFailed{LOG_ERR, "Node 0: poll(fd=FD), errno=4 Interrupted system call"},
        sendFailed{LOG_ERR, "Node 0: ioctl IPMICTL_SEND_COMMAND(fd=FD), errno(5):Input/output error"},
        openFailed{LOG_ERR, "IpmiIfcOpenIpmiOpen: open(/dev/ipmi0, RDWR) failed 19 No such device"},
        receiveFailed{LOG_ERR, "Node 0: ioctl IPMICTL_RECEIVE_MSG_TRUNC(fd=FD), errno(14):Bad address"};
    const struct {
        const char* name;
        End end; ///< a reply; a reused record with cc FFh, else null; null; null, and a reused record is gone
        std::function<void()> prepare;
        Lines log{}; ///< complaints; FD stands for the descriptor
        int opens = 0, cc = wire::kNoAnswer, datalen = 0;
    } paths[] = {
        {"answer", End::kRecord, [&] { answer(kGood); }, {}, 0, 0, 3},
        {"completion code", End::kRecord, [&] { answer({0xc1}); }, {}, 0, 0xc1, 1},
        {"40 bytes", End::kRecord, [&] { answer(Bytes(40, 0x00)); }, {}, 0, 0, 32},
        {"no byte", End::kRecord, [&] { silence([&] { deliver(1, 99, {}); }); }, {}, 0, 0xef, 0},
        {"id unknown", End::kRecord, [&] { silence([&] { deliver(1, 99, kGood); }); }, {}, 0, 0, 3},
        {"send fails", End::kNoAnswer, failSend, {sendFailed}, 1},
        {"silence", End::kNoAnswer, [&] { silence(); }, {timeOut}},
        {"poll fails", End::kNoAnswer, [&] { silence([&] { failPoll(); }); }, {pollFailed}},
        {"hang-up", End::kNoAnswer, [&] { silence([&] { sim.device(std::mem_fn(&Sim::Device::hangUp)); }); }},
        {"woken by the pipe", End::kNoAnswer, [&] { silence([&] { pokePipe(false); }); }},
        {"receive finds nothing", End::kFreed, [&] { failReceive(EAGAIN); }, {}, 1},
        {"receive fails", End::kFreed, [&] { failReceive(EFAULT); }, {receiveFailed}, 1},
        {"event", End::kFreed, [&] { silence([&] { deliver(2, 0, kGood); }); }},
        {"shut down before", End::kNull, [&] { node.shutdown = true; }},
        {"shut down while waiting", End::kNull, [&] { silence([&] { pokePipe(true); }); }},
        {"not open", End::kNull, [&] { IpmiIfcOpenIpmiClose(0); }},
        {"send and reopening fail",
         End::kNoAnswer,
         [&] { failSend(), sim.fail(Support::SimNode::kOpen, ENODEV); },
         {sendFailed, openFailed},
         1},
    };
    for (const auto& path : paths) {
        for (const bool reused : {false, true}) {
            SCOPED_TRACE(std::string(path.name) + (reused ? ", record of another exchange" : ""));
            settle();
            ipmiifc_resp* record = nullptr;
            if (reused) {
                answer(Bytes(40, 0x00));
                record = send(kCmd);
            }
            path.prepare();
            Lines expected = path.log;
            for (auto& line : expected)
                if (const auto at = line.text.find("FD"); at != std::string::npos)
                    line.text.replace(at, 2, std::to_string(node.fd));
            const int opens = sim.calls(Support::SimNode::kOpen);
            ipmiifc_resp* response = send(kCmd, 5, 0, record);
            const Reply reply(response || path.end == End::kFreed ? response : record);
            EXPECT_EQ(sim.calls(Support::SimNode::kOpen) - opens, path.opens);
            EXPECT_EQ(sim.log().complaints(), expected);
            ASSERT_EQ(response != nullptr, path.end == End::kRecord || (path.end == End::kNoAnswer && reused));
            EXPECT_EQ(response ? response->cc : wire::kNoAnswer, path.cc);
            if (path.end != End::kRecord)
                continue;
            EXPECT_EQ(response->datalen, path.datalen);
            EXPECT_EQ(response->req.addr, nullptr) << "copied only when asked";
            const auto unused = std::span(response->data).subspan(static_cast<std::size_t>(path.datalen));
            EXPECT_TRUE(std::ranges::all_of(unused, [](std::uint8_t byte) { return byte == 0xef; }));
        }
    }
    EXPECT_TRUE(sim.log().has(LOG_INFO, "Node 0: Unable to open node No such device"));
}

TEST_F(Exchange, copiesTheRequestWhenAsked)
{
    const std::pair<std::uint8_t, Bytes> rows[] = {{0x20, {0x0c, 0, 0, 0, 0x0f, 0, 0, 0}}, // addresses as the driver's
                                                   {0x82, {0x01, 0, 0, 0, 0x00, 0, 0x82, 2}}};
    for (const auto& [target, address] : rows) {
        node.targetAddress = target;
        node.targetLun = 2;
        node.targetChannel = 0xf0; // the low four bits count
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
        EXPECT_TRUE(IpmiIfcRespDel(&resp) == 0 && !resp);
    }
}

// --- answers that come after their exchange was given up

TEST_F(Exchange, lateAnswerIsNotTakenForTheNextOne)
{
    const struct {
        const char* name;           ///< of what the second has with the first, which is asked with command 01h
        std::uint8_t cmd;           ///< of the second
        std::chrono::seconds delay; ///< of the first's answer; 0: never
        std::function<void()> giveUp{};
        bool answered = true;
    } rows[] = {
        {"its id", 0x02, 40s},
        {"all", 0x01, 40s},
        {"its id, and the BMC has lost the first", 0x02, 0s},
        {"all, and the BMC has lost the first: nobody can tell", 0x01, 0s, {}, false}, // better no answer
        {"all, and the first is given up by a failed poll", 0x01, 1s, [&] { failPoll(); }},
        {"all, and the first is given up by an event, which is no late answer", 0x01, 1s,
         [&] { deliver(2, 0, kGood); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        settle();
        auto& first = bmc.expect(kAsk, {0x00, 0x01}).after(row.delay).then(row.giveUp);
        if (row.delay == 0s)
            first.silent();
        EXPECT_EQ(send(kCmd), nullptr);
        bmc.expect({0x06, row.cmd}, {0x00, 0x02});
        EXPECT_EQ(ask(0, {0x06, row.cmd}, {}, 5).at(1), row.answered ? 0x02 : 0x00);
        ReopenPort(0); // an opening forgets what was given up
        bmc.expect(kAsk, {0x00, 0x03});
        EXPECT_EQ(ask(0, {0x06, kCmd}, {}, 5).at(1), 0x03);
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
    EXPECT_TRUE(ids.take({1, 6, 1}) && ids.take(1) && !ids.take(1));
}

TEST_F(Exchange, sendCmdCopiesWhatFitsAndMessageIdsWrap)
{
    node.nextMsgId = INT_MAX;
    bmc.expect(kAsk, kGood).times(4);
    for (const int id : {INT_MAX, INT_MIN})
        EXPECT_EQ(Reply(IpmiIfcSendCmd(0, kCmd, 0x06, 77, 0, nullptr, 1))->req.msgid, id);
    unsigned char data[] = {0x77}, out[40];
    for (unsigned char* buffer : {static_cast<unsigned char*>(nullptr), out})
        EXPECT_EQ(IpmiIfc::sendCmd(kCmd, 0x06, 0, nullptr, nullptr, buffer), 16) << "no room";
    const Bytes sixteen{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, forty(40, 0);
    const struct {
        Bytes answer;
        unsigned short room;
        int result, length;
    } rows[] = {{sixteen, 16, 0, 16}, {sixteen, 4, 16, 4}, {forty, 32, 0, 32}, {{0xc1, 1, 2}, 9, 0xc1, 9}};
    for (const auto& row : rows) {
        bmc.expect({0x06, kCmd, 0x77}, row.answer);
        std::ranges::fill(out, 0x5a);
        unsigned short length = row.room;
        EXPECT_EQ(IpmiIfc::sendCmd(kCmd, 0x06, 1, data, &length, out), row.result);
        EXPECT_EQ(length, row.length);
        Bytes expected = row.answer;
        expected.resize(row.result == 0 || row.result == 16 ? row.room : 0U);
        expected.resize(sizeof out, 0x5a);
        EXPECT_EQ(Bytes(std::begin(out), std::end(out)), expected);
    }
    silence();
    EXPECT_EQ(IpmiIfc::sendCmd(kCmd, 0x06, 0, nullptr, nullptr, out), 0xff);
    EXPECT_FALSE(ask(0, {0x06, kCmd}, Bytes(0x10000)).answered());
    ipmiifc_resp* none = nullptr;
    EXPECT_FALSE(IpmiIfcSendWresponse(0, nullptr, 0, nullptr));
    EXPECT_EQ(IpmiIfcRespNew(nullptr) + IpmiIfcRespReuse(nullptr) + IpmiIfcRespDel(nullptr) + IpmiIfcRespDel(&none),
              -4);
}

} // namespace
