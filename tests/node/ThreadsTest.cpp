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

/// Answers with the address asked and the request's data, from command 03h on not at all.
struct Echo final : Sim::Responder {
    std::atomic<bool> silent{false};
    Sim::Answer handle(const Sim::Request& request) override
    {
        if (request.cmd == 0x03)
            silent = true;
        Sim::Answer answer;
        answer.answered = !silent;
        answer.bytes = {0x00, request.address};
        answer.bytes.insert(answer.bytes.end(), request.data.begin(), request.data.end());
        return answer;
    }
};

TEST(Threads, everyoneGetsTheAnswerToHisOwnQuestionAndShutdownWakesTheExchange)
{
    Echo echo;
    Support::SimNode sim(echo, 0, Support::SimNode::Serve::inThread);
    ASSERT_GT(IpmiIfcOpenIpmiOpen(0), 0);
    ASSERT_EQ(IpmiIfcInitForCLI(0), 0);
    std::vector<std::thread> threads;
    for (std::uint8_t i = 0; i < 6; ++i) {
        threads.emplace_back([i] {
            Response reused;
            for (std::uint8_t round = 0; round < 100; ++round) {
                const std::uint8_t address = round % 2 == 1 ? static_cast<std::uint8_t>(0x40 + 2 * i) : 0x20;
                const std::uint8_t data[] = {i, round};
                {
                    const TargetScope scope(0, address, 0, 0);
                    sendCommand(0, 0x06, 0x02, data, reused);
                }
                EXPECT_EQ(reused.at(1), address);
                EXPECT_EQ(reused.at(2), i);
                EXPECT_EQ(reused.at(3), round);
                IpmiIfc::getHostOsName();
            }
        });
    }
    for (auto& thread : threads)
        thread.join();

    IpmiNode& node = g_IpmiNode[0];
    std::thread asker([] { EXPECT_FALSE(sendCommand(0, 0x06, 0x03)); });
    while (!echo.silent)
        std::this_thread::yield();
    node.shutdown = true;
    EXPECT_EQ(write(node.signalCmdPipeFds[FD_WRITE], "\xff", 1), 1);
    asker.join();
    node.shutdown = false;
    IpmiIfcCloseForCLI(0);
}

} // namespace
