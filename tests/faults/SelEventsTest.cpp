// What handlers hear of a log to which everything happens, and whose readers meet faults, held against the BMC's log:
// each event is heard once, but for the reasons below. Every run is the same; TRX_SEED=<seed> starts with that seed, as
// a failure names it.
#include "sel/RunningBmc.h"

#include <array>
#include <cstdlib>
#include <iostream>
#include <random>
#include <set>

using namespace Ipmi;

namespace
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kOperations = 30'000;
#else
constexpr int kOperations = 100'000;
#endif
constexpr int kOperationsOfSeed = 1000;

/// Why an event is not heard, or not only once. A reader knows two times of the log, in seconds, and goes by them.
enum Reason { kFirst, kSameSecond, kOlder, kErased, kUnread, kUnseen, kGarbled, kAhead, kOlderAgain, kReasons };
constexpr const char* kTexts[kReasons] = {
    "lost: nothing is newer than the addition time that is the first",
    "lost: not newer than the addition that was known when it came",
    "lost: older than that, on a clock that was set back",
    "lost: erased before a check could read it",
    "lost: the check that took over its addition time could not read it",
    "lost: after an erasure in the second of the one known, from where on to read is not known",
    "lost: the same, after a wrong id that came with the log's first record",
    "heard again: read by a check whose info it was newer than",
    "heard again, or late: the addition time was set back behind it",
};
using Tally = std::array<int, kReasons>;

struct Event {
    std::uint32_t time;
    int addedIn;    ///< operation
    int clockBacks; ///< before it came
    int heard = 0;
    bool isLost = false;
    bool isAhead = false; ///< heard, but newer than the addition time known
    bool isPlain = true;  ///< no reason was needed
};

/// A BMC, its reader and what is known of each event.
struct World {
    static constexpr std::uint32_t kStart = 1'700'000'000;
    static constexpr std::uint16_t kWrongId = 0x5555; ///< past all that there are

    const bool isCalm;
    std::mt19937_64 random;
    SelTest::RunningBmc node{[] { return TRX::Clock::get().steadyTime(); }};
    int operation = 0, clockBacks = 0;
    int left = 0; ///< commands until something happens between two of them
    std::function<void()> between{};
    std::vector<Event> events{};        ///< by serial
    std::vector<std::size_t> pending{}; ///< not heard yet, and not lost
    Tally tally{};
    // Of one check:
    ipmiifc_sel_info before, after;
    std::vector<std::size_t> heard{};
    std::optional<Reason> astray{};
    bool isDetected = false, isDisturbed = false, mayFail = false, isClearedByHandler = false;

    World(std::uint64_t seed, bool calm) : isCalm(calm), random(seed)
    {
        std::srand(static_cast<unsigned>(seed)); // of the library's pauses
        node.bmc.setSelTime(kStart);
        node.bmc.change([=](Sim::Machine& machine) { machine.selAddTime = calm ? kStart - 1 : 0; });
        node.before = [this](const Sim::Request&) {
            if (left > 0 && --left == 0)
                between();
        };
        IpmiIfc::registerSelEventHandler(0, hear, this);
        check();
    }

    // --- what happens

    unsigned below(std::size_t limit) { return static_cast<unsigned>(random() % limit); }
    std::uint16_t anyIdOf(const SelTest::Records& records) { return Sim::idOf(records[below(records.size())]); }
    void wait(unsigned milliseconds) { node.sim.clock().advance(std::chrono::milliseconds(milliseconds)); }

    void add(unsigned count)
    {
        for (; count > 0; --count) {
            node.addEvent(events.size());
            pending.push_back(events.size());
            events.push_back({.time = node.bmc.selTime(), .addedIn = operation, .clockBacks = clockBacks});
        }
    }

    /// Somebody else clears the log, or deletes a record.
    void eraseSome()
    {
        if (const auto records = node.bmc.machine().sel; records.empty() || below(2) == 0)
            node.bmc.clearSel();
        else
            node.bmc.deleteSelRecord(anyIdOf(records));
    }

    void setBack()
    {
        ++clockBacks;
        node.bmc.setSelTime(node.bmc.selTime() - 1 - below(100));
    }

    void check()
    {
        watch([] { EXPECT_EQ(IpmiIfcSelGetInfo(0, nullptr), 0); });
    }

    /// A check between whose commands something happens.
    void checkChanging()
    {
        const unsigned from = 1 + below(6), what = below(20);
        const bool isErasure = what >= 12 && what < 19;
        between = [=, this] { what < 12 ? add(1 + what / 8) : isErasure ? eraseSome() : setBack(); };
        left = static_cast<int>(from);
        watch([] { IpmiIfcSelGetInfo(0, nullptr); }, from, isErasure);
        left = 0;
    }

    /// A check of which commands go wrong.
    void checkFaulty()
    {
        const Sim::FaultAction faults[] = {
            {.noAnswer = true},       {.lostReservation = true},   {.completionCode = 0xc0},
            {.completionCode = 0xc3}, {.completionCode = 0xc5},    {.completionCode = 0xca},
            {.completionCode = 0xff}, {.otherRecordId = kWrongId}, {.cutTo = below(19)},
        };
        static constexpr std::uint64_t kCounts[] = {1, 3, 4, 100};
        const std::uint64_t from = 1 + below(below(3) == 0 ? 40 : 6), count = kCounts[below(std::size(kCounts))];
        const auto& action = faults[below(std::size(faults))];
        node.bmc.setFaults(Sim::FaultPlan({{.from = from, .count = count, .action = action}}));
        // What is tried four times is read, unless in pieces: these are not told from those of other records.
        watch([] { IpmiIfcSelGetInfo(0, nullptr); }, from, count > 3 || action.completionCode == 0xca);
        node.bmc.setFaults({});
    }

    void operate()
    {
        const unsigned what = below(1000);
        if (what < 280)
            add(what < 240 ? 1 : 2 + below(4));
        else if (what < 620)
            wait(below(5000));
        else if (what < 860)
            check();
        else if (what < 915)
            checkChanging();
        else if (what < 970)
            checkFaulty();
        else if (what < 988)
            eraseSome();
        else if (what < 995)
            watch([] { EXPECT_EQ(IpmiIfc::clearSel(0), 0); });
        else if (const auto records = node.bmc.machine().sel; what < 999 && !records.empty())
            watch([&] { EXPECT_EQ(IpmiIfc::deleteSelEntry(0, anyIdOf(records)), 0); });
        else if (below(4) == 0)
            setBack();
    }

    /// So many operations, and a check after which there is nothing more to wait for.
    void run(int operations)
    {
        for (; operation < operations && !testing::Test::HasFailure(); ++operation) {
            SCOPED_TRACE("operation " + std::to_string(operation));
            if (isCalm || operation == operations - 1) {
                wait(1000 + below(3000));
                add(below(4));
                check();
            } else
                operate();
        }
        EXPECT_TRUE(pending.empty() || clockBacks > 0);
    }

    static void hear(void* world, IpmiSelData* record)
    {
        World& self = *static_cast<World*>(world);
        self.heard.push_back(SelTest::RunningBmc::serialOf(record->rawRecord().bytes));
        if (self.isCalm || self.below(500) != 0)
            return;
        self.isClearedByHandler = true;
        const auto cached = self.node.cached();
        IpmiIfc::clearSel(0);
        EXPECT_EQ(self.node.cached(), cached); // what follows in it is heard
    }

    // --- what is to be heard of it

    static std::set<std::size_t> serialsOf(const SelTest::Records& records)
    {
        std::set<std::size_t> serials;
        for (const auto& record : records)
            serials.insert(SelTest::RunningBmc::serialOf(record.data()));
        return serials;
    }

    /// Why the cache may be none of the log, until the log is loaded anew.
    std::optional<Reason> whyAstray()
    {
        const auto records = node.cached();
        const Sim::Machine log = node.bmc.machine();
        if (!records.empty() && Sim::idOf(records[0]) == kWrongId)
            return kGarbled;
        const bool isKnown = IpmiIfc::getRawSelHeader(0).eraseTime() != log.selEraseTime ||
                             std::ranges::includes(serialsOf(log.sel), serialsOf(records));
        return isKnown ? std::nullopt : std::optional(kUnseen);
    }

    /// @param disturbedFrom  the command from which on things go wrong; 0: none
    /// @param isUnreadable   whether records may then not be read
    void watch(const std::function<void()>& look, std::uint64_t disturbedFrom = 0, bool isUnreadable = false)
    {
        before = IpmiIfc::getRawSelHeader(0);
        astray = whyAstray();
        node.bmc.clearCounts();
        heard.clear();
        isClearedByHandler = false;
        look();
        after = IpmiIfc::getRawSelHeader(0);
        const bool isReloaded = after.eraseTime() != before.eraseTime();
        if (isReloaded || !astray)
            astray = whyAstray();
        isDetected = isReloaded || after.addTime() != before.addTime();
        isDisturbed = disturbedFrom != 0 && node.bmc.count() >= disturbedFrom;
        mayFail = isDisturbed && isUnreadable;
        judge();
    }

    void judge()
    {
        const Sim::Machine log = node.bmc.machine();
        const auto records = node.cached();
        if (!isDisturbed && !isClearedByHandler) {
            EXPECT_EQ(after.addTime(), log.selAddTime);
            EXPECT_EQ(after.eraseTime(), log.selEraseTime);
            EXPECT_TRUE(!isDetected || astray || records == log.sel) << "the cache is not the log";
        }
        EXPECT_EQ(std::set(heard.begin(), heard.end()).size(), heard.size()) << "twice in one check";
        for (const std::size_t serial : heard)
            judgeHeard(events.at(serial));
        std::erase_if(pending, [&, cached = serialsOf(records), logged = serialsOf(log.sel)](std::size_t serial) {
            return isSettled(events[serial], isDetected && cached.contains(serial), !logged.contains(serial));
        });
    }

    void judgeHeard(Event& event)
    {
        const bool isFirst = event.heard++ == 0 && !event.isLost;
        EXPECT_TRUE(isFirst || event.isAhead || event.clockBacks < clockBacks) << "again, time " << event.time;
        if (!isFirst)
            excuse(event, event.isAhead ? kAhead : kOlderAgain);
        event.isAhead = isFirst && event.addedIn == operation && event.time > after.addTime();
    }

    /// Whether there is nothing more to wait for with an event that was not heard before.
    bool isSettled(Event& event, bool isRead, bool isErased)
    {
        if (event.heard > 0)
            return true;
        const bool mayCome = isRead ? event.time <= before.addTime() : !isErased;
        if (mayCome && event.time > after.addTime()) {
            EXPECT_TRUE(isRead || isDisturbed || astray || event.clockBacks < clockBacks) << "not seen";
            return false;
        }
        event.isLost = true;
        const auto why = whyLost(event, isRead, isErased);
        EXPECT_TRUE(why) << "lost: " << event.time << ", known " << before.addTime() << ", then " << after.addTime();
        excuse(event, why.value_or(kFirst));
        return true;
    }

    std::optional<Reason> whyLost(const Event& event, bool isRead, bool isErased) const
    {
        if (!isRead && isErased)
            return kErased;
        if (event.time == before.addTime())
            return kSameSecond;
        if (event.time < before.addTime())
            return event.clockBacks > 0 ? std::optional(kOlder) : std::nullopt;
        if (before.addTime() == 0)
            return kFirst;
        if (isRead)
            return std::nullopt;
        if (isDisturbed && event.addedIn == operation && event.time == after.addTime())
            return kSameSecond;
        return mayFail ? kUnread : astray;
    }

    void excuse(Event& event, Reason why)
    {
        event.isPlain = false;
        ++tally[why];
    }
};

bool isPlain(const Event& event)
{
    return event.heard == 1 && event.isPlain;
}

TEST(SelEvents, areHeardOnceWhereNothingGoesWrong)
{
    World world(1, true);
    world.run(300);
    EXPECT_TRUE(std::ranges::all_of(world.events, isPlain));
}

TEST(SelEvents, areHeardOnceButForTheReasonsThatThereAre)
{
    const char* text = std::getenv("TRX_SEED");
    std::uint64_t seed = text ? std::strtoull(text, nullptr, 0) : 1;
    Tally tally{};
    std::size_t events = 0, plain = 0;
    for (int done = 0; done < kOperations && !HasFailure(); done += kOperationsOfSeed, ++seed) {
        SCOPED_TRACE("TRX_SEED=" + std::to_string(seed));
        World world(seed, false);
        world.run(kOperationsOfSeed);
        events += world.events.size();
        plain += static_cast<std::size_t>(std::ranges::count_if(world.events, isPlain));
        std::ranges::transform(tally, world.tally, tally.begin(), std::plus());
    }
    std::cout << plain << " of " << events << " events heard once\n";
    for (std::size_t why = 0; why < kReasons; ++why) {
        std::cout << tally[why] << " times " << kTexts[why] << '\n';
        EXPECT_GT(tally[why], 0) << kTexts[why];
    }
    EXPECT_GT(plain, events / 2);
}

} // namespace
