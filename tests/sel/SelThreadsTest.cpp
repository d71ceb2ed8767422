// SPDX-License-Identifier: Apache-2.0
// Many threads on one event log, with handlers that throw, erase and come and go.
#include "ipmi/CmpiStatus.h"
#include "sel/SelBmc.h"

#include <atomic>
#include <set>
#include <thread>

using namespace Ipmi;
using SelTest::SelBmc;

namespace
{

/// Of all events; handlers of one node are called by one thread at a time.
std::set<std::size_t> heard;
std::atomic<int> thrown{0}, caught{0};

void hear(void*, IpmiSelData* record)
{
    const std::size_t serial = SelBmc::serialOf(record->rawRecord().bytes);
    EXPECT_TRUE(heard.insert(serial).second) << serial << " again";
    if (serial % 20 == 0)
        IpmiIfc::clearSel(0); // fails when others have reserved the log meanwhile
    if (serial % 10 != 0)
        return;
    ++thrown;
    throw CmpiStatus(CMPI_RC_ERROR, "thrown");
}

/// One of the things that callers do: 0, a check; 1 and 2, erasures.
void use(int which)
{
    try {
        const auto records = IpmiIfc::getSelData(0);
        if (which == 0)
            EXPECT_EQ(IpmiIfcSelGetInfo(0, nullptr), 0);
        else if (which == 1)
            IpmiIfc::clearSel(0);
        else if (!records.empty())
            IpmiIfc::deleteSelEntry(0, records.front()->recordId());
    } catch (const CmpiStatus&) {
        ++caught;
    }
}

TEST(SelThreads, HandlersMayDoAnythingWhileOthersCheckAndErase)
{
    // Another event is logged each time that somebody looks at the log, and time passes with each command: nothing
    // happens in the same second, and no check reads ahead of its info.
    std::atomic<std::uint32_t> seconds{SelTest::kStart}, events{0};
    SelBmc node;
    node.before = [&](const Sim::Request& request) {
        node.bmc.state()->clock.set(++seconds);
        if (request.netfn == 0x0a && request.cmd == SelTest::kGetSelInfo)
            node.addSerial(events++);
        return true;
    };
    IpmiIfc::registerSelEventHandler(0, hear, nullptr);
    use(0);
    std::vector<std::jthread> threads;
    for (const int which : {0, 1, 2})
        threads.emplace_back([which](const std::stop_token& end) {
            while (!end.stop_requested())
                use(which);
        });
    for (int i = 0; i < 400; ++i)
        use(0);
    threads.clear();
    EXPECT_EQ(thrown, caught);
    EXPECT_GT(heard.size(), events / 2);
    EXPECT_EQ(IpmiIfc::unRegisterSelEventHandler(0, hear), 0);
    use(0);
    EXPECT_EQ(SelTest::cachedRecords(), node.bmc.machine().sel);
}

} // namespace
