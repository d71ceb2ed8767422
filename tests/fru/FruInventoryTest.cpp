// SPDX-License-Identifier: Apache-2.0
// The inventory: which devices it asks, where, and what callers find.
#include "fru/FruBmc.h"
#include "ipmi/IpmiFruBoard.h"
#include "ipmi/IpmiFruChassis.h"
#include "ipmi/IpmiFruMulti.h"
#include "ipmi/IpmiFruProduct.h"
#include "transport/TargetScope.h"

#include <thread>

using namespace Ipmi;
using namespace FruTest;

namespace
{

constexpr std::uint8_t kNodeController = 0x82;

/// The BMC and a satellite, each with devices 0 and 3.
Sim::Machine twoControllers(std::vector<Bytes> records)
{
    for (std::size_t i = 0; i < records.size(); ++i)
        records[i][0] = static_cast<std::uint8_t>(i + 1); // their ids
    Sim::Machine machine = machineWith(contents(), std::move(records));
    machine.controllers[kNodeController];
    for (const std::uint8_t controller : {kBmc, kNodeController})
        for (const int device : {0, 3})
            machine.fru[Sim::FruKey(static_cast<std::uint8_t>(device), controller)] = Sim::writeFru(contents());
    return machine;
}

TEST(FruInventory, AsksEachDeviceWhereItsRecordSays)
{
    const Changes isPrivate{{7, 0x02}}, memory{{10, 0x10}, {11, 1}}, almostMemory{{10, 0x10}, {11, 0}},
        oldMemory{{10, 0x07}, {11, 1}};
    const auto at = [](std::uint8_t controller, std::uint8_t device, const Changes& changes = {}) {
        return locator(1, controller, device, changes);
    };
    const std::uint8_t far = kNodeController;
    const struct {
        const char* name;
        std::vector<Bytes> records;
        std::string frus;    ///< device, number of areas; f: fallback
        std::string devices; ///< controller:device; p: on a private bus; (): not asked with Get FRU Inventory Area Info
    } rows[] = {
        {"no records", {}, "0/4f", "20:0"},
        {"device 0 of the BMC", {at(0x20, 0)}, "0/4", "20:0"},
        {"another one", {at(0x20, 3)}, "3/4 0/4f", "20:3 20:0"},
        {"a satellite's, and the fallback there", {at(far, 3)}, "3/4 0/4f", "82:3 82:0"},
        {"device 0 of a satellite will do", {at(far, 0)}, "0/4", "82:0"},
        {"no address: as the one before", {at(far, 3), at(0, 0)}, "3/4 0/4", "82:3 82:0"},
        {"repository's order", {at(0x20, 0), at(far, 3), at(0x20, 3)}, "0/4 3/4 3/4", "20:0 82:3 20:3"},
        {"behind a private bus", {at(0x20, 0xa0, isPrivate)}, "0/4f", "(20:160p2) 20:0"},
        {"a memory module's", {at(0x20, 3, memory)}, "3/0 0/4f", "(20:3) 20:0"},
        {"not quite", {at(0x20, 3, almostMemory)}, "3/4 0/4f", "20:3 20:0"},
        {"not quite either", {at(0x20, 3, oldMemory)}, "3/4 0/4f", "20:3 20:0"},
        {"one that is not there", {at(0x20, 9), at(0x20, 0)}, "9/0 0/4", "20:9 20:0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        FruBmc bmc(twoControllers(row.records));
        IpmiIfcSdrGetInfo(0);
        bmc.restart();
        EXPECT_EQ(IpmiIfcFruInstantiateAll(0), 0);
        EXPECT_EQ(TargetScope::current(0).address, 0U) << "as before";
        std::string asked, frus, devices, ofDevices;
        for (const Sim::Request& request : bmc.bmc.log())
            if (request.cmd == kInfo)
                asked += written(std::hex, ' ', +request.address, ':', std::dec, +request.data.at(0));
        for (const auto& fru : IpmiIfc::getFrus(0))
            frus +=
                written(' ', fru->getOwnerId(), '/', fru->getOptionalRefArray().size(), fru->isFallback() ? "f" : "");
        for (const IpmiFruDevice& one : IpmiIfc::getFruDevices(0)) {
            const std::string bus = one.isLogical ? "" : written('p', +one.bus),
                              place = written(std::hex, +one.controller, ':', std::dec, +one.id, bus);
            const bool isAsked = one.state != IpmiFruDevice::kNotAsked;
            devices += ' ' + (isAsked ? place : '(' + place + ')');
            ofDevices += isAsked ? ' ' + place : "";
        }
        EXPECT_EQ(frus, ' ' + row.frus);
        EXPECT_EQ(devices, ' ' + row.devices);
        EXPECT_EQ(asked, ofDevices);
    }
}

TEST(FruInventory, AFruKnowsItsPlace)
{
    const Bytes record = locator(1, 0x24, 7, {{7, 0x98}, {8, 0x60}});
    const IpmiFru fru(IpmiSdrRecord(static_cast<unsigned>(record.size()), record.data()), {}, 2, false);
    EXPECT_EQ(facts("id lun channel address logical entity instance node",
                    {fru.getOwnerId(), fru.getLun(), fru.getChannel(), fru.getSlaveAddress(), fru.isLogical(),
                     fru.getEntity().getId(), fru.getEntity().getInstance(), fru.getEntity().getNode()}),
              "id 7, lun 3, channel 6, address 36, logical 1, entity 7, instance 1, node 2");
    const IpmiFru none(IpmiSdrRecord(), {}, 0, true);
    EXPECT_EQ(none.getOwnerId() + none.getLun() + none.getChannel() + none.getSlaveAddress(), 0U);
}

TEST(FruInventory, APartIsAnAreaInALine)
{
    FruBmc bmc(machineWith(contents()), {});
    IpmiIfcFruInstantiateAll(0);
    std::string parts;
    for (auto& area : IpmiIfc::getFrus(0).at(0)->getOptionalRefArray()) {
        const FruPart part = IpmiIfc::getFruPart(area);
        for (const std::string& text :
             {part.kind, part.name, part.partNumber, part.version, part.manufacturer, part.mfgDate})
            parts += text + '|';
        parts += '\n';
    }
    EXPECT_EQ(parts, "Chassis|Rack Mount Chassis|CH-1||||\n"
                     "Board|Board|BP-1||Example|1996-01-01T00:00:00|\n"
                     "Product|Server|P-1|1.0|Example||\n"
                     "||||||\n");
    TRX::Reference<IpmiFruOptional> none;
    EXPECT_EQ(IpmiIfc::getFruPart(none).kind, "");
}

/// A refused size costs one command in a pass; each area its length and then its bytes.
TEST(FruInventory, CommandsAreCounted)
{
    FruBmc bmc(machineWith(contents()), {});
    IpmiIfcFruInstantiateAll(0);
    EXPECT_EQ(bmc.reads(), "0+8 16+2 16+16 32+2 32+23 55+17 72+2 72+23 95+9 104+5 122+5 104+23 127+23 150+7 ");
    bmc.bmc.state()->limits.fru = 16;
    for (int pass = 0; pass < 2; ++pass) {
        bmc.restart();
        IpmiIfcFruInstantiateAll(0);
        EXPECT_EQ(bmc.asked(kRead), 16 + 7) << "refused at 23 to 17, on each pass anew";
        EXPECT_EQ(bmc.asked(kInfo), 1);
    }
}

TEST(FruInventory, WhatItLeavesOutIsReadWhenAskedFor)
{
    FruBmc bmc(twoControllers({locator(1, kNodeController, 3), locator(2, 0x20, 0)}));
    auto& images = bmc.bmc.state()->machine.fru;
    images[Sim::FruKey(0)].access = Sim::FruAccess::words;
    images[Sim::FruKey(3, kNodeController)].image.push_back(0);
    IpmiIfcSdrGetInfo(0);
    IpmiIfcFruInstantiateAll(0);
    std::vector<IpmiFruDevice> devices = IpmiIfc::getFruDevices(0);
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(devices[1].state, IpmiFruDevice::kByWords);
    for (const IpmiFruDevice& device : devices) {
        const IpmiFruDevice whole = IpmiIfc::readFru(0, device);
        EXPECT_EQ(whole.state, IpmiFruDevice::kRead);
        EXPECT_TRUE(whole.headerChecksumOk);
        ASSERT_EQ(whole.areas.size(), 5U);
        EXPECT_EQ(whole.areas[0].kind, IpmiFruArea::kInternal);
        for (const IpmiFruArea& area : whole.areas)
            EXPECT_TRUE(area.whole && area.checksumOk) << kindName(area.kind);
        const IpmiFruImage image = IpmiIfc::readFruImage(0, device);
        EXPECT_EQ(image.state, IpmiFruDevice::kRead);
        EXPECT_EQ(image.bytes, images[Sim::FruKey(device.id, device.controller)].image);
        EXPECT_EQ(whole.areas[0].contents->length(), 8U);
    }
    bmc.restart({fault(kRead, 3, 1, kSilence)});
    const IpmiFruImage part = IpmiIfc::readFruImage(0, devices[1]);
    EXPECT_EQ(part.state, IpmiFruDevice::kNoAnswer) << "a part is not the whole";
    EXPECT_EQ(part.bytes.size(), 32U);
}

/// Wherever memory runs out, the target is as before, nothing stays locked, and what was published stays.
TEST(FruInventory, AnExceptionLeavesEverythingAsItWas)
{
    FruBmc bmc(twoControllers({locator(1, kNodeController, 3), locator(2, 0x20, 0)}));
    IpmiIfcSdrGetInfo(0);
    IpmiIfcFruInstantiateAll(0);
    int thrown = 0;
    for (bool throws = true; throws; thrown += throws ? 1 : 0) {
        bmc.sim.log().throwAt(thrown + 1);
        try {
            IpmiIfcFruInstantiateAll(0);
            throws = false;
        } catch (const std::bad_alloc&) {
        }
        EXPECT_EQ(TargetScope::current(0).address, 0U);
        EXPECT_EQ(IpmiIfc::getFrus(0).size(), 2U);
        EXPECT_EQ(IpmiIfc::getFruDeviceHeader(0).isByWords(), false);
    }
    EXPECT_GT(thrown, 300);
}

TEST(FruInventory, AStopInTheMiddleKeepsTheOneBefore)
{
    FruBmc bmc(twoControllers({locator(1, 0x20, 3), locator(2, 0x20, 0)}));
    IpmiIfcSdrGetInfo(0);
    IpmiIfcFruInstantiateAll(0);
    bmc.before = [](const Sim::Request& request) {
        g_IpmiNode[0].shutdown = request.cmd == kRead;
        return true;
    };
    IpmiIfcFruInstantiateAll(0);
    EXPECT_TRUE(g_IpmiNode[0].shutdown.exchange(false));
    for (const IpmiFruDevice& device : IpmiIfc::getFruDevices(0))
        EXPECT_EQ(device.areas.size(), 4U);
}

/// Callers find the inventory before while the BMC is silent in the middle of the next one.
TEST(FruInventory, NobodyWaitsForTheBmc)
{
    FruBmc bmc(machineWith(contents(), {locator(1, 0x20, 0)}));
    IpmiIfcSdrGetInfo(0);
    IpmiIfcFruInstantiateAll(0);
    std::size_t seen = 0;
    bmc.before = [&](const Sim::Request& request) {
        if (request.cmd == kRead) {
            std::thread([&] {
                seen += IpmiIfc::getFrus(0).size() + IpmiIfc::getFruDevices(0).size();
                IpmiIfc::getSensors(0);
            }).join();
        }
        return true;
    };
    bmc.restart();
    IpmiIfcFruInstantiateAll(0);
    EXPECT_EQ(seen, 2 * static_cast<std::size_t>(bmc.asked(kRead)));
}

} // namespace
