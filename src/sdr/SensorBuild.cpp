// SPDX-License-Identifier: Apache-2.0
// Building a node's sensors from the lists of its repository.
#include "sdr/IpmiIfcSensor.h"

#include "base/Log.h"
#include "ipmi/IpmiDiscreteSensor.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiThresholdSensor.h"
#include "node/IpmiNode.h"
#include "sdr/SensorAccess.h"
#include "sdr/SensorCommands.h"
#include "sdr/SensorNaming.h"
#include "wire/EventTypes.h"
#include "wire/SdrLayout.h"

#include <new>

namespace Ipmi
{

namespace
{

using SensorRef = TRX::Reference<IpmiSensor>;

constexpr unsigned int kUnspecifiedEntity = 0x00, kBiosEntity = 0x22, kIoModuleEntity = 0x2c;
constexpr std::uint8_t kMemoryType = 0x0c; ///< sensor type

bool isGenericOrSpecific(std::uint8_t eventType)
{
    using namespace wire::event_type;
    return (eventType >= kFirstGeneric && eventType <= kLastGeneric) || eventType == kSensorSpecific;
}

bool isOem(std::uint8_t eventType)
{
    return eventType >= wire::event_type::kFirstOem && eventType <= wire::event_type::kLastOem;
}

bool isDiscrete(std::uint8_t eventType)
{
    return isGenericOrSpecific(eventType) || isOem(eventType);
}

bool isMemory(const ipmiifc_sdr_list& sdr)
{
    if (sdr.record_type == wire::sdr::kEventOnlyType)
        return sdr.at(wire::sdr::event_only::kSensorType) == kMemoryType;
    return sdr.at(wire::sdr::kSensorType) == kMemoryType &&
           (sdr.le16(wire::sdr::kAssertionMask) != 0 || sdr.le16(wire::sdr::kDeassertionMask) != 0);
}

template <typename Kind> SensorRef make(int node, const ipmiifc_sdr_list& sdr)
{
    return SensorRef(new Kind(sdr.length, sdr.data, node));
}

/// True for the I/O module sensors that early firmware of one maker lists and cannot use; says so.
bool isUnusableIoModule(unsigned int entity)
{
    constexpr int kLastMajor = 1, kLastMinor = 0x3f;
    const int major = IpmiIfc::maj, minor = IpmiIfc::min;
    if (entity != kIoModuleEntity || !IpmiIfc::hpe_bmc || major > kLastMajor || minor > kLastMinor)
        return false;
    TRX::log(LOG_DEBUG, "skip sensor HPE 44 for firmware version %d.%x", major, static_cast<unsigned int>(minor));
    return true;
}

/// Compact discrete sensors of the BIOS and of no entity are read once and not listed; full ones of no entity are
/// listed. Both are meant.
bool isListedCompact(const IpmiSensor& sensor)
{
    const unsigned int entity = sensor.getEntity().getId();
    return entity != kUnspecifiedEntity && entity != kBiosEntity && !isUnusableIoModule(entity);
}

void buildFull(int node, IpmiNode& self, ipmiifc_sdr_list& sdr) TRX_REQUIRES(self.sdrLock)
{
    const std::uint8_t eventType = sdr.at(wire::sdr::kEventType);
    SensorRef sensor;
    if (eventType == wire::event_type::kThreshold) {
        sensor = make<IpmiThresholdSensor>(node, sdr);
        readThresholds(SensorAddress::of(*sensor), *sensor);
        self.sensors.push_back(sensor);
    } else if (isDiscrete(eventType)) {
        sensor = make<IpmiDiscreteSensor>(node, sdr);
        if (sensor->getEntity().getId() != kBiosEntity) // read once and not listed: this is meant
            self.sensors.push_back(sensor);
    } else {
        TRX::log(LOG_DEBUG, "dropping sdr, full event_type %x (ID: %x, Type %x)\n", eventType, sdr.record_id,
                 sdr.record_type);
        return;
    }
    SensorAccess::fetchReading(*sensor);
}

void buildCompact(int node, IpmiNode& self, ipmiifc_sdr_list& sdr) TRX_REQUIRES(self.sdrLock)
{
    const std::uint8_t eventType = sdr.at(wire::sdr::kEventType);
    SensorRef sensor;
    if (eventType == wire::event_type::kThreshold) {
        sensor = make<IpmiThresholdSensor>(node, sdr);
        self.sensors.push_back(sensor);
        readThresholds(SensorAddress::of(*sensor), *sensor);
    } else if (isDiscrete(eventType)) {
        sensor = make<IpmiDiscreteSensor>(node, sdr);
        if (isListedCompact(*sensor))
            self.sensors.push_back(sensor);
    } else { // the text names one value twice: this is meant
        TRX::log(LOG_DEBUG, "dropping sdr, compact event_type %d, full event_type %d\n", eventType, eventType);
        return;
    }
    SensorAccess::fetchReading(*sensor);
}

/// Event-only sensors cannot be read.
void buildEventOnly(int node, IpmiNode& self, ipmiifc_sdr_list& sdr) TRX_REQUIRES(self.sdrLock)
{
    const std::uint8_t eventType = sdr.at(wire::sdr::event_only::kEventType);
    // OEM sensors are told by the byte after, which holds the sharing of the record: this is meant.
    const std::uint8_t sharing = sdr.at(wire::sdr::event_only::kModifierOffset);
    if (eventType == wire::event_type::kThreshold) {
        SensorRef sensor = make<IpmiThresholdSensor>(node, sdr);
        readThresholds(SensorAddress::of(*sensor), *sensor);
        self.sensors.push_back(sensor);
    } else if (isGenericOrSpecific(eventType) || isOem(sharing)) {
        SensorRef sensor = make<IpmiDiscreteSensor>(node, sdr);
        if (sensor->getEntity().getId() != kBiosEntity)
            self.sensors.push_back(sensor);
    }
}

using Build = void (*)(int node, IpmiNode& self, ipmiifc_sdr_list& sdr);

void buildList(int node, IpmiNode& self, ipmiifc_sdr_list* list, Build build) TRX_REQUIRES(self.sdrLock)
{
    for (; list; list = list->next) {
        if (isMemory(*list))
            self.memorySensor = 1;
        build(node, self, *list);
    }
}

} // namespace

int IpmiIfcSensorInstantiateAll(int node)
{
    if (!isNode(node))
        return 0;
    IpmiNode& self = g_IpmiNode[node];
    TRX::WriteLock lock(self.sdrLock);
    self.sensors.clear();
    self.memorySensor = 0;
    try {
        buildList(node, self, self.repository.sdr_full, buildFull);
        buildList(node, self, self.repository.sdr_compact, buildCompact);
        buildList(node, self, self.repository.sdr_eventonly, buildEventOnly);
        assignNames(self.sensors);
    } catch (const std::bad_alloc&) { // what has been built stays
        TRX::log(LOG_ERR, "%s: failed memory alloc.", "IpmiIfcSensorInstantiateAll");
    }
    return 0;
}

std::vector<SensorRef> IpmiIfc::getSensors(int node)
{
    if (!isNode(node))
        return {};
    IpmiNode& self = g_IpmiNode[node];
    TRX::ReadLock lock(self.sdrLock);
    return self.sensors;
}

SensorRef IpmiIfc::getSensor(int node, unsigned int sensorNumber, unsigned int ownerId)
{
    if (!isNode(node))
        return {};
    IpmiNode& self = g_IpmiNode[node];
    TRX::ReadLock lock(self.sdrLock);
    for (const SensorRef& sensor : self.sensors) {
        if (sensor->getSensorNumber() == sensorNumber && sensor->getOwnerId() == (ownerId & 0xff) &&
            sensor->getChannel() == 0 && sensor->getLun() == 0)
            return sensor;
    }
    return {};
}

} // namespace Ipmi
