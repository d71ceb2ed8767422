// An event log that changes, loses its reservation or lies while it is read: what the cache holds and what the handlers
// hear of then, and after the next addition, when all is well again.
#include "sel/SelBmc.h"

using namespace SelTest;

namespace
{

struct Scenario {
    const char* name;
    void (*disturb)(SelBmc&); ///< records 1 to 4 are known (at 10 to 40 s); 5 (at 50 s) and 6 (at 60 s) were added
    const char *cached, *handled;
    const char *cachedNext, *handledNext; ///< another was added at 100 s
};

const Scenario kScenarios[] = {
    {"nothing", [](SelBmc&) {}, "1 2 3 4 5 6", "5 6", "1 2 3 4 5 6 7", "7"},
    // What is added behind the info is handled twice: it is newer than the time that the info gave.
    {"added behind the info", [](SelBmc& node) { node.at(kReserveSel, 1, [](SelBmc& now) { now.add(70); }); },
     "1 2 3 4 5 6 7", "5 6 7", "1 2 3 4 5 6 7 8", "7 8"},
    {"added while read", [](SelBmc& node) { node.at(kGetSelEntry, 3, [](SelBmc& now) { now.add(70); }); },
     "1 2 3 4 5 6 7", "5 6 7", "1 2 3 4 5 6 7 8", "7 8"},
    // What cannot be read is read with the next addition, and not handled any more when it is no newer than the info.
    {"another id", [](SelBmc& node) { node.restart({entry(2, 0, {.otherRecordId = 9})}); }, "1 2 3 4", "",
     "1 2 3 4 5 6 7", "7"},
    {"silent from the second on", [](SelBmc& node) { node.restart({entry(3, 0, kSilence)}); }, "1 2 3 4 5", "5",
     "1 2 3 4 5 6 7", "7"},
    {"last one known deleted", [](SelBmc& node) { node.at(kReserveSel, 1, [](SelBmc& now) { now.erase(4, 4); }); },
     "1 2 3 4", "", "1 2 3 5 6 7", "7"},
    {"asked one deleted", [](SelBmc& node) { node.at(kGetSelEntry, 3, [](SelBmc& now) { now.erase(6, 6); }); },
     "1 2 3 4 5", "5", "1 2 3 4 5 6", "6"},
    {"cleared behind the info", [](SelBmc& node) { node.at(kReserveSel, 1, [](SelBmc& now) { now.erase(1, 9); }); },
     "1 2 3 4", "", "1", "1"},
    {"deleted before", [](SelBmc& node) { node.erase(1, 2); }, "3 4 5 6", "5 6", "3 4 5 6 7", "7"},
    {"deleted during the reload",
     [](SelBmc& node) {
         node.erase(1, 1);
         node.at(kGetSelEntry, 3, [](SelBmc& now) { now.erase(3, 4); });
     },
     "2 3", "", "2 5 6 7", "7"},
    {"added during the reload",
     [](SelBmc& node) {
         node.erase(1, 1);
         node.at(kGetSelEntry, 3, [](SelBmc& now) { now.add(70); });
     },
     "2 3 4 5 6", "5 6", "2 3 4 5 6 7 8", "7 8"},
    {"cleared to one entry",
     [](SelBmc& node) {
         node.erase(1, 9);
         node.add(70);
     },
     "1", "1", "1 2", "2"},
    {"cleared to none", [](SelBmc& node) { node.erase(1, 9); }, "", "", "1", "1"},
    {"round to itself", [](SelBmc& node) { node.restart({entry(3, 1, {.nextId = 6})}); }, "1 2 3 4 5 6", "5 6",
     "1 2 3 4 5 6 7", "7"},
    {"round", [](SelBmc& node) { node.restart({entry(3, 1, {.nextId = 5})}); }, "1 2 3 4 5 6", "5 6", "1 2 3 4 5 6 7",
     "7"},
    {"claims none",
     [](SelBmc& node) {
         node.restart({fault(kGetSelInfo, 1, 0, {.changed = {{2, 0}}})});
     },
     "1 2 3 4 5 6", "5 6", "1 2 3 4 5 6 7", "7"},
    {"claims many",
     [](SelBmc& node) {
         node.restart({fault(kGetSelInfo, 1, 0, {.changed = {{3, 0xff}}})});
     },
     "1 2 3 4 5 6", "5 6", "1 2 3 4 5 6 7", "7"},
    {"no info", [](SelBmc& node) { node.restart({fault(kGetSelInfo, 1, 0, code(0x81))}); }, "1 2 3 4", "",
     "1 2 3 4 5 6 7", "5 6 7"},
    // Times decide: an addition in the second of the last one is not seen, one that is older is not handled, and after
    // it all that is newer is handled again.
    {"added in the same second", [](SelBmc& node) { node.change([](auto& to) { to.selAddTime = kStart + 40; }); },
     "1 2 3 4", "", "1 2 3 4 5 6 7", "5 6 7"},
    {"time jumps back", [](SelBmc& node) { node.add(25); }, "1 2 3 4 5 6 7", "5 6", "1 2 3 4 5 6 7 8", "3 4 5 6 8"},
};

TEST(SelFaults, CostWhatTheyHit)
{
    for (const Scenario& row : kScenarios) {
        SCOPED_TRACE(row.name);
        SelBmc node(4);
        ASSERT_EQ(node.check(), 0);
        ASSERT_EQ(node.takeHandled() + cached(), "1 2 3 4");
        node.add(50);
        node.add(60);
        row.disturb(node);
        node.check();
        EXPECT_EQ(cached(), row.cached);
        EXPECT_EQ(node.takeHandled(), row.handled);
        EXPECT_LE(node.bmc.count(), 40u);

        node.before = nullptr;
        node.restart();
        node.add(100);
        EXPECT_EQ(node.check(), 0);
        EXPECT_EQ(cached(), row.cachedNext);
        EXPECT_EQ(node.takeHandled(), row.handledNext);
    }
}

/// Reservations that are lost before any one command, and additions that cancel them again and again.
TEST(SelFaults, LostReservationsCostNothing)
{
    for (const bool reloads : {false, true})
        for (int nth = 1; nth <= 9; ++nth)
            for (const bool adds : {false, true}) {
                SelBmc node(4);
                ASSERT_EQ(node.check(), 0);
                node.add(50);
                node.add(60);
                if (reloads)
                    node.erase(1, 1);
                node.before = [&, count = 0](const Sim::Request&) mutable {
                    if (++count >= nth && count < nth + 3)
                        adds ? node.add(60 + static_cast<std::uint32_t>(count)) : node.bmc.loseReservations();
                };
                EXPECT_EQ(node.check(), 0);
                EXPECT_EQ(node.check(), 0);
                std::string all;
                for (const auto& one : node.bmc.machine().sel)
                    all += (all.empty() ? "" : " ") + std::to_string(one[0]);
                EXPECT_EQ(cached(), all) << reloads << nth << adds;
                EXPECT_EQ(node.complaints(), Lines{});
            }
}

TEST(SelFaults, AFullHouseIsStillCounted)
{
    SelBmc node(256);
    unsigned short count = 1;
    EXPECT_EQ(node.check(&count), 0);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(cached(), range(57, 256)); // the process's first load
    node.add(5000);
    EXPECT_EQ(node.check(&count), 0);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(cached(), range(57, 257));
}

} // namespace
