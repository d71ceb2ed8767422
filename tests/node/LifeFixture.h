// SPDX-License-Identifier: Apache-2.0
// Nodes for tests of their whole lives.
#pragma once

#include "ipmi/CmpiStatus.h"
#include "sdr/SdrBmc.h"
#include "sim/machine/SelLayout.h"

#include <array>
#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <thread>

namespace LifeTest
{

using namespace Ipmi;
using namespace SdrTest;

inline Sim::Machine machineWith(unsigned sensors = 1)
{
    std::vector<Bytes> records;
    for (std::uint8_t number = 1; number <= sensors; ++number)
        records.push_back(sensorRecord(Kind::full, 0x01, {{kNumberAt, number}}, number));
    Sim::Machine machine = machineOf(std::move(records));
    machine.selAddTime = machine.selEraseTime = 0x60000000;
    return machine;
}

/// A node that is ended with the test, whatever state it is in.
struct Node : Support::ObservedBmc {
    IpmiNode& record;

    explicit Node(Sim::Machine machine = machineWith(), int node = 0)
        : ObservedBmc(std::move(machine), node), record(g_IpmiNode[node])
    {
    }
    ~Node() override
    {
        record.shutdown = false;
        record.state = IpmiIfc::IPMI_STATE_STOPPED;
        IpmiIfcCloseForCLI(record.NodeNum);
    }

    /// Its life on this thread. `atWait` is called in each pause between two cycles, counted from 1; the last ends it.
    void live(int waits, const std::function<void(int)>& atWait)
    {
        int wait = 0;
        sim.clock().onWait([&] {
            atWait(++wait);
            if (wait >= waits)
                record.shutdown = true;
        });
        IpmiIfc::start(1);
    }
    /// Logs an event that carries this number.
    void addEvent(std::uint8_t serial)
    {
        Sim::SelRecord event{};
        event[Sim::SelLayout::kType] = Sim::SelLayout::kSystemEvent;
        event[Sim::SelLayout::kData] = serial;
        EXPECT_NE(bmc.state()->raiseEvent(event), 0);
    }
    static std::uint8_t serialOf(const IpmiSelData& event) { return event.rawRecord().bytes[Sim::SelLayout::kData]; }
};

inline std::ptrdiff_t openDescriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

/// A handler that counts its null calls.
inline void countNulls(void* count, IpmiSelData* event)
{
    *static_cast<std::atomic<int>*>(count) += !event;
}

/// Nodes that run, each in a thread of its own, and how often each has told its handlers of a cycle.
struct RunningNodes {
    std::vector<std::unique_ptr<Node>> nodes;
    std::vector<std::thread> threads;
    std::array<std::atomic<int>, kNodeCount> cycles{};

    explicit RunningNodes(int count = kNodeCount, const Sim::Machine& machine = machineWith())
    {
        for (int node = 0; node < count; ++node)
            nodes.push_back(std::make_unique<Node>(machine, node));
        for (int node = 0; node < count; ++node) {
            threads.emplace_back([node] { IpmiIfc::start(node, 0); });
            IpmiIfc::waitState(node, IpmiIfc::IPMI_STATE_RUNNING);
            IpmiIfc::registerSelEventHandler(node, countNulls, &cycles[static_cast<std::size_t>(node)]);
        }
    }
    ~RunningNodes()
    {
        for (std::size_t node = 0; node < threads.size(); ++node)
            if (!nodes[node]->record.shutdown)
                IpmiIfc::stop(static_cast<int>(node));
        for (auto& thread : threads)
            thread.join();
    }
    std::vector<int> counted() const { return {cycles.begin(), cycles.end()}; }
};

} // namespace LifeTest
