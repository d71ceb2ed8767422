// Many threads on one node, and on several that poll.
#include "base/Log.h"
#include "ipmi/IpmiNodeControl.h"
#include "node/IpmiIfcTransport.h"
#include "node/IpmiNode.h"
#include "node/LifeFixture.h"
#include "sel/IpmiIfcSel.h"
#include "sim/Bmc.h"
#include "sim/MachineFile.h"
#include "support/CallerUse.h"
#include "support/SimNode.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <thread>

using namespace Ipmi;

namespace
{

constexpr std::uint8_t kControllers[] = {0x20, 0x82, 0x90};

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

/// Get Device ID of one controller after the other, while others ask theirs: the answer tells who was asked.
void askEveryController()
{
    constexpr std::size_t kProduct = 10;
    for (const std::uint8_t address : kControllers) {
        const TargetScope controller(0, address, 0, 0);
        EXPECT_EQ(sendCommand(0, 0x06, 0x01).at(kProduct), address);
    }
}

TEST(Threads, callersMeetRefreshersAndReloaders)
{
    constexpr int kCallers = 16, kLoads = 3;
    Sim::Machine machine = Sim::loadMachine("sample");
    for (const std::uint8_t address : kControllers)
        (address == Sim::kBmcAddress ? machine.identity : machine.controllers[address].identity).product = address;
    for (auto& [address, controller] : machine.controllers)
        controller.latency = {};
    Sim::Bmc bmc(std::move(machine));
    Support::SimNode sim(bmc, 0, Support::SimNode::Serve::inThread);
    ASSERT_GT(IpmiIfcOpenIpmiOpen(0), 0);
    ASSERT_EQ(IpmiIfcInitForCLI(0), 0);
    ASSERT_EQ(IpmiIfcSdrGetInfo(0), 0);
    const std::size_t sensors = IpmiIfc::getSensors().size(), entities = IpmiIfc::getEntities().size();
    sim.log().clear();

    std::atomic<bool> end{false};
    std::vector<std::thread> threads;
    const auto again = [&](auto what) {
        threads.emplace_back([&end, what] {
            for (int round = 0; !end || round == 0; ++round)
                what(round);
        });
    };
    again([](int) { IpmiIfcSensorRefreshAll(0); });
    again([](int) { IpmiIfcSensorUpdateReading(0); });
    for (int caller = 0; caller < kCallers; ++caller) {
        again([=](int round) {
            askEveryController();
            Support::useIdentity(0);
            EXPECT_EQ(IpmiIfc::getEntities().size(), entities);
            for (const IpmiEntity& entity : IpmiIfc::getEntities())
                EXPECT_FALSE((entity.getName() + entity.getParent().getName() + entity.getAlertClassName()).empty());
            const auto all = IpmiIfc::getSensors();
            if (!all.empty())
                Support::useSensor(*all[static_cast<std::size_t>(caller + kCallers * round) % all.size()]);
        });
    }
    again([](int) { EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0); });
    for (int load = 0; load < kLoads; ++load)
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
    end = true;
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(IpmiIfc::getSensors().size(), sensors);
    for (const auto& line : sim.log().complaints())
        EXPECT_FALSE(line.text.starts_with("IpmiIfcSdr")) << line.text; // no load took another's reservation
    IpmiIfcCloseForCLI(0);
}

// --- nodes with their loops

void useEventLog(int node, int round)
{
    const auto records = IpmiIfc::getSelData(node);
    for (const auto& record : records)
        EXPECT_FALSE((record->caption() + record->description() + record->recordDataString()).empty());
    const auto summary = IpmiIfc::getSel(node);
    EXPECT_TRUE(!summary || summary->getMaxNumberOfRecords() > 0);
    IpmiIfc::getRawSelHeader(node);
    IpmiIfc::generatesMemoryEvents(node);
    IpmiIfc::selGetClock(node);
    IpmiIfc::setLastProcessedSELEntry(node, IpmiIfc::getLastProcessedSELEntry(node));
    if (round % 8 == 0 && !records.empty())
        IpmiIfc::deleteSelEntry(node, records.front()->recordId());
    if (round % 64 == 0)
        IpmiIfc::clearSel(node);
}

void useCommands(int node)
{
    std::uint8_t answer[16];
    unsigned short room = sizeof answer;
    IpmiIfc::sendCmd(node, 0x01, 0x06, 0, nullptr, &room, answer);
    ipmiifc_req request;
    request.msg = {0x06, 0x01, 0, nullptr};
    ipmiifc_resp* reply = IpmiIfc::OemIpmiIfcSend(node, &request, 1);
    IpmiIfcRespDel(&reply);
}

void useModel(int node, int round)
{
    IpmiIfc::getSdr(node);
    for (const IpmiEntity& entity : IpmiIfc::getEntities(node))
        EXPECT_FALSE((entity.getName() + entity.getParent().getName()).empty());
    IpmiIfc::getEntityParent(node, 3, 1);
    const auto sensors = IpmiIfc::getSensors(node);
    if (sensors.empty())
        return;
    IpmiSensor& sensor = *sensors[static_cast<std::size_t>(round) % sensors.size()];
    Support::useSensor(sensor);
    IpmiIfc::getSensor(node, sensor.getSensorNumber(), sensor.getOwnerId());
}

void useNode(int node, int round)
{
    const int lives = IpmiIfc::IPMI_STATE_RUNNING | IpmiIfc::IPMI_STATE_STOPPED;
    EXPECT_EQ(IpmiIfc::waitState(node, lives) | IpmiIfc::timedWaitState(node, lives, 0, 1) | IpmiIfc::getState(node) |
                  lives,
              lives);
    IpmiIfc::getPollingInterval(node);
    Support::useIdentity(node);
    useModel(node, round);
    useEventLog(node, round);
    useCommands(node);
}

void countVisit(void* visits, IpmiSelData*)
{
    ++*static_cast<int*>(visits);
}

/// A handler's argument may go when the handler has been taken away and a check of one's own has passed.
void visit(int node)
{
    const auto visits = std::make_unique<int>(0);
    IpmiIfc::registerSelEventHandler(node, countVisit, visits.get());
    std::this_thread::yield();
    IpmiIfc::unRegisterSelEventHandler(node, countVisit);
    IpmiIfcSelGetInfo(node, nullptr);
}

int numbers[kNodeCount] = {0, 1, 2, 3};

/// Does what callers do; that of node 0 has the others poll.
void busyHandler(void* number, IpmiSelData*)
{
    const int node = *static_cast<int*>(number);
    visit(node);
    useNode(node, 1);
    IpmiIfc::doPoll(node);
    if (node == 0)
        IpmiIfc::pollAll(kNodeCount, true, IpmiIfc::IPMI_POLL_SEL, nullptr);
}

TEST(Threads, useRunningNodesUntilTheyStopAndBeyond)
{
    constexpr int kCallers = 16, kRounds = 10;
    constexpr std::chrono::minutes kTime{30};
    LifeTest::RunningNodes running(kNodeCount, LifeTest::machineWith(4));
    auto& clock = running.nodes[0]->sim.clock();
    const auto begin = clock.steadyTime();
    std::atomic<bool> end{false};
    std::vector<std::thread> threads;
    const auto again = [&](auto what) {
        threads.emplace_back([&end, what] {
            for (int round = 0; !end; ++round) {
                what(round);
                std::this_thread::sleep_for(std::chrono::microseconds(200)); // the locks are not fair
            }
        });
    };
    for (int& node : numbers)
        IpmiIfc::registerSelEventHandler(node, busyHandler, &node);
    for (int caller = 0; caller < kCallers; ++caller)
        again([=](int round) { useNode(caller % kNodeCount, caller + kCallers * round); });
    again([](int round) { visit(round % kNodeCount); });
    again([](int round) { IpmiIfc::doPoll(round % kNodeCount); });
    again([](int round) { IpmiIfc::setPollingInterval(round % kNodeCount, round % 3); });
    again([](int round) {
        IpmiIfc::pollAll(kNodeCount, round % 2 == 0, static_cast<IpmiIfc::IPMI_POLL_TYPE>(round % 5), nullptr);
    });
    for (int round = 0; round < kRounds || clock.steadyTime() < begin + kTime; ++round) {
        running.nodes[static_cast<std::size_t>(round % kNodeCount)]->addEvent(1);
        IpmiIfc::pollAll(kNodeCount, false, IpmiIfc::IPMI_POLL_FULL, nullptr);
    }
    std::vector<std::thread> stoppers;
    for (const int node : numbers)
        stoppers.emplace_back([node] { IpmiIfc::stop(node); });
    for (auto& stopper : stoppers)
        stopper.join();
    end = true;
    for (auto& thread : threads)
        thread.join();
    for (const int node : numbers) {
        EXPECT_EQ(IpmiIfc::getState(node), IpmiIfc::IPMI_STATE_STOPPED);
        EXPECT_GT(running.cycles[static_cast<std::size_t>(node)], 0);
        EXPECT_EQ(running.nodes[static_cast<std::size_t>(node)]->sim.log().count(
                      LOG_ERR, "IPMI polling thread caught exception while polling node " + std::to_string(node)),
                  0);
    }
}

} // namespace
