// SPDX-License-Identifier: Apache-2.0
// The inventory: a FRU for each locator record of the repository, with what could be read of it.
#include "base/Log.h"
#include "fru/IpmiIfcFru.h"
#include "node/IpmiNode.h"
#include "sdr/IdString.h"
#include "transport/TargetScope.h"
#include "wire/Bits.h"
#include "wire/SdrLayout.h"

#include <algorithm>
#include <optional>
#include <span>

namespace Ipmi
{

/// Nothing uses these; they are there for the time between the library's loading and its unloading. This is meant.
std::vector<TRX::Reference<IpmiFru>> g_fruArray;
TRX::Mutex g_fruArray_guard;

namespace
{

namespace locator = wire::sdr::locator;

using Locators = std::vector<IpmiSdrRecord>;

/// In the repository's order.
Locators locatorsOf(IpmiNode& self)
{
    Locators locators;
    TRX::ReadLock hold(self.sdrLock);
    for (const ipmiifc_sdr_list* entry = self.repository.sdr_fru_locator; entry; entry = entry->next)
        locators.emplace_back(entry->length, entry->data);
    std::ranges::reverse(locators); // the list is newest first
    return locators;
}

unsigned int lunOf(const IpmiSdrRecord& record)
{
    return wire::bits(record.at(locator::kFlags), 4, 3);
}

unsigned int channelOf(const IpmiSdrRecord& record)
{
    return wire::bits(record.at(locator::kChannel), 7, 4);
}

bool isLogical(const IpmiSdrRecord& record)
{
    return wire::bit(record.at(locator::kFlags), locator::kLogicalBit);
}

/// A memory module's own device, which does not have FRU areas (IPMI 2.0, table 43-12).
bool isMemoryId(const IpmiSdrRecord& record)
{
    const unsigned int type = record.at(locator::kType);
    return type >= 0x08 && type <= 0x10 && record.at(locator::kModifier) == 0x01;
}

/// Where a device is, by its record.
void place(IpmiFruDevice& device, const IpmiSdrRecord& record, int node)
{
    const std::uint8_t address = record.at(locator::kAddress);
    device.hasLocator = true;
    device.isLogical = isLogical(record);
    device.id = record.at(locator::kDevice);
    if (address != 0)
        device.controller = address;
    device.lun = static_cast<std::uint8_t>(lunOf(record));
    device.channel = static_cast<std::uint8_t>(channelOf(record));
    device.bus = static_cast<std::uint8_t>(wire::bits(record.at(locator::kFlags), 2, 0));
    device.deviceType = record.at(locator::kType);
    device.deviceTypeModifier = record.at(locator::kModifier);
    device.entity = IpmiEntity(record.at(locator::kEntityId), record.at(locator::kEntityInstance) & 0x7f, node);
    const std::span bytes = std::span(record.bytes).first(std::min(record.length, IpmiSdrRecord::kCapacity));
    if (bytes.size() > locator::kIdCode)
        device.name = decodeIdString(bytes.subspan(locator::kIdCode));
    trimRight(device.name);
}

/// One pass over a node's FRU devices. The thread's target is as before when it ends, however that is.
class Inventory
{
public:
    explicit Inventory(int node) : node_(node) {}

    void readAll(const Locators& locators);
    /// Has callers find it from now on.
    void publish();

private:
    void addPrivate(const IpmiSdrRecord& record);
    void addLogical(const IpmiSdrRecord& record);
    void addFallback();
    FruAreas read(unsigned char deviceId, IpmiFruDevice& device);

    int node_;
    std::optional<TargetScope> target_;
    bool deviceZeroSeen_ = false;
    std::vector<TRX::Reference<IpmiFru>> frus_;
    std::vector<IpmiFruDevice> devices_;
};

void Inventory::readAll(const Locators& locators)
{
    fru_max_req_size = kMostFruBytesAtOnce;
    for (const IpmiSdrRecord& record : locators)
        isLogical(record) ? addLogical(record) : addPrivate(record);
    if (!deviceZeroSeen_)
        addFallback();
    TRX::MutexLock hold(g_IpmiNode[node_].fruLock);
    g_IpmiNode[node_].fru.device = IpmiFruDevice();
}

/// Behind a private bus: it is not read, and is not among the FRUs. This is meant.
void Inventory::addPrivate(const IpmiSdrRecord& record)
{
    TRX::log(LOG_DEBUG, "IpmiIfcFruInstantiateAll: Unhandled physical FRU %02x %02x %02x %02x",
             record.at(locator::kDevice), record.at(locator::kAddress), lunOf(record), channelOf(record));
    place(devices_.emplace_back(), record, node_);
}

void Inventory::addLogical(const IpmiSdrRecord& record)
{
    const std::uint8_t address = record.at(locator::kAddress), deviceId = record.at(locator::kDevice);
    if (address != 0) // else the one before stays the target: this is meant
        target_.emplace(node_, address, static_cast<std::uint8_t>(lunOf(record)),
                        static_cast<std::uint8_t>(channelOf(record)));
    FruAreas areas;
    IpmiFruDevice device;
    if (isMemoryId(record))
        TRX::log(LOG_DEBUG, "IpmiIfcFruInstantiateAll: DIMM Memory ID 0x%02x, type(0x%02x), modifier(0x%02x)", deviceId,
                 record.at(locator::kType), record.at(locator::kModifier));
    else
        areas = read(deviceId, device);
    place(device, record, node_);
    devices_.push_back(std::move(device));
    frus_.emplace_back(new IpmiFru(record, std::move(areas), node_, false));
}

void Inventory::addFallback()
{
    IpmiFruDevice device;
    FruAreas areas = read(0, device);
    devices_.push_back(std::move(device));
    frus_.emplace_back(new IpmiFru(IpmiSdrRecord(), std::move(areas), node_, true));
}

FruAreas Inventory::read(unsigned char deviceId, IpmiFruDevice& device)
{
    deviceZeroSeen_ = deviceZeroSeen_ || deviceId == 0; // whatever controller it is on
    FruAreas areas = IpmiIfcFruGetInv(node_, deviceId);
    IpmiNode& self = g_IpmiNode[node_];
    const Target target = TargetScope::current(node_);
    TRX::MutexLock hold(self.fruLock);
    device = std::exchange(self.fru.device, IpmiFruDevice());
    device.controller = static_cast<std::uint8_t>(target.address != 0 ? target.address : self.myAddress.load());
    device.lun = target.lun;
    device.channel = target.channel;
    return areas;
}

void Inventory::publish()
{
    IpmiNode& self = g_IpmiNode[node_];
    TRX::MutexLock hold(self.fruLock);
    TRX::MutexLock list(self.fruListLock);
    self.frus.swap(frus_);
    self.fruDevices.swap(devices_);
}

} // namespace

int IpmiIfcFruInstantiateAll(int node)
{
    if (!isNode(node))
        return 0;
    IpmiNode& self = g_IpmiNode[node];
    TRX::ReentrantLock load(self.loadLock); // no load replaces the repository meanwhile, and its readers need not wait
    Inventory inventory(node);
    inventory.readAll(locatorsOf(self));
    if (!self.shutdown) // what a stop has cut short would tell of silent devices
        inventory.publish();
    return 0;
}

std::vector<TRX::Reference<IpmiFru>> IpmiIfc::getFrus(int node)
{
    if (!isNode(node))
        return {};
    TRX::MutexLock hold(g_IpmiNode[node].fruListLock);
    return g_IpmiNode[node].frus;
}

std::vector<IpmiFruDevice> IpmiIfc::getFruDevices(int node)
{
    if (!isNode(node))
        return {};
    TRX::MutexLock hold(g_IpmiNode[node].fruListLock);
    return g_IpmiNode[node].fruDevices;
}

} // namespace Ipmi
