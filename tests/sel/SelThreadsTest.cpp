// Many threads on one event log, with handlers that do all that handlers may do.
#include "ipmi/CmpiStatus.h"
#include "sel/RunningBmc.h"

#include <array>
#include <atomic>
#include <set>
#include <thread>

using namespace Ipmi;

namespace
{

/// A handler that can be told from others; those of one node are called by one thread at a time.
struct Listener {
    std::function<void(std::size_t serial)> hear{};
    std::atomic<int> calls{0}, registrations{0};
};
enum Role { kReader, kLeaver, kDoorman, kGuest, kVisitor, kCleaner, kThrower, kRoles };
std::array<Listener, kRoles> listeners;

template <int role> void hear(void* listener, IpmiSelData* record)
{
    EXPECT_EQ(listener, &listeners[role]);
    ++listeners[role].calls;
    if (listeners[role].hear)
        listeners[role].hear(SelTest::RunningBmc::serialOf(record->rawRecord().bytes));
}
constexpr SelEventHandler kHandlers[kRoles] = {hear<0>, hear<1>, hear<2>, hear<3>, hear<4>, hear<5>, hear<6>};

bool enlist(Role role)
{
    const bool isNew = IpmiIfc::registerSelEventHandler(0, kHandlers[role], &listeners[role]) == 0;
    listeners[role].registrations += isNew ? 1 : 0;
    return isNew;
}

bool dismiss(Role role)
{
    return IpmiIfc::unRegisterSelEventHandler(0, kHandlers[role]) == 0;
}

/// With another event logged each time that somebody looks at the log, and time that passes with each command: nothing
/// happens in the same second, and no check reads ahead of its info.
struct BusyBmc {
    std::atomic<int> seconds{1'700'000'000}, events{0};
    SelTest::RunningBmc node{[this] { return std::chrono::seconds(seconds); }};

    BusyBmc()
    {
        for (Listener& listener : listeners)
            listener.calls = listener.registrations = 0;
        node.before = [this](const Sim::Request& request) {
            ++seconds;
            if (request.netfn == 0x0a && request.cmd == 0x40)
                node.addEvent(static_cast<std::size_t>(events++));
        };
        IpmiIfcSelGetInfo(0, nullptr);
    }
};

void readCaches()
{
    EXPECT_TRUE(IpmiIfc::getSel(0));
    EXPECT_EQ(IpmiIfc::getRawSelHeader(0).version(), 0x51);
    for (const auto& record : IpmiIfc::getSelData(0))
        EXPECT_TRUE(record->isSelEventRecord());
    EXPECT_TRUE(IpmiIfc::getSensors(0).empty());
}

TEST(SelThreads, handlersMayDoAnythingWhileOthersCheckAndErase)
{
    constexpr int kChecks = 400;
    BusyBmc bmc;
    std::set<std::size_t> heard;
    int thrown = 0;
    std::atomic<int> caught{0};
    const auto guarded = [&](const auto& use) {
        try {
            use();
        } catch (const CmpiStatus&) {
            ++caught;
        }
    };
    const auto check = [&] { guarded([] { EXPECT_EQ(IpmiIfcSelGetInfo(0, nullptr), 0); }); };
    listeners[kReader].hear = [&](std::size_t serial) {
        EXPECT_TRUE(heard.insert(serial).second) << "again";
        readCaches();
    };
    listeners[kLeaver].hear = [](std::size_t) { EXPECT_TRUE(dismiss(kLeaver)); };
    listeners[kDoorman].hear = [](std::size_t) {
        // The guest's turn would come after the doorman's, who dismisses him in time.
        EXPECT_TRUE(dismiss(kGuest) || (enlist(kGuest) && dismiss(kDoorman) && enlist(kDoorman)));
    };
    listeners[kCleaner].hear = [](std::size_t serial) {
        if (serial % 20 == 0)
            IpmiIfc::clearSel(0); // fails when others have reserved the log meanwhile
    };
    listeners[kThrower].hear = [&](std::size_t serial) {
        if (serial % 10 == 0) {
            ++thrown;
            throw CmpiStatus(CMPI_RC_ERROR, "thrown");
        }
    };
    for (const Role role : {kThrower, kCleaner, kDoorman, kReader})
        EXPECT_TRUE(enlist(role));

    std::atomic<bool> end{false};
    std::vector<std::thread> threads;
    const auto again = [&](auto what) {
        threads.emplace_back([&end, what] {
            while (!end)
                what();
        });
    };
    again(check);
    again(readCaches);
    again([] { enlist(kLeaver); });
    again([&] { guarded([] { IpmiIfc::clearSel(0); }); });
    again([&] {
        const auto records = IpmiIfc::getSelData(0);
        if (!records.empty())
            guarded([&] { IpmiIfc::deleteSelEntry(0, records.front()->recordId()); });
    });
    again([&] {
        EXPECT_TRUE(enlist(kVisitor));
        check();
        EXPECT_TRUE(dismiss(kVisitor));
        check(); // whoever was calling handlers has ended
        const int calls = listeners[kVisitor].calls;
        check();
        EXPECT_EQ(listeners[kVisitor].calls, calls);
    });
    for (int i = 0; i < kChecks; ++i)
        check();
    end = true;
    for (auto& thread : threads)
        thread.join();

    EXPECT_EQ(thrown, caught);
    EXPECT_LE(listeners[kLeaver].calls, listeners[kLeaver].registrations);
    EXPECT_EQ(listeners[kGuest].calls, 0);
    for (const Role role : {kLeaver, kDoorman, kVisitor, kThrower})
        EXPECT_GT(listeners[role].calls, 0) << role;
    EXPECT_GT(static_cast<int>(heard.size()), bmc.events / 2);
    for (const Role role : {kThrower, kCleaner, kDoorman})
        EXPECT_TRUE(dismiss(role));
    check();
    EXPECT_EQ(*heard.rbegin() + 1, static_cast<std::size_t>(bmc.events));
    EXPECT_EQ(bmc.node.cached(), bmc.node.bmc.machine().sel);
}

TEST(SelThreads, whatAHandlerThrowsReachesTheCheckerAndLeavesTheNodeToOthers)
{
    BusyBmc bmc;
    listeners[kThrower].hear = [](std::size_t) { throw CmpiStatus(CMPI_RC_ERROR, "thrown"); };
    ASSERT_TRUE(enlist(kThrower));
    EXPECT_THROW(IpmiIfcSelGetInfo(0, nullptr), CmpiStatus);
    EXPECT_THROW(IpmiIfc::clearSel(0), CmpiStatus);
    EXPECT_TRUE(dismiss(kThrower));
    std::thread([] {
        EXPECT_TRUE(enlist(kVisitor));
        EXPECT_EQ(IpmiIfcSelGetInfo(0, nullptr), 0);
    }).join();
    EXPECT_EQ(listeners[kVisitor].calls, 1);
}

} // namespace
