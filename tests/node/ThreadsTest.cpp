// SPDX-License-Identifier: Apache-2.0
// Many threads on nodes that poll.
#include "ipmi/IpmiNodeControl.h"
#include "node/LifeFixture.h"
#include "sel/IpmiIfcSel.h"
#include "support/CallerUse.h"
#include "transport/Answer.h"
#include "transport/TargetScope.h"

using namespace Ipmi;

namespace
{

constexpr std::uint8_t kControllers[] = {0x20, 0x82, 0x90};

/// One controller after the other is this thread's, while others have theirs. Get Device ID's answer tells who was
/// asked.
void askEveryController(int node)
{
    constexpr std::size_t kProduct = 10;
    for (const std::uint8_t address : kControllers) {
        const TargetScope controller(node, address, 0, 0), otherNode((node + 1) % kNodeCount, 0x40, 0, 0);
        {
            const TargetScope inner(node, kControllers[2], 0, 0);
        }
        const Answer answer = ask(node, wire::kGetDeviceId);
        const bool isLate = address != 0x20 && answer.code() == wire::cc::kTimeout; // others moved time on meanwhile
        EXPECT_TRUE(answer.at(kProduct) == address || isLate || g_IpmiNode[node].shutdown) << int{address};
    }
}

Sim::Machine machineWithControllers()
{
    Sim::Machine machine = LifeTest::machineWith(4);
    for (const std::uint8_t address : kControllers)
        (address == Sim::kBmcAddress ? machine.identity : machine.controllers[address].identity).product = address;
    return machine;
}

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

std::size_t entityCount = 0; ///< of each node, whatever is loaded anew

void useLan(int node)
{
    IpmiLan& lan = *IpmiIfc::getLan(node);
    lan.IpmiIfcLanInstantiate(node);
    EXPECT_EQ(lan.getMACAddress() + lan.getIPv4Address(), ""); // there is none
    EXPECT_EQ(lan.isEnabled(), lan.status().enabled.value_or(false));
}

void useModel(int node, int round)
{
    IpmiIfc::getSdr(node);
    const auto entities = IpmiIfc::getEntities(node);
    const auto sensors = IpmiIfc::getSensors(node);
    EXPECT_TRUE((entities.size() == entityCount && !sensors.empty()) || g_IpmiNode[node].shutdown);
    for (const IpmiEntity& entity : entities)
        EXPECT_FALSE((entity.getName() + entity.getParent().getName() + entity.getAlertClassName()).empty());
    IpmiIfc::getEntityParent(node, 3, 1);
    if (sensors.empty())
        return;
    IpmiSensor& sensor = *sensors[static_cast<std::size_t>(round) % sensors.size()];
    Support::useSensor(sensor);
    IpmiIfc::getSensor(node, sensor.getSensorNumber(), sensor.getOwnerId());
}

void useNode(int node, int round)
{
    const int lives = IpmiIfc::IPMI_STATE_RUNNING | IpmiIfc::IPMI_STATE_STOPPED;
    for (const int state :
         {IpmiIfc::waitState(node, lives), IpmiIfc::timedWaitState(node, lives, 0, 1), IpmiIfc::getState(node)})
        EXPECT_EQ(state & ~lives, 0);
    IpmiIfc::getPollingInterval(node);
    Support::useIdentity(node);
    askEveryController(node);
    useModel(node, round);
    useEventLog(node, round);
    useCommands(node);
    useLan(node);
    Support::useInventory(node);
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
    LifeTest::RunningNodes running(kNodeCount, machineWithControllers());
    Support::SimNode& sim = running.nodes[0]->sim;
    auto& clock = sim.clock();
    EXPECT_EQ(IpmiIfc::pollAll(kNodeCount, false, IpmiIfc::IPMI_POLL_FULL, nullptr), 0);
    entityCount = IpmiIfc::getEntities(0).size();
    sim.log().clear();
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
    for (int (*use)(int) : {IpmiIfcSdrGetInfo, IpmiIfcSensorRefreshAll, IpmiIfcSensorUpdateReading})
        again([use](int round) { use(round % kNodeCount); });
    for (void (*use)(int) : {visit, static_cast<void (*)(int)>(IpmiIfc::doPoll)})
        again([use](int round) { use(round % kNodeCount); });
    again([](int round) { IpmiIfc::setPollingInterval(round % kNodeCount, round % 3); });
    again([](int round) {
        IpmiIfc::pollAll(kNodeCount, round % 2 == 0, static_cast<IpmiIfc::IPMI_POLL_TYPE>(round % 5), nullptr);
    });
    for (int round = 0; round < kRounds || clock.steadyTime() < begin + kTime; ++round) {
        running.nodes[static_cast<std::size_t>(round % kNodeCount)]->addEvent(1);
        IpmiIfc::pollAll(kNodeCount, false, IpmiIfc::IPMI_POLL_FULL, nullptr);
    }
    for (const auto& line : sim.log().complaints())
        EXPECT_FALSE(line.text.starts_with("IpmiIfcSdr")) << line.text; // no load took another's reservation
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
        EXPECT_FALSE(
            sim.log().has(LOG_ERR, "IPMI polling thread caught exception while polling node " + std::to_string(node)));
    }
}

} // namespace
