// SPDX-License-Identifier: Apache-2.0
// A FRU's place, from its locator record, and its areas in a line.
#include "ipmi/IpmiFru.h"

#include "ipmi/IpmiFruBoard.h"
#include "ipmi/IpmiFruChassis.h"
#include "ipmi/IpmiFruProduct.h"
#include "ipmi/IpmiIfc.h"
#include "wire/Bits.h"
#include "wire/SdrLayout.h"

namespace Ipmi
{

namespace locator = wire::sdr::locator;

IpmiFru::IpmiFru(const IpmiSdrRecord& locator, Areas areas, int node, bool isFallback)
    : locator_(locator), areas_(std::move(areas)), node_(node), isFallback_(isFallback ? 1 : 0)
{
}

IpmiFru::~IpmiFru() = default;

IpmiEntity IpmiFru::getEntity() const
{
    return {locator_.at(locator::kEntityId), locator_.at(locator::kEntityInstance) & 0x7fU, node_};
}

unsigned int IpmiFru::getOwnerId() const
{
    return locator_.at(locator::kDevice);
}

unsigned int IpmiFru::getLun() const
{
    return wire::bits(locator_.at(locator::kFlags), 4, 3);
}

unsigned int IpmiFru::getChannel() const
{
    return wire::bits(locator_.at(locator::kChannel), 7, 4);
}

unsigned int IpmiFru::getSlaveAddress() const
{
    return locator_.at(locator::kAddress);
}

bool IpmiFru::isLogical() const
{
    return wire::bit(locator_.at(locator::kFlags), locator::kLogicalBit);
}

namespace
{

FruPart partOf(const IpmiFruProduct& product)
{
    return {.kind = "Product",
            .name = product.getName(),
            .partNumber = product.getPartNumber(),
            .version = product.getVersion(),
            .manufacturer = product.getManufacturer(),
            .serialNumber = product.getSerialNumber(),
            .assetTag = product.getAssetTag(),
            .mfgDate = {}};
}

FruPart partOf(const IpmiFruChassis& chassis)
{
    return {.kind = "Chassis",
            .name = chassis.getType(),
            .partNumber = chassis.getPartNumber(),
            .version = {},
            .manufacturer = {},
            .serialNumber = chassis.getSerialNumber(),
            .assetTag = {},
            .mfgDate = {}};
}

FruPart partOf(const IpmiFruBoard& board)
{
    return {.kind = "Board",
            .name = board.getName(),
            .partNumber = board.getPartNumber(),
            .version = {},
            .manufacturer = board.getManufacturer(),
            .serialNumber = board.getSerialNumber(),
            .assetTag = {},
            .mfgDate = board.getMfgDateTime8601()};
}

} // namespace

FruPart IpmiIfc::getFruPart(TRX::Reference<IpmiFruOptional>& area)
{
    if (const auto* product = dynamic_cast<const IpmiFruProduct*>(area.get()))
        return partOf(*product);
    if (const auto* chassis = dynamic_cast<const IpmiFruChassis*>(area.get()))
        return partOf(*chassis);
    if (const auto* board = dynamic_cast<const IpmiFruBoard*>(area.get()))
        return partOf(*board);
    return {};
}

} // namespace Ipmi
