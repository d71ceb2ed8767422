// SPDX-License-Identifier: Apache-2.0
// The tree of entities, from records good and bad.
#include "entity/IpmiIfcEntity.h"
#include "ipmi/IpmiIfc.h"
#include "sdr/SdrBmc.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace SdrTest;
using Ipmi::IpmiEntity;
using Ipmi::IpmiIfc;

constexpr std::uint8_t kList = 0x00, kRange = 0x80;

/// An association record: container, flags, members.
Bytes association(std::uint8_t flags, Bytes members, Bytes container = {7, 1}, std::uint8_t type = 0x08)
{
    Bytes body = container;
    body.push_back(flags);
    body.insert(body.end(), members.begin(), members.end());
    return Sim::writeRecord(0, type, body);
}

Bytes sensorOf(std::uint8_t entity, std::uint8_t instance, Kind kind = Kind::full)
{
    return sensorRecord(kind, 0x01, {{kEntityAt, entity}, {kEntityAt + 1, instance}});
}

/// The flat list, "<container" behind what is contained.
std::string flat()
{
    std::string text;
    for (const IpmiEntity& entity : IpmiIfc::getEntities()) {
        const auto name = [](const IpmiEntity& e) {
            return std::to_string(e.getId()) + "." + std::to_string(e.getInstance());
        };
        const IpmiEntity parent = entity.getParent();
        text += (text.empty() ? "" : " ") + name(entity) + (parent.getId() ? "<" + name(parent) : "");
    }
    return text;
}

TEST(EntityTree, IsWhatTheRecordsSay)
{
    const struct {
        const char* name;
        std::vector<Bytes> records; ///< the last one is the first in the lists
        const char* flat;
    } rows[] = {
        {"list", {association(kList, {10, 1, 10, 2, 0, 0, 3, 1})}, "7.1 10.1<7.1 10.2<7.1 3.1<7.1"},
        {"range", {association(kRange, {10, 1, 10, 3, 0, 0, 0, 0})}, "7.1 10.1<7.1 10.2<7.1 10.3<7.1"},
        {"ids of a range differ", {association(kRange, {10, 1, 11, 3, 29, 4, 29, 5})}, "7.1 29.4<7.1 29.5<7.1"},
        {"backward range", {association(kRange, {10, 3, 10, 1, 0, 0, 0, 0})}, "7.1"},
        {"range to FFh", {association(kRange, {10, 0xfe, 10, 0xff, 0, 0, 0, 0})}, "7.1 10.126<7.1 10.127<7.1"},
        {"twice the same", {association(kList, {3, 1, 3, 0x81, 3, 1, 4, 1})}, "7.1 3.1<7.1 4.1<7.1"},
        {"two records", {association(kList, {4, 1}), association(kList, {3, 1})}, "7.1 3.1<7.1 4.1<7.1"},
        {"container contained",
         {association(kList, {32, 1}, {8, 1}), association(kList, {8, 1})},
         "7.1 8.1<7.1 8.1<7.1 32.1<8.1"},
        {"device-relative", {association(kList, {29, 0x61, 0, 0}, {23, 1}, 0x09)}, "23.1 29.97<23.1"},
        {"cut record", {association(kList, {3}), association(kRange, {})}, "7.1 3.0<7.1"},
        {"sensors",
         {sensorOf(23, 1, Kind::eventOnly), sensorOf(20, 1, Kind::compact), sensorOf(19, 1), sensorOf(10, 0x82),
          sensorOf(10, 2), association(kList, {10, 2})},
         "7.1 10.2<7.1 19.1 20.1 23.1"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<Bytes> records = row.records;
        for (std::uint8_t id = 1; Bytes & record : records)
            record[0] = id++;
        SdrBmc node(records);
        for (int load = 0; load < 2; ++load) { // the second changes nothing
            ASSERT_EQ(Ipmi::IpmiIfcSdrGetInfo(0), 0);
            EXPECT_EQ(flat(), row.flat);
        }
    }
    EXPECT_NE(IpmiIfc::getEntities().size(), 0U) << "the flat list outlives the tree";
    EXPECT_EQ(IpmiIfc::getEntityParent(0, 10, 2).getId(), 0U) << "the tree has gone with the node";
}

TEST(EntityTree, RefusesWhatDoesNotFit)
{
    SdrBmc node(std::vector<Bytes>{});
    Ipmi::entity_id board{7, 1}, other{7, 2};
    EXPECT_EQ(Ipmi::IpmiIfcEntityAddChild(0, &board, 3, 1), -1) << "empty tree";
    EXPECT_EQ(Ipmi::IpmiIfcEntityAddParent(0, &board, 1), 0);
    EXPECT_EQ(Ipmi::IpmiIfcEntityAddParent(0, &board, 0), -1);
    EXPECT_EQ(Ipmi::IpmiIfcEntityAddChild(0, &other, 3, 1), -1);
    EXPECT_EQ(Ipmi::IpmiIfcEntityAddChild(0, &board, 3, 1), 0);
    EXPECT_EQ(Ipmi::IpmiIfcEntityAddChild(0, &board, 3, 0x81), -1);
    for (const int bad : {-1, 4})
        EXPECT_EQ(Ipmi::IpmiIfcEntityAddParent(bad, &other, 0), -1);
    EXPECT_EQ(IpmiIfc::getEntityParent(0x103, 1).getId(), 0U) << "ids are bytes";
    EXPECT_EQ(IpmiIfc::getEntityParent(3, 0x81).getId(), 7U) << "and instances seven bits";
}

TEST(EntityTree, TakesThousandsOfAssociationsInTime)
{
    std::vector<Bytes> records;
    for (unsigned i = 1; i < 4000; ++i) { // all of one container, which has its children from the first 127 on
        const auto id = static_cast<std::uint8_t>(1 + i % 127);
        records.push_back(association(kRange, {id, 0, id, 0xff, id, 0, id, 0xff}));
        records.back()[0] = static_cast<std::uint8_t>(i);
        records.back()[1] = static_cast<std::uint8_t>(i >> 8);
    }
    SdrBmc node(records);
    ASSERT_EQ(Ipmi::IpmiIfcSdrGetInfo(0), 0); // else minutes: the test's own time-out fails it
    EXPECT_GT(IpmiIfc::getEntities().size(), 16000U);
}

/// Names at the edges of their ranges, and the classes of alerts that some of them have.
TEST(IpmiEntity, NamesAndAlertClasses)
{
    using Row = std::tuple<unsigned, std::string, std::string>; // id, name, and what an alert is of
    const std::string oem = "OEM System Integrator defined";
    const std::vector<Row> rows(
        {Row{0x00, "Unspecified", ""}, Row{0x03, "Processor", "Processor"}, Row{0x04, "Disk or Disk Bay", "Disk"},
         Row{0x15, "Power Distribution", "Power"}, Row{0x19, "Other Chassis Board", "Chassis"},
         Row{0x1e, "Cooling Unit", "CoolingUnit"}, Row{0x20, "Memory Device", "Memory"}, Row{0x22, "BIOS", "BIOS"},
         Row{0x28, "Battery", "Battery"}, Row{0x36, "System Firmware", ""}, Row{0x37, "Other", ""},
         Row{0x8f, "Other", ""}, Row{0x90, "Chasis Specific", ""}, Row{0xaf, "Chasis Specific", ""},
         Row{0xb0, "Board Set Specific", ""}, Row{0xcf, "Board Set Specific", ""}, Row{0xd0, oem, ""},
         Row{0xff, oem, ""}, Row{0x100, "Other", ""}});
    for (const auto& [id, name, kind] : rows) {
        const Support::LogCapture log;
        const IpmiEntity entity(id, 0x81, 2);
        const std::string alertClass = "TRX_" + kind + "IpmiAlertIndication";
        EXPECT_EQ(entity.getName(), name);
        EXPECT_EQ(entity.getAlertClassName(), alertClass);
        EXPECT_EQ(log.has(LOG_DEBUG, "EntityId " + std::to_string(id) + " AlertClass " + alertClass), id < 0x37);
        EXPECT_TRUE(entity.getInstance() == 1 && entity.getNode() == 2) << "seven bits of the instance";
    }
}

} // namespace
