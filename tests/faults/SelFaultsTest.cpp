// An event log that changes, loses its reservation or lies while it is read: what the cache holds and what the handlers
// hear of then, and after the next addition, when all is well again.
#include "sel/SelBmc.h"

using namespace SelTest;

namespace
{

using Change = std::function<void(SelBmc&)>;

const Change nothing = [](SelBmc&) {};
constexpr auto adds = [](std::uint32_t seconds) { return Change([=](SelBmc& node) { node.add(seconds); }); };
constexpr auto answers = [](const Sim::FaultRule& rule) { return Change([=](SelBmc& node) { node.restart({rule}); }); };
constexpr auto both = [](const Change& first, const Change& then) {
    return Change([=](SelBmc& node) { first(node), then(node); });
};
constexpr auto erases = [](unsigned first, unsigned last) {
    return Change([=](SelBmc& node) { node.erase(first, last); });
};
/// Before the nth of these requests, counted from now.
Change before(std::uint8_t cmd, int nth, const Change& change)
{
    return [=](SelBmc& node) {
        node.before = [=, &node, left = nth](const Sim::Request& request) mutable {
            if (request.cmd == cmd && --left == 0)
                change(node);
            return true;
        };
    };
}
const Change refillsWithoutAnErasureTime = [](SelBmc& node) {
    node.change([](Sim::Machine& machine) {
        machine.sel.clear();
        for (unsigned id = 1; id <= 5; ++id)
            machine.sel.push_back(record(id, machine.selAddTime = kStart + 60 + id));
    });
};
const Change addsInTheSecondOfAnAddition = [](SelBmc& node) {
    node.change([](Sim::Machine& machine) { machine.selAddTime = kStart + 40; });
};

TEST(SelFaults, CostWhatTheyHit)
{
    static const struct {
        const char* name;
        Change disturb; ///< records 1 to 4 are known (at 10 to 40 s); 5 (at 50 s) and 6 (at 60 s) were added
        const char *cached, *handled;
        const char *cachedNext, *handledNext; ///< another was added at 100 s
    } rows[] = {
        {"nothing", nothing, "1 2 3 4 5 6", "5 6", "1 2 3 4 5 6 7", "7"},
        // What is added behind the info is handled twice: it is newer than the time that the info gave.
        {"added behind the info", before(kReserveSel, 1, adds(70)), "1 2 3 4 5 6 7", "5 6 7", "1 2 3 4 5 6 7 8", "7 8"},
        {"added during the reload", both(erases(1, 1), before(kGetSelEntry, 3, adds(70))), "2 3 4 5 6", "5 6",
         "2 3 4 5 6 7 8", "7 8"},
        // What cannot be read is read with the next addition, and not handled any more when no newer than the info.
        {"another id", answers(entry(1, 0, {.otherRecordId = 9})), "1 2 3 4", "", "1 2 3 4 5 6 7", "7"},
        {"silent later", answers(entry(3, 0, kSilence)), "1 2 3 4 5", "5", "1 2 3 4 5 6 7", "7"},
        {"deleted while reloaded", both(erases(1, 1), before(kGetSelEntry, 3, erases(3, 4))), "2 3", "", "2 5 6 7",
         "7"},
        // The log is read anew at once where the last one known is gone, whatever the erasure time is.
        {"last one known deleted", before(kReserveSel, 1, erases(4, 4)), "1 2 3 5 6", "5 6", "1 2 3 5 6 7", "7"},
        {"another under its id", refillsWithoutAnErasureTime, "1 2 3 4 5", "1 2 3 4 5", "1 2 3 4 5 6", "6"},
        {"wrong id of the only one", both(erases(1, 5), answers(entry(1, 1, {.otherRecordId = 9}))), "9", "9", "6 7",
         "7"},
        {"round", answers(entry(3, 1, {.nextId = 5})), "1 2 3 4 5 6", "5 6", "1 2 3 4 5 6 7", "7"},
        {"claims none", answers(fault(kGetSelInfo, 1, 0, {.changed = {{2, 0}}})), "1 2 3 4 5 6", "5 6", "1 2 3 4 5 6 7",
         "7"},
        {"no info", answers(fault(kGetSelInfo, 1, 0, code(0x81))), "1 2 3 4", "", "1 2 3 4 5 6 7", "5 6 7"},
        // Times decide: an addition in the second of the last one is not seen, one that is older is not handled, and
        // after it all that is newer is handled again.
        {"added in the same second", addsInTheSecondOfAnAddition, "1 2 3 4", "", "1 2 3 4 5 6 7", "5 6 7"},
        {"time jumps back", adds(25), "1 2 3 4 5 6 7", "5 6", "1 2 3 4 5 6 7 8", "3 4 5 6 8"},
    };
    for (const auto& row : rows) {
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

} // namespace
