// Many threads on one node.
#include "node/IpmiIfcTransport.h"
#include "node/IpmiNode.h"
#include "support/SimNode.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <thread>

using namespace Ipmi;

namespace
{

/// Answers with the address asked and the request's data.
class Echo final : public Sim::Responder
{
public:
    Sim::Answer handle(const Sim::Request& request) override
    {
        Sim::Answer answer;
        answer.bytes = {0x00, request.address};
        for (const std::uint8_t byte : request.data)
            answer.bytes.push_back(byte);
        return answer;
    }
};

TEST(Threads, everyoneGetsTheAnswerToHisOwnQuestion)
{
    Echo echo;
    Support::SimNode sim(echo, 0, Support::SimNode::Serve::inThread);
    ASSERT_GT(IpmiIfcOpenIpmiOpen(0), 0);
    ASSERT_EQ(IpmiIfcInitForCLI(0), 0);
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < 6; ++i) {
        threads.emplace_back([i] {
            const auto address = static_cast<std::uint8_t>(0x40 + 2 * i);
            Response reused;
            for (unsigned int round = 0; round < 100; ++round) {
                const std::uint8_t data[] = {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(round)};
                const bool elsewhere = round % 2 == 1;
                if (elsewhere) {
                    const TargetScope scope(0, address, 0, 0);
                    sendCommand(0, 0x06, 0x02, data, reused);
                } else {
                    sendCommand(0, 0x06, 0x02, data, reused);
                }
                ASSERT_TRUE(reused);
                EXPECT_EQ(reused.at(1), elsewhere ? address : 0x20);
                EXPECT_EQ(reused.at(2), data[0]);
                EXPECT_EQ(reused.at(3), data[1]);
                if (round % 10 == 0) {
                    IpmiIfc::getManufacturerName();
                    IpmiIfc::getHostOsName();
                }
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    IpmiIfcCloseForCLI(0);
}

TEST(Threads, shutdownWakesTheExchange)
{
    struct Silence final : Sim::Responder {
        std::atomic<bool> asked{false};
        Sim::Answer handle(const Sim::Request& request) override
        {
            asked = request.cmd == 0x02;
            return {.answered = !asked, .bytes = {0xc1}};
        }
    } silence;
    Support::SimNode sim(silence, 0, Support::SimNode::Serve::inThread);
    ASSERT_GT(IpmiIfcOpenIpmiOpen(0), 0);
    ASSERT_EQ(IpmiIfcInitForCLI(0), 0);
    IpmiNode& node = g_IpmiNode[0];
    std::thread asker([] { EXPECT_FALSE(sendCommand(0, 0x06, 0x02)); });
    while (!silence.asked)
        std::this_thread::yield();
    node.shutdown = true;
    EXPECT_EQ(write(node.signalCmdPipeFds[FD_WRITE], "\xff", 1), 1);
    asker.join();
    node.shutdown = false;
    IpmiIfcCloseForCLI(0);
}

} // namespace
