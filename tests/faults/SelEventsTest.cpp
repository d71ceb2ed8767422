// SPDX-License-Identifier: Apache-2.0
// What handlers hear of a log to which everything happens, and whose reader meets faults, held against the BMC's log.
// The reader knows two times of the log, in seconds, and goes by them. So each event is heard once, but for
// - those lost: erased before a check read them; not newer than the addition known when they came; not read by the
//   check that took over their addition time, for it met faults;
// - those heard again: read by a check whose info they were newer than; or the addition time was set back behind them.
// Every run is the same; TRX_SEED=<seed> starts with that seed, as a failure names it.
#include "faults/Model.h"
#include "sel/SelBmc.h"

#include <cstdlib>
#include <map>
#include <random>

using namespace Ipmi;
using namespace SelTest;

namespace
{

constexpr std::uint64_t kSeeds = FaultTest::kSanitized ? 30 : 100;
constexpr int kOperations = 1000;

constexpr const char *kNotNewer = "not newer than the addition known", *kUnread = "not read by a check that met faults";

struct Event {
    std::uint32_t time;
    int clockBacks; ///< before it came
    int heard = 0;
    bool isAhead = false; ///< heard, but newer than the addition time known
    const char* whyLost = nullptr;
};

/// A BMC, its reader and what is known of each event.
struct World {
    std::mt19937_64 random;
    SelBmc node;
    int clockBacks = 0;
    bool mustReload = false;     ///< a handler has erased since the last check that went well
    std::vector<Event> events{}; ///< by serial
    std::vector<std::size_t> heard{};

    explicit World(std::uint64_t seed) : random(seed)
    {
        std::srand(static_cast<unsigned>(seed)); // of the library's pauses
        node.bmc.state()->clock.set(kStart);
        IpmiIfc::registerSelEventHandler(0, hear, this);
    }

    // --- what happens

    unsigned below(std::size_t limit) { return static_cast<unsigned>(random() % limit); }
    std::uint16_t anyIdOf(const Records& records) { return Sim::idOf(records[below(records.size())]); }

    void add(unsigned count)
    {
        for (; count > 0; --count) {
            node.addSerial(events.size());
            events.push_back({node.bmc.state()->now(), clockBacks});
        }
    }

    /// Somebody else clears the log, or deletes a record.
    void eraseSome()
    {
        if (const auto records = node.bmc.machine().sel; records.empty() || below(2) == 0)
            node.bmc.state()->log.clear();
        else
            node.bmc.state()->log.remove(anyIdOf(records));
    }

    void setBack()
    {
        ++clockBacks;
        const auto state = node.bmc.state();
        state->clock.set(state->now() - 1 - below(100));
    }

    /// A check during which something happens, or commands go wrong.
    void checkDisturbed()
    {
        const Sim::FaultAction faults[] = {kSilence,   kLost,          code(0xc0),
                                           code(0xca), cut(below(19)), {.otherRecordId = 0x5555}};
        static constexpr std::uint64_t kCounts[] = {1, 3, 4, 100};
        const unsigned from = 1 + below(below(3) == 0 ? 40 : 6), what = below(40), count = below(4);
        if (what >= 20)
            node.restart({{.from = from, .count = kCounts[count], .action = faults[what % std::size(faults)]}});
        else
            node.before = [=, this, left = from](const Sim::Request&) mutable {
                if (left-- == 1)
                    what < 12 ? add(1 + what / 8) : what < 19 ? eraseSome() : setBack();
                return true;
            };
        watch([this] { node.check(); }, false, from);
        node.before = nullptr;
        node.restart();
    }

    void operate()
    {
        const unsigned what = below(1000);
        if (what < 280)
            add(what < 240 ? 1 : 2 + below(4));
        else if (what < 620)
            node.sim.clock().advance(std::chrono::milliseconds(below(5000)));
        else if (what < 860)
            watch([this] { EXPECT_EQ(node.check(), 0); });
        else if (what < 970)
            checkDisturbed();
        else if (what < 988)
            eraseSome();
        else if (what < 995)
            watch([] { EXPECT_EQ(IpmiIfc::clearSel(0), 0); }, true);
        else if (const auto records = node.bmc.machine().sel; what < 999 && !records.empty())
            watch([&] { EXPECT_EQ(IpmiIfc::deleteSelEntry(0, anyIdOf(records)), 0); }, true);
        else if (below(4) == 0)
            setBack();
    }

    static void hear(void* world, IpmiSelData* record)
    {
        World& self = *static_cast<World*>(world);
        self.heard.push_back(self.node.serialOf(record->rawRecord().bytes));
        if (self.below(500) != 0)
            return;
        const auto known = cachedRecords();
        IpmiIfc::clearSel(0);
        self.mustReload = true;
        EXPECT_EQ(cachedRecords(), known); // what follows in it is heard
    }

    // --- what is to be heard of it

    /// @param erases         whether the log is erased by the reader itself
    /// @param disturbedFrom  the command from which on things go wrong; 0: none
    void watch(const std::function<void()>& look, bool erases = false, std::uint64_t disturbedFrom = 0)
    {
        const auto before = IpmiIfc::getRawSelHeader(0);
        const Sim::Machine log = node.bmc.machine();
        const auto known = cachedRecords();
        const auto isLogged = [&log](const Sim::SelRecord& one) { return std::ranges::count(log.sel, one) > 0; };
        // Else others have erased, and what was read last is still there.
        const bool isSure = std::ranges::all_of(known, isLogged) || !isLogged(known.back());
        const bool reloads = std::exchange(mustReload, false) || erases || before.eraseTime() != log.selEraseTime;
        node.bmc.clearCounts();
        heard.clear();
        look();
        const Sim::Machine now = node.bmc.machine();
        const std::uint32_t addTime = IpmiIfc::getRawSelHeader(0).addTime();
        const bool isNew = addTime != before.addTime();
        const bool isDisturbed = disturbedFrom != 0 && node.bmc.count() >= disturbedFrom;
        EXPECT_TRUE(addTime == log.selAddTime || (isDisturbed && (!isNew || addTime == now.selAddTime)));
        const bool isWhole = !isDisturbed && !mustReload && (reloads || (isNew && isSure));
        EXPECT_TRUE(!isWhole || cachedRecords() == now.sel);
        judgeHeard(before.addTime() != 0 ? before.addTime() : addTime, addTime, isNew || (reloads && !isDisturbed));
        if (isDisturbed)
            for (const auto& record : now.sel) {
                Event& event = events.at(node.serialOf(record.data()));
                if (event.heard == 0 && !event.whyLost && event.time <= addTime) // later checks take it for known
                    event.whyLost = kUnread;
            }
    }

    /// At the end: every event that is still in the log was heard, or there is a reason. @return how many for each
    std::map<std::string, int> account()
    {
        node.sim.clock().advance(std::chrono::seconds(200)); // past any time that was set back
        add(1);
        watch([this] { EXPECT_EQ(node.check(), 0); });
        for (const auto& record : node.bmc.machine().sel) {
            const Event& event = events.at(node.serialOf(record.data()));
            EXPECT_TRUE(event.heard > 0 || event.whyLost) << "lost: time " << event.time;
        }
        std::map<std::string, int> reasons;
        for (const Event& event : events)
            ++reasons[event.heard == 1  ? "heard once"
                      : event.heard > 1 ? "heard again"
                      : event.whyLost   ? event.whyLost
                                        : "erased before a check read it"];
        return reasons;
    }

    void judgeHeard(std::uint32_t since, std::uint32_t addTime, bool isRead)
    {
        std::vector<std::size_t> newer;
        for (const auto& record : IpmiIfc::getSelData(0))
            if (const std::size_t serial = node.serialOf(record->rawRecord().bytes); record->messageTimeStamp() > since)
                newer.push_back(serial);
            else if (events.at(serial).heard == 0 && !events.at(serial).whyLost)
                events.at(serial).whyLost = kNotNewer;
        EXPECT_TRUE(heard == newer || (heard.empty() && !isRead));
        for (const std::size_t serial : heard) {
            Event& event = events.at(serial);
            EXPECT_TRUE(event.heard == 0 || event.isAhead || event.clockBacks < clockBacks) << serial << " again";
            event.isAhead = ++event.heard == 1 && event.time > addTime;
        }
    }
};

TEST(SelEvents, AreHeardOnceButForTheReasonsThatThereAre)
{
    const std::uint64_t first = FaultTest::firstSeed();
    std::map<std::string, int> reasons;
    for (std::uint64_t seed = first; seed < first + kSeeds && !HasFailure(); ++seed) {
        SCOPED_TRACE("TRX_SEED=" + std::to_string(seed));
        World world(seed);
        for (int operation = 0; operation < kOperations && !HasFailure(); ++operation)
            world.operate();
        for (const auto& [why, count] : world.account())
            reasons[why] += count;
    }
    EXPECT_EQ(reasons.size(), 5u) << "each reason occurs";
    int others = 0;
    for (const auto& [why, count] : reasons)
        others += why == "heard once" ? 0 : count;
    EXPECT_GT(reasons["heard once"], others);
}

} // namespace
